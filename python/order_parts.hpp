// What the ways to examine columns share.
#ifndef ZQSP_PYTHON_ORDER_PARTS_HPP
#define ZQSP_PYTHON_ORDER_PARTS_HPP

#include "order.hpp"

#include <cstring>

namespace zqsp::python {

constexpr std::size_t kPiece = 2048; ///< words, in the cache when they are looked at again

inline void copyWords(unsigned* to, const unsigned* from, std::size_t first, std::size_t last)
{
    if (from != nullptr) {
        std::memcpy(to + first, from + first, (last - first) * sizeof(unsigned));
    }
}

/// Names the first column whose end is wrong, of those that begin before start `last`.
[[noreturn]] void raiseStarts(const Examined& columns, std::size_t last);
[[noreturn]] void raiseOutside(unsigned m);

#if defined(__x86_64__)
Order orderByAvx2(const Examined& columns);
Order orderByAvx512(const Examined& columns);
#endif

} // namespace zqsp::python

#endif
