// Comparing a few rows at once, in registers that every processor of a kind has: too short to be called through a
// table.
#ifndef ZQSP_KERNELS_COMPARE_ROWS_HPP
#define ZQSP_KERNELS_COMPARE_ROWS_HPP

#include <bit>
#include <cstdint>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace zqsp {

/// So many rows are compared at a time.
constexpr unsigned kComparedRows = 16;

/// How many of kComparedRows rows from `rows` on, the first `length` of them ascending, come before the first one that
/// is not below `row`; at most `length`.
[[gnu::always_inline]] inline unsigned rankAmong(const unsigned* rows, unsigned length, unsigned row)
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

/// So many numbers of one list are compared with as many of another.
constexpr unsigned kCompared = 8;

/// Whether kCompared numbers and kCompared others have any in common.
inline bool haveCommon(const unsigned* numbers, const unsigned* others)
{
#ifdef __SSE2__
    const auto load = [](const unsigned* at) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(at)); };
    const __m128i low = load(numbers);
    const __m128i high = load(numbers + kCompared / 2);
    const auto isAmong = [low, high](__m128i turned) {
        return _mm_or_si128(_mm_cmpeq_epi32(low, turned), _mm_cmpeq_epi32(high, turned));
    };
    const auto areAmong = [&isAmong](__m128i four) {
        const __m128i ends = _mm_or_si128(isAmong(four), isAmong(_mm_shuffle_epi32(four, _MM_SHUFFLE(2, 1, 0, 3))));
        const __m128i middle = _mm_or_si128(isAmong(_mm_shuffle_epi32(four, _MM_SHUFFLE(1, 0, 3, 2))),
                                            isAmong(_mm_shuffle_epi32(four, _MM_SHUFFLE(0, 3, 2, 1))));
        return _mm_or_si128(ends, middle);
    };
    return _mm_movemask_epi8(_mm_or_si128(areAmong(load(others)), areAmong(load(others + kCompared / 2)))) != 0;
#else
    bool any = false;
    for (unsigned i = 0; i < kCompared; ++i) {
        for (unsigned other = 0; other < kCompared; ++other) {
            any |= numbers[i] == others[other];
        }
    }
    return any;
#endif
}

} // namespace zqsp

#endif
