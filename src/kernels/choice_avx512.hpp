// Which of sixteen entries are selected, and their new rows, by each kind of choice.
#ifndef ZQSP_KERNELS_CHOICE_AVX512_HPP
#define ZQSP_KERNELS_CHOICE_AVX512_HPP

#include "kernels/kernels.hpp"
#include "kernels/lanes_avx512.hpp"

#include <algorithm>
#include <array>
#include <concepts>
#include <cstdint>
#include <cstring>

namespace zqsp::avx512 {

/// Of up to sixteen entries: the new rows, and a bit for each that is selected. (The new rows of others mean nothing.)
struct Choice
{
    __m512i newRows;
    __mmask16 selected;
};

/// The words of a ranked set that eight rows lie in.
ZQSP_AVX512 inline __m512i wordsOf(const unsigned* rows, const RowWord* words)
{
    constexpr unsigned kWordBits = 5; // of a row: which bit of its word it is
    static_assert(RowWord::kBits == 1U << kWordBits);
    const auto two = [words](const unsigned* pair) ZQSP_AVX512 {
        std::uint64_t both = 0; // read as one: it is loads that the time goes to
        std::memcpy(&both, pair, sizeof both);
        const __m128i low =
            _mm_loadl_epi64(reinterpret_cast<const __m128i*>(words + (static_cast<unsigned>(both) >> kWordBits)));
        return _mm_castps_si128(
            _mm_loadh_pi(_mm_castsi128_ps(low), reinterpret_cast<const __m64*>(words + (both >> (32 + kWordBits)))));
    };
    const __m256i low = _mm256_inserti128_si256(_mm256_castsi128_si256(two(rows)), two(rows + 2), 1);
    const __m256i high = _mm256_inserti128_si256(_mm256_castsi128_si256(two(rows + 4)), two(rows + 6), 1);
    return _mm512_inserti64x4(_mm512_castsi256_si512(low), high, 1);
}

/// Sixteen look-ups, each load by itself: measured, a gather takes twice as long.
ZQSP_AVX512 inline Choice choose(const unsigned* rows, RankedRows set)
{
    const __m512i even = _mm512_set_epi32(30, 28, 26, 24, 22, 20, 18, 16, 14, 12, 10, 8, 6, 4, 2, 0);
    const __m512i one = _mm512_set1_epi32(1);
    const __m512i low = wordsOf(rows, set.words);
    const __m512i high = wordsOf(rows + kLanes / 2, set.words);
    const __m512i members = _mm512_permutex2var_epi32(low, even, high);
    const __m512i before = _mm512_permutex2var_epi32(low, _mm512_add_epi32(even, one), high);
    const __m512i bit = _mm512_rolv_epi32(one, _mm512_loadu_si512(rows));
    const __m512i below = _mm512_and_si512(members, _mm512_sub_epi32(bit, one));
    return {_mm512_add_epi32(before, _mm512_popcnt_epi32(below)), _mm512_test_epi32_mask(members, bit)};
}

ZQSP_AVX512 inline Choice choose(const unsigned* rows, UnmovedRows set)
{
    const __m512i own = _mm512_loadu_si512(rows);
    return {own, choose(rows, RankedRows{set.words}).selected};
}

template <typename Set>
requires std::same_as<Set, RankedRows> || std::same_as<Set, UnmovedRows> ZQSP_AVX512 inline Choice
choose(const unsigned* rows, unsigned count, Set set)
{
    if (count >= kLanes) {
        return choose(rows, set);
    }
    const __mmask16 lanes = lanesOf(count);
    std::array<unsigned, kLanes> some;
    _mm512_storeu_si512(some.data(), _mm512_maskz_loadu_epi32(lanes, rows));
    const Choice choice = choose(some.data(), set);
    return {choice.newRows, _kand_mask16(choice.selected, lanes)};
}

ZQSP_AVX512 inline Choice choose(const unsigned* rows, unsigned count, RowInterval interval)
{
    const __mmask16 lanes = lanesOf(count);
    const __m512i shifted = _mm512_sub_epi32(_mm512_maskz_loadu_epi32(lanes, rows), inAll(interval.first));
    return {shifted, _mm512_mask_cmplt_epu32_mask(lanes, shifted, inAll(interval.size))};
}

ZQSP_AVX512 inline Choice choose(const unsigned* rows, unsigned count, OtherRows gap)
{
    const __mmask16 lanes = lanesOf(count);
    const __m512i old = _mm512_maskz_loadu_epi32(lanes, rows);
    const __m512i first = inAll(gap.first);
    const __m512i size = inAll(gap.size);
    const __mmask16 isBehind = _mm512_mask_cmpge_epu32_mask(lanes, old, first);
    const __mmask16 isInside = _mm512_mask_cmplt_epu32_mask(isBehind, _mm512_sub_epi32(old, first), size);
    return {_mm512_mask_sub_epi32(old, isBehind, old, size), _kandn_mask16(isInside, lanes)};
}

/// The choice among ascending positions: each is lowered by the deleted ones before it. Four of these are always
/// compared, so that their number, which nobody can foresee, takes no branch where they are a fifth of the entries or
/// fewer.
ZQSP_AVX512 inline Choice choose(const unsigned* rows, unsigned count, DeletedList& deleted)
{
    const __mmask16 lanes = lanesOf(count);
    const unsigned last = rows[std::min(kLanes, count) - 1];
    const __m512i old = _mm512_maskz_loadu_epi32(lanes, rows);
    const __m512i one = _mm512_set1_epi32(1);
    __m512i lowered = _mm512_sub_epi32(old, inAll(deleted.passed));
    __mmask16 gone = 0;
    const auto pass = [&](unsigned position) ZQSP_AVX512 {
        const __m512i own = inAll(position);
        gone = _kor_mask16(gone, _mm512_cmpeq_epi32_mask(old, own));
        lowered = _mm512_mask_sub_epi32(lowered, _mm512_cmpgt_epu32_mask(old, own), lowered, one);
        deleted.passed += position <= last ? 1U : 0U;
    };
    constexpr unsigned kAlways = 4;
    const unsigned* const next = deleted.positions + deleted.passed;
    if (deleted.count - deleted.passed >= kAlways) {
        for (unsigned i = 0; i < kAlways; ++i) {
            pass(next[i]);
        }
    }
    while (deleted.passed < deleted.count && deleted.positions[deleted.passed] <= last) {
        pass(deleted.positions[deleted.passed]);
    }
    return {lowered, _kandn_mask16(gone, lanes)};
}

} // namespace zqsp::avx512

#endif
