// What the tests use of RapidCheck, for processors that no Debian library of it is at hand for
// (scripts/other-processors): draws from a seed, without shrinking.
#ifndef ZQSP_TESTS_OTHER_PROCESSORS_RAPIDCHECK_H
#define ZQSP_TESTS_OTHER_PROCESSORS_RAPIDCHECK_H

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <random>
#include <string>
#include <variant>
#include <vector>

namespace rc {

inline constexpr int kNominalSize = 100;

namespace gen {

inline std::mt19937_64 engine;

struct InRange
{
    unsigned low;
    unsigned high;
    unsigned operator*() const { return low + static_cast<unsigned>(engine() % (high - low)); }
};

inline InRange inRange(unsigned low, unsigned high)
{
    return {low, high};
}

template <typename Generator>
Generator resize(int, Generator generator)
{
    return generator;
}

template <typename Container>
struct Many
{
    std::size_t count;
    InRange one;
    Container operator*() const
    {
        Container all(count);
        for (auto& each : all) {
            each = *one;
        }
        return all;
    }
};

template <typename Container>
Many<Container> container(std::size_t count, InRange one)
{
    return {count, one};
}

} // namespace gen

namespace detail {

struct TestParams
{
    std::uint64_t seed = 1;
    int maxSuccess = 100;
};

struct TestMetadata
{
    std::string id;
};

struct SuccessResult
{
};

struct FailureResult
{
    std::string description;
};

/// Thrown where a precondition does not hold.
struct Discarded
{
};

class TestResult
{
  public:
    template <typename Result>
    TestResult(Result result) : result_(std::move(result))
    {
    }
    template <typename Result>
    [[nodiscard]] bool is() const
    {
        return std::holds_alternative<Result>(result_);
    }
    template <typename Result>
    [[nodiscard]] const Result& get() const
    {
        return std::get<Result>(result_);
    }

  private:
    std::variant<SuccessResult, FailureResult> result_;
};

/// As many runs of the body as there may be at most; discarded ones count.
inline TestResult checkTestable(const std::function<void()>& body, const TestMetadata&, const TestParams& params)
{
    gen::engine.seed(params.seed);
    for (int run = 0; run < params.maxSuccess; ++run) {
        try {
            body();
        } catch (const Discarded&) {
            continue;
        } catch (const FailureResult& failure) {
            return failure;
        }
    }
    return SuccessResult();
}

inline void printResultMessage(const TestResult&, std::ostream& out)
{
    out << "passed";
}

struct Configuration
{
    TestParams testParams;
};

/// RC_PARAMS is "seed=7 max_success=100" here, in this order.
inline Configuration configuration()
{
    Configuration result;
    unsigned long long seed = 1;
    const char* const text = std::getenv("RC_PARAMS");
    if (text == nullptr || std::sscanf(text, "seed=%llu max_success=%d", &seed, &result.testParams.maxSuccess) != 2) {
        std::cerr << "RC_PARAMS must be \"seed=NUMBER max_success=NUMBER\"\n";
        std::exit(2);
    }
    result.testParams.seed = seed;
    return result;
}

} // namespace detail

} // namespace rc

#define RC_FAIL(text)                                                                                                  \
    throw rc::detail::FailureResult                                                                                    \
    {                                                                                                                  \
        text                                                                                                           \
    }
#define RC_ASSERT(condition)                                                                                           \
    do {                                                                                                               \
        if (!(condition)) {                                                                                            \
            RC_FAIL(#condition);                                                                                       \
        }                                                                                                              \
    } while (false)
#define RC_PRE(condition)                                                                                              \
    do {                                                                                                               \
        if (!(condition)) {                                                                                            \
            throw rc::detail::Discarded{};                                                                             \
        }                                                                                                              \
    } while (false)

#endif
