// Searching the sorted rows of a column: the binary search, the gallop for ascending keys, and the comparison of the
// last few rows at once. (Many searches at a time: core/place_search.hpp.)
#ifndef ZQSP_CORE_SEARCH_HPP
#define ZQSP_CORE_SEARCH_HPP

#include <algorithm>
#include <bit>
#include <cstdint>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace zqsp {

/// `value` where the condition holds, else 0, by a mask: of `condition ? value : 0`, compilers make a branch.
constexpr unsigned valueIf(bool condition, unsigned value)
{
    return value & (0U - static_cast<unsigned>(condition));
}

/// First position in [lo, hi) whose value is not below `key`; hi when there is none. `sorted` is anything that gives an
/// ascending value for an index. The interval is halved without a branch on the outcome, which a random key would make
/// unpredictable.
template <typename Sorted>
unsigned lowerBound(const Sorted& sorted, unsigned lo, unsigned hi, unsigned key)
{
    unsigned length = hi - lo;
    while (length > 1) {
        const unsigned half = length / 2;
        lo += valueIf(sorted[lo + half - 1] < key, half);
        length -= half;
    }
    return lo + (length == 1 && sorted[lo] < key ? 1U : 0U);
}

/// The same for a row that is looked up in one column after another: the probes go much the same way in all of them,
/// and a predicted branch is ahead of a mask that waits for its probe (measured: half the time in columns of 1,000
/// entries).
inline unsigned lowerBoundOfSame(const unsigned* rows, unsigned lo, unsigned hi, unsigned row)
{
    return static_cast<unsigned>(std::lower_bound(rows + lo, rows + hi, row) - rows);
}

/// So many rows are compared at a time.
constexpr unsigned kComparedRows = 16;

/// How many of kComparedRows rows from `rows` on, the first `length` of them ascending, come before the first one that
/// is not below `row`; at most `length`.
inline unsigned rankAmong(const unsigned* rows, unsigned length, unsigned row)
{
#ifdef __SSE2__
    const __m128i sign = _mm_set1_epi32(INT32_MIN); // the comparison is a signed one
    const __m128i key = _mm_xor_si128(_mm_set1_epi32(static_cast<int>(row)), sign);
    const auto isBelow = [&](unsigned at) {
        return _mm_cmpgt_epi32(key, _mm_xor_si128(_mm_loadu_si128(reinterpret_cast<const __m128i*>(rows + at)), sign));
    };
    const __m128i below =
        _mm_packs_epi16(_mm_packs_epi32(isBelow(0), isBelow(4)), _mm_packs_epi32(isBelow(8), isBelow(12)));
    const auto bits = static_cast<unsigned>(_mm_movemask_epi8(below));
    return static_cast<unsigned>(std::countr_one(bits & ((1U << length) - 1)));
#else
    unsigned rank = 0;
    for (unsigned i = 0; i < length; ++i) {
        rank += rows[i] < row ? 1U : 0U;
    }
    return rank;
#endif
}

/// Which of kComparedRows rows from `rows` on, of those only the first `length`, are `row`: a bit for each.
inline unsigned whichAmong(const unsigned* rows, unsigned length, unsigned row)
{
    const unsigned first = (1U << length) - 1;
#ifdef __SSE2__
    const __m128i key = _mm_set1_epi32(static_cast<int>(row));
    const auto isSame = [&](unsigned at) {
        return _mm_cmpeq_epi32(key, _mm_loadu_si128(reinterpret_cast<const __m128i*>(rows + at)));
    };
    const __m128i same = _mm_packs_epi16(_mm_packs_epi32(isSame(0), isSame(4)), _mm_packs_epi32(isSame(8), isSame(12)));
    return static_cast<unsigned>(_mm_movemask_epi8(same)) & first;
#else
    unsigned same = 0;
    for (unsigned i = 0; i < kComparedRows; ++i) {
        same |= (rows[i] == row ? 1U : 0U) << i;
    }
    return same & first;
#endif
}

/// lowerBound() where the answer is expected near `lo`: doubling steps, then the binary search between the last two.
/// Costs the logarithm of the distance moved (Bentley and Yao, 1976).
template <typename Sorted>
unsigned gallop(const Sorted& sorted, unsigned lo, unsigned hi, unsigned key)
{
    unsigned step = 1;
    while (hi - lo > step && sorted[lo + step - 1] < key) {
        lo += step;
        step *= 2;
    }
    const unsigned reach = hi - lo < step ? hi : lo + step;
    return lowerBound(sorted, lo, reach, key);
}

/// The same for an answer expected within the next few rows, which are compared at once.
inline unsigned gallopNear(const unsigned* rows, unsigned lo, unsigned hi, unsigned key)
{
    for (unsigned tries = 0; tries < 2 && hi - lo >= kComparedRows; ++tries) {
        const unsigned rank = rankAmong(rows + lo, kComparedRows, key);
        lo += rank;
        if (rank < kComparedRows) {
            return lo;
        }
    }
    return gallop(rows, lo, hi, key);
}

/// A slot of a column: where `row` is stored, or where it would be inserted.
struct Slot
{
    unsigned position;
    bool stored;
};

inline Slot findRow(const unsigned* ir, unsigned begin, unsigned end, unsigned row)
{
    const unsigned position = lowerBound(ir, begin, end, row);
    return {position, position < end && ir[position] == row};
}

} // namespace zqsp

#endif
