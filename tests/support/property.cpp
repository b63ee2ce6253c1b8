#include "support/draw.hpp"
#include "support/generators.hpp"
#include "support/tables.hpp"

#include <cstdlib>
#include <map>
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
constexpr unsigned kRunsDivisor = 5; // a tenth of the speed
#else
constexpr unsigned kRunsDivisor = 1;
#endif

using Draws = std::vector<unsigned>;

/// Gives draws that were made before, and nothing but 0 behind them.
class GivenDraws : public DrawSource
{
  public:
    explicit GivenDraws(const Draws& given) : given_(given) {}
    unsigned next(unsigned bound) override { return at_ < given_.size() ? std::min(given_[at_++], bound - 1) : 0; }

  private:
    const Draws& given_;
    std::size_t at_ = 0;
};

/// Remembers what it draws.
class RememberedDraws : public SeededDraws
{
  public:
    using SeededDraws::SeededDraws;
    unsigned next(unsigned bound) override
    {
        made.push_back(SeededDraws::next(bound));
        return made.back();
    }

    Draws made = {};
};

/// What the property has to say against itself, with the draws in use.
std::string complaintOf(const std::function<void()>& body)
{
    try {
        body();
        return "";
    } catch (const std::exception& failure) {
        return failure.what();
    }
}

/// The complaint about simpler draws that fail as well: as many as can be are 0.
std::string simplest(const std::function<void()>& body, Draws draws, std::string complaint)
{
    for (const std::size_t length : {256U, 16U, 1U}) {
        for (std::size_t at = 0; at < draws.size(); at += length) {
            Draws simpler = draws;
            std::fill_n(simpler.data() + at, std::min<std::size_t>(length, draws.size() - at), 0U);
            const GivenDraws given(simpler);
            if (const std::string still = complaintOf(body); !still.empty()) {
                complaint = still;
                draws = std::move(simpler);
            }
        }
    }
    return complaint;
}

/// A seed of its own for each property: FNV-1a of the name, and far apart for those of one test.
std::uint64_t seedOf(const std::string& id)
{
    static std::map<std::string, std::uint64_t> checkedSoFar;
    std::uint64_t seed = 14695981039346656037U;
    for (const char c : id) {
        seed = (seed ^ static_cast<unsigned char>(c)) * 1099511628211U;
    }
    return seed + checkedSoFar[id]++ * 0x9E3779B97F4A7C15U;
}

} // namespace

std::uint64_t setting(const char* name, std::uint64_t otherwise)
{
    const char* text = std::getenv(name);
    return text == nullptr ? otherwise : std::strtoull(text, nullptr, 10);
}

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

void property(unsigned runs, const std::function<void()>& body)
{
    const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
    const std::string id = std::string(test->test_suite_name()) + "/" + test->name();
    const auto tables = static_cast<unsigned>(availableKernels().size());
    const std::uint64_t most = setting("ZQSP_PROPERTY_RUNS", std::max(runs / tables / kRunsDivisor, 1U));
    forEachTable([&](const Kernels& table) {
        std::uint64_t seed = setting("ZQSP_PROPERTY_SEED", seedOf(id));
        for (std::uint64_t run = 0; run < most; ++run, ++seed) {
            RememberedDraws draws(seed);
            if (const std::string complaint = complaintOf(body); !complaint.empty()) {
                FAIL() << simplest(body, draws.made, complaint) << "\nloops: " << table.name
                       << "\nZQSP_PROPERTY_SEED=" << seed;
            }
        }
    });
}

} // namespace zqsp::test
