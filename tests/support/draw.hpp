// The small draws that the generators are made of: from RapidCheck while a property runs, shrinking towards 0, or from
// a source of one's own.
#ifndef ZQSP_TESTS_SUPPORT_DRAW_HPP
#define ZQSP_TESTS_SUPPORT_DRAW_HPP

#ifndef ZQSP_TESTS_WITHOUT_RAPIDCHECK
#include <rapidcheck.h>
#endif

#include <cstddef>
#include <cstdint>
#include <random>
#include <utility>
#include <vector>

namespace zqsp::test {

/// While one lives, it is asked instead of RapidCheck.
class DrawSource
{
  public:
    DrawSource() : outer_(std::exchange(current, this)) {}
    DrawSource(const DrawSource&) = delete;
    DrawSource& operator=(const DrawSource&) = delete;
    virtual ~DrawSource() { current = outer_; }

    /// One of 0 .. bound-1; the bound is at least 2.
    virtual unsigned next(unsigned bound) = 0;

    inline static DrawSource* current = nullptr;

  private:
    DrawSource* outer_;
};

class SeededDraws : public DrawSource
{
  public:
    explicit SeededDraws(std::uint64_t seed) : engine_(seed) {}
    unsigned next(unsigned bound) override { return static_cast<unsigned>((engine_() >> 32) * bound >> 32); }

  private:
    std::mt19937_64 engine_;
};

/// One of 0 .. below-1, each as likely, whatever the size of the test case.
inline unsigned draw(unsigned below)
{
    if (below <= 1) {
        return 0;
    }
#ifndef ZQSP_TESTS_WITHOUT_RAPIDCHECK
    if (DrawSource::current == nullptr) {
        return *rc::gen::resize(rc::kNominalSize, rc::gen::inRange(0U, below));
    }
#endif
    return DrawSource::current->next(below);
}

/// True once in so many times; shrinks to false.
inline bool drawOneIn(unsigned times)
{
    return draw(times) == times - 1;
}

/// The first ones are what shrinks to.
template <typename T>
T drawFrom(const std::vector<T>& choices)
{
    return choices[draw(static_cast<unsigned>(choices.size()))];
}

inline std::vector<unsigned> drawMany(std::size_t count, unsigned below)
{
#ifndef ZQSP_TESTS_WITHOUT_RAPIDCHECK
    if (DrawSource::current == nullptr) {
        const auto one = rc::gen::resize(rc::kNominalSize, rc::gen::inRange(0U, below));
        return *rc::gen::container<std::vector<unsigned>>(count, one);
    }
#endif
    std::vector<unsigned> all(count);
    for (unsigned& each : all) {
        each = draw(below);
    }
    return all;
}

} // namespace zqsp::test

#endif
