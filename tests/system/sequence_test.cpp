// Long random sequences of reference, assignment, deletion and reshape on one evolving matrix, some with an allocation
// failing, each step checked against the model. Runs for ZQSP_SEQUENCE_SECONDS (default 20) from the seed
// ZQSP_SEQUENCE_SEED (default 1); a failure is shrunk to a small sequence and printed.
#include "support/tables.hpp"
#include "system/evolving_matrix.hpp"

#include <chrono>
#include <cstdlib>
#include <iostream>
#include <map>

using namespace zqsp::test;

namespace {

std::uint64_t setting(const char* name, std::uint64_t otherwise)
{
    const char* text = std::getenv(name);
    return text == nullptr ? otherwise : std::strtoull(text, nullptr, 10);
}

} // namespace

TEST(Sequence, EveryExportOnOneEvolvingMatrix)
{
    constexpr unsigned kSteps = 40;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(setting("ZQSP_SEQUENCE_SECONDS", 20));
    std::uint64_t seed = setting("ZQSP_SEQUENCE_SEED", 1);
    std::map<std::string, unsigned long> calls;
    unsigned long faults = 0;
    const std::size_t blocks = kxrt::live_blocks();
    const auto tables = zqsp::availableKernels();
    while (std::chrono::steady_clock::now() < deadline) {
        const zqsp::Kernels& table = *tables[seed % tables.size()];
        zqsp::useKernels(table);
        rc::detail::TestParams params;
        params.seed = seed++;
        params.maxSuccess = 20;
        const auto result = rc::detail::checkTestable(
            [&] {
                EvolvingMatrix matrix;
                for (unsigned i = 0; i < kSteps; ++i) {
                    if (const std::string complaint = matrix.step(); !complaint.empty()) {
                        RC_FAIL(complaint);
                    }
                }
                for (const auto& [name, count] : matrix.calls()) {
                    calls[name] += count;
                }
                faults += matrix.faults();
            },
            rc::detail::TestMetadata{}, params);
        if (!result.is<rc::detail::SuccessResult>()) {
            FAIL() << failureOf(result) << "\nloops: " << table.name << "\nZQSP_SEQUENCE_SEED=" << params.seed;
        }
    }
    zqsp::useKernels(*tables.front());
    EXPECT_EQ(blocks, kxrt::live_blocks());
    for (const auto& [name, count] : calls) {
        std::cout << name << ": " << count << " calls\n";
    }
    std::cout << faults << " allocations failed\n";
    EXPECT_EQ(everyExport().size(), calls.size()) << "an export was never called";
}
