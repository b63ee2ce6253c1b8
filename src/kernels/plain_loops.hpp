// The text of loops that are compiled more than once: for any processor, and for one with wider registers where they
// gain by it.
#ifndef ZQSP_KERNELS_PLAIN_LOOPS_HPP
#define ZQSP_KERNELS_PLAIN_LOOPS_HPP

#include "kernels/kernels.hpp"

#include <algorithm>
#include <array>
#include <limits>

namespace zqsp {

[[gnu::always_inline]] inline Steps stepsLoop(const unsigned* indices, unsigned count, unsigned expected)
{
    unsigned falls = 0;
    unsigned rises = 0;
    unsigned others = 0;
    const unsigned* const before = indices - 1;
    for (unsigned i = 0; i < count; ++i) {
        falls |= indices[i] < before[i] ? 1U : 0U;
        rises |= indices[i] > before[i] ? 1U : 0U;
        others |= (indices[i] - before[i]) ^ expected;
    }
    return {falls != 0, rises != 0, others != 0};
}

/// Whole registers. Those of the baseline compare signed words: the order of the rows is kept by turning their highest
/// bits. (Of a loop over one register within another, g++ 12 makes sixteen comparisons one by one.)
[[gnu::always_inline]] inline void rankLoop(const unsigned* rows, unsigned count, unsigned* ranks)
{
    constexpr unsigned kSign = 0x80000000U;
    constexpr unsigned kRegisters = 16; // words: whole registers of any width
    std::array<std::int32_t, kMostRanked> ordered;
    const unsigned end = (count + kRegisters - 1) / kRegisters * kRegisters;
    std::transform(rows, rows + count, ordered.begin(),
                   [](unsigned row) { return static_cast<std::int32_t>(row ^ kSign); });
    std::fill(ordered.begin() + count, ordered.begin() + end, std::numeric_limits<std::int32_t>::max());
    for (unsigned i = 0; i < count; ++i) {
        const std::int32_t own = ordered[i];
        int before = 0;
        for (unsigned other = 0; other < end; ++other) {
            before += ordered[other] < own ? 1 : 0;
        }
        ranks[i] = static_cast<unsigned>(before);
    }
}

} // namespace zqsp

#endif
