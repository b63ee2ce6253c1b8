// Long random sequences of reference, assignment, deletion and reshape on one evolving matrix, small or with extents at
// the limits, some with an allocation failing, each step checked against the model. From the environment:
// ZQSP_SEQUENCE_CALLS, how many (default 40,000); ZQSP_SEQUENCE_SECONDS, the time after which no more are made (default
// none); ZQSP_SEQUENCE_SEED (default 1); ZQSP_SEQUENCE_LOOPS, the table of loops (default all that there are, in turn).
#include "support/draw.hpp"
#include "support/tables.hpp"
#include "system/evolving_matrix.hpp"

#include <chrono>
#include <cstdlib>
#include <iostream>
#include <map>

using namespace zqsp::test;

namespace {

constexpr std::uint64_t kNoEnd = 1000000000;

std::vector<const zqsp::Kernels*> tablesAskedFor()
{
    const auto available = zqsp::availableKernels();
    std::vector<const zqsp::Kernels*> tables(available.begin(), available.end());
    if (const char* name = std::getenv("ZQSP_SEQUENCE_LOOPS")) {
        std::erase_if(tables, [name](const zqsp::Kernels* table) { return std::string(table->name) != name; });
    }
    return tables;
}

} // namespace

TEST(Sequence, EveryExportOnOneEvolvingMatrix)
{
    constexpr unsigned kSteps = 40;
    const auto deadline =
        std::chrono::steady_clock::now() + std::chrono::seconds(setting("ZQSP_SEQUENCE_SECONDS", kNoEnd));
    const std::uint64_t most = setting("ZQSP_SEQUENCE_CALLS", 40000);
    std::uint64_t seed = setting("ZQSP_SEQUENCE_SEED", 1);
    std::map<std::string, unsigned long> calls;
    std::uint64_t made = 0;
    const std::size_t blocks = kxrt::live_blocks();
    const auto tables = tablesAskedFor();
    ASSERT_FALSE(tables.empty()) << "this processor has no such loops";
    for (; made < most && std::chrono::steady_clock::now() < deadline; ++seed) {
        const zqsp::Kernels& table = *tables[seed % tables.size()];
        zqsp::useKernels(table);
        SeededDraws draws(seed);
        EvolvingMatrix matrix;
        for (unsigned i = 0; i < kSteps; ++i) {
            const std::string complaint = matrix.step();
            ASSERT_EQ("", complaint) << "loops: " << table.name << "\nZQSP_SEQUENCE_SEED=" << seed;
        }
        for (const auto& [name, count] : matrix.calls()) {
            calls[name] += count;
            made += count;
        }
    }
    zqsp::useKernels(*zqsp::availableKernels().front());
    EXPECT_EQ(blocks, kxrt::live_blocks());
    std::cout << made << " calls; the next seed is " << seed << "\n";
    EXPECT_EQ(everyExport().size(), calls.size()) << "an export was never called";
}
