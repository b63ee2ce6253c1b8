// The small draws that the generators are made of. To be called while a generator runs (within rc::gen::exec); what is
// drawn shrinks towards 0.
#ifndef ZQSP_TESTS_SUPPORT_DRAW_HPP
#define ZQSP_TESTS_SUPPORT_DRAW_HPP

#include <rapidcheck.h>

#include <cstddef>
#include <vector>

namespace zqsp::test {

/// One of 0 .. below-1, each as likely, whatever the size of the test case.
inline unsigned draw(unsigned below)
{
    return below <= 1 ? 0 : *rc::gen::resize(rc::kNominalSize, rc::gen::inRange(0U, below));
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
    return *rc::gen::container<std::vector<unsigned>>(count,
                                                      rc::gen::resize(rc::kNominalSize, rc::gen::inRange(0U, below)));
}

} // namespace zqsp::test

#endif
