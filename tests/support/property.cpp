#include "support/generators.hpp"

#include "support/tables.hpp"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <sstream>
#include <string>

namespace zqsp::test {

namespace {

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define ZQSP_TESTS_SANITIZED 1
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(ZQSP_TESTS_SANITIZED)
constexpr int kRunsDivisor = 5; // a tenth of the speed
#else
constexpr int kRunsDivisor = 1;
#endif

/// The runs asked for from a seed of its own for each property, or what RC_PARAMS says.
rc::detail::TestParams paramsFor(const std::string& id, int runs)
{
    if (std::getenv("RC_PARAMS") != nullptr) {
        return rc::detail::configuration().testParams;
    }
    static std::map<std::string, std::uint64_t> checkedSoFar;
    std::uint64_t seed = 14695981039346656037U; // FNV-1a of the name, then the ordinal within the test
    for (const char c : id) {
        seed = (seed ^ static_cast<unsigned char>(c)) * 1099511628211U;
    }
    rc::detail::TestParams params;
    params.seed = seed + checkedSoFar[id]++;
    params.maxSuccess = std::max(runs / kRunsDivisor, 1);
    return params;
}

void requireNone(const std::string& complaint)
{
    if (!complaint.empty()) {
        RC_FAIL(complaint);
    }
}

} // namespace

void holds(const Operation& operation)
{
    requireNone(checkOperation(operation));
}

void survivesFaults(const Operation& operation, unsigned* faults)
{
    requireNone(checkFaults(operation, faults));
}

std::string failureOf(const rc::detail::TestResult& result)
{
    std::ostringstream text;
    if (result.is<rc::detail::FailureResult>()) {
        text << result.get<rc::detail::FailureResult>().description; // the draws themselves tell nobody anything
    } else {
        rc::detail::printResultMessage(result, text);
    }
    return text.str();
}

void property(int runs, const std::function<void()>& body)
{
    const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
    rc::detail::TestMetadata metadata;
    metadata.id = std::string(test->test_suite_name()) + "/" + test->name();
    const auto tables = static_cast<int>(availableKernels().size());
    forEachTable([&](const Kernels& table) {
        const rc::detail::TestParams params = paramsFor(metadata.id, std::max(runs / tables, 1));
        const auto result = rc::detail::checkTestable(body, metadata, params);
        if (!result.is<rc::detail::SuccessResult>()) {
            FAIL() << failureOf(result) << "\nloops: " << table.name << "\nseed=" << params.seed;
        }
    });
}

} // namespace zqsp::test
