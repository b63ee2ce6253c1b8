// The small draws that the generators are made of, from whatever source is in use.
#ifndef ZQSP_TESTS_SUPPORT_DRAW_HPP
#define ZQSP_TESTS_SUPPORT_DRAW_HPP

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <random>
#include <utility>
#include <vector>

namespace zqsp::test {

/// While one lives, it is asked.
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

/// One of 0 .. below-1, each as likely.
inline unsigned draw(unsigned below)
{
    return below <= 1 ? 0 : DrawSource::current->next(below);
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
    std::vector<unsigned> all(count);
    std::generate(all.begin(), all.end(), [below] { return draw(below); });
    return all;
}

} // namespace zqsp::test

#endif
