#include "support/draw.hpp"
#include "support/generators.hpp"
#include "support/tables.hpp"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <sstream>
#include <stdexcept>
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

#ifdef ZQSP_TESTS_WITHOUT_RAPIDCHECK
struct Params
{
    std::uint64_t seed = 1;
    int maxSuccess = 100;
};

/// RC_PARAMS is "seed=7 max_success=100" here, in this order.
Params paramsAskedFor()
{
    Params params;
    unsigned long long seed = 0;
    if (std::sscanf(std::getenv("RC_PARAMS"), "seed=%llu max_success=%d", &seed, &params.maxSuccess) != 2) {
        throw std::invalid_argument("RC_PARAMS must be \"seed=NUMBER max_success=NUMBER\"");
    }
    params.seed = seed;
    return params;
}

std::string failureOf(const std::function<void()>& body, const std::string& /*id*/, const Params& params)
{
    const SeededDraws draws(params.seed);
    try {
        for (int run = 0; run < params.maxSuccess; ++run) {
            body();
        }
    } catch (const std::exception& failure) {
        return failure.what();
    }
    return "";
}
#else
using Params = rc::detail::TestParams;

Params paramsAskedFor()
{
    return rc::detail::configuration().testParams;
}

std::string failureOf(const std::function<void()>& body, const std::string& id, const Params& params)
{
    rc::detail::TestMetadata metadata;
    metadata.id = id;
    const rc::detail::TestResult result = rc::detail::checkTestable(body, metadata, params);
    if (result.is<rc::detail::SuccessResult>()) {
        return "";
    }
    if (result.is<rc::detail::FailureResult>()) {
        return result.get<rc::detail::FailureResult>().description; // the draws themselves tell nobody anything
    }
    std::ostringstream text;
    rc::detail::printResultMessage(result, text);
    return text.str();
}
#endif

/// The runs asked for from a seed of its own for each property, or what RC_PARAMS says.
Params paramsFor(const std::string& id, int runs)
{
    if (std::getenv("RC_PARAMS") != nullptr) {
        return paramsAskedFor();
    }
    static std::map<std::string, std::uint64_t> checkedSoFar;
    std::uint64_t seed = 14695981039346656037U; // FNV-1a of the name, then the ordinal within the test
    for (const char c : id) {
        seed = (seed ^ static_cast<unsigned char>(c)) * 1099511628211U;
    }
    Params params;
    params.seed = seed + checkedSoFar[id]++;
    params.maxSuccess = std::max(runs / kRunsDivisor, 1);
    return params;
}

} // namespace

void requireNone(const std::string& complaint)
{
    if (!complaint.empty()) {
        throw std::runtime_error(complaint);
    }
}

void holds(const Operation& operation)
{
    requireNone(checkOperation(operation));
}

void property(int runs, const std::function<void()>& body)
{
    const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
    const std::string id = std::string(test->test_suite_name()) + "/" + test->name();
    const auto tables = static_cast<int>(availableKernels().size());
    forEachTable([&](const Kernels& table) {
        const Params params = paramsFor(id, std::max(runs / tables, 1));
        if (const std::string failure = failureOf(body, id, params); !failure.empty()) {
            FAIL() << failure << "\nloops: " << table.name << "\nseed=" << params.seed;
        }
    });
}

} // namespace zqsp::test
