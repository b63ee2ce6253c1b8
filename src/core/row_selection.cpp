#include "core/row_selection.hpp"

#include "core/values.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

#ifdef __x86_64__
#include <immintrin.h>
#endif

namespace zqsp {

namespace {

constexpr unsigned kGroup = 16;       // entries that are looked at together
constexpr unsigned kBlockSize = 4096; // entries; a block stays in the nearer caches between the loops
constexpr unsigned kGroups = kBlockSize / kGroup;

/// What is selected of one block: a bit for each entry of each group of sixteen, and how many are selected before the
/// group.
struct Selection
{
    std::array<std::uint16_t, kGroups> bits;
    std::array<unsigned, kGroups> before;
};

/// The loops over one block, one set for each kind of processor. What is moved may overlap its source where it moves to
/// a lower place. Up to `room` elements from `to` on may be written, at least as many as are selected; what lies behind
/// these is lost.
struct Kernels
{
    unsigned (*count)(const unsigned* rows, unsigned count, const RowChoice& choice);
    /// Learns what is selected, moves its new rows, and returns how many there are.
    unsigned (*moveRows)(const unsigned* rows, unsigned count, const RowChoice& choice, unsigned* to, std::size_t room,
                         Selection& selection);
    void (*moveBytes)(const std::uint8_t* values, unsigned count, const Selection& selection, std::uint8_t* to,
                      std::size_t room);
    void (*moveDoubles)(const double* values, unsigned count, const Selection& selection, double* to, std::size_t room);
    /// For the column ends `from[0]`, `from[1]`, ... that lie in the block, which starts at entry `begin` and has
    /// `size` entries: `base` and what is selected before them. Returns their number.
    unsigned (*columnEnds)(const unsigned* from, unsigned count, unsigned begin, unsigned size, unsigned base,
                           const Selection& selection, unsigned* ends);
};

namespace portable {

unsigned count(const unsigned* rows, unsigned count, const RowChoice& choice)
{
    return choice.visit([=](auto newRow) {
        unsigned selected = 0;
        for (unsigned i = 0; i < count; ++i) {
            selected += newRow(rows[i]) != NOT_SELECTED ? 1U : 0U;
        }
        return selected;
    });
}

/// An entry is written before it is known to be selected: at worst it is written over by the next one.
unsigned moveRows(const unsigned* rows, unsigned count, const RowChoice& choice, unsigned* to, std::size_t room,
                  Selection& selection)
{
    return choice.visit([=, &selection](auto newRow) {
        unsigned written = 0;
        for (unsigned g = 0; g * kGroup < count; ++g) {
            const unsigned size = std::min(kGroup, count - g * kGroup);
            selection.before[g] = written;
            unsigned bits = 0;
            for (unsigned i = 0; i < size; ++i) {
                const unsigned row = newRow(rows[g * kGroup + i]);
                const unsigned selected = row != NOT_SELECTED ? 1U : 0U;
                if (written < room) { // false behind the last one only, and so foreseen
                    to[written] = row;
                }
                written += selected;
                bits |= selected << i;
            }
            selection.bits[g] = static_cast<std::uint16_t>(bits);
        }
        return written;
    });
}

template <typename T>
void moveValues(const T* values, unsigned count, const Selection& selection, T* to, std::size_t room)
{
    unsigned written = 0;
    for (unsigned i = 0; i < count; ++i) {
        if (written < room) {
            to[written] = values[i];
        }
        written += static_cast<unsigned>(selection.bits[i / kGroup]) >> i % kGroup & 1U;
    }
}

unsigned columnEnds(const unsigned* from, unsigned count, unsigned begin, unsigned size, unsigned base,
                    const Selection& selection, unsigned* ends)
{
    unsigned served = 0;
    for (; served < count && from[served] - begin < size; ++served) {
        const unsigned entry = from[served] - begin;
        const unsigned inGroup = selection.bits[entry / kGroup] & ((1U << entry % kGroup) - 1);
        ends[served] = base + selection.before[entry / kGroup] + static_cast<unsigned>(std::popcount(inGroup));
    }
    return served;
}

constexpr Kernels kernels = {count, moveRows, moveValues<std::uint8_t>, moveValues<double>, columnEnds};

} // namespace portable

#ifdef __x86_64__
/// A group goes through one register: its map entries are gathered, compared at once, and pressed together. Measured
/// against the portable loops: a third of the time for rows and values together, two thirds for the counting.
namespace avx512 {

#define ZQSP_AVX512 __attribute__((target("avx512f,popcnt")))

ZQSP_AVX512 inline unsigned ones(unsigned bits)
{
    return static_cast<unsigned>(__builtin_popcount(bits));
}

/// The new rows of up to sixteen; NOT_SELECTED in the lanes behind them.
ZQSP_AVX512 inline __m512i newRows(const unsigned* rows, unsigned count, RowChoice::Map map)
{
    const __m512i none = _mm512_set1_epi32(-1);
    if (count >= kGroup) {
        return _mm512_i32gather_epi32(_mm512_loadu_si512(rows), map.newRow, sizeof *map.newRow);
    }
    const auto lanes = static_cast<__mmask16>((1U << count) - 1);
    return _mm512_mask_i32gather_epi32(none, lanes, _mm512_maskz_loadu_epi32(lanes, rows), map.newRow,
                                       sizeof *map.newRow);
}

ZQSP_AVX512 inline __m512i newRows(const unsigned* rows, unsigned count, RowChoice::Interval interval)
{
    const auto lanes = static_cast<__mmask16>(count >= kGroup ? 0xFFFFU : (1U << count) - 1);
    const __m512i shifted =
        _mm512_sub_epi32(_mm512_maskz_loadu_epi32(lanes, rows), _mm512_set1_epi32(static_cast<int>(interval.first)));
    const __mmask16 inside =
        _mm512_mask_cmplt_epu32_mask(lanes, shifted, _mm512_set1_epi32(static_cast<int>(interval.size)));
    return _mm512_mask_mov_epi32(_mm512_set1_epi32(-1), inside, shifted);
}

ZQSP_AVX512 inline __m512i newRows(const unsigned* rows, unsigned count, RowChoice::Gap gap)
{
    const auto lanes = static_cast<__mmask16>(count >= kGroup ? 0xFFFFU : (1U << count) - 1);
    const __m512i old = _mm512_maskz_loadu_epi32(lanes, rows);
    const __m512i first = _mm512_set1_epi32(static_cast<int>(gap.first));
    const __m512i size = _mm512_set1_epi32(static_cast<int>(gap.size));
    const __mmask16 isBehind = _mm512_mask_cmpge_epu32_mask(lanes, old, first);
    const __mmask16 isInside = _mm512_mask_cmplt_epu32_mask(isBehind, _mm512_sub_epi32(old, first), size);
    const auto stays = static_cast<__mmask16>(lanes & ~static_cast<unsigned>(isInside));
    return _mm512_mask_mov_epi32(_mm512_set1_epi32(-1), stays, _mm512_mask_sub_epi32(old, isBehind, old, size));
}

ZQSP_AVX512 inline unsigned selectedOf(__m512i newRows)
{
    return _mm512_cmpneq_epi32_mask(newRows, _mm512_set1_epi32(-1));
}

template <typename Choice>
ZQSP_AVX512 unsigned countOf(const unsigned* rows, unsigned count, Choice choice)
{
    unsigned selected = 0;
    for (std::size_t i = 0; i < count; i += kGroup) {
        selected += ones(selectedOf(newRows(rows + i, count - static_cast<unsigned>(i), choice)));
    }
    return selected;
}

unsigned count(const unsigned* rows, unsigned count, const RowChoice& choice)
{
    return choice.visit([=](auto newRow) { return countOf(rows, count, newRow); });
}

/// Writes `count` lanes, and where there is room all sixteen, which is faster.
ZQSP_AVX512 inline void storeRows(unsigned* to, std::size_t room, __m512i rows, unsigned count)
{
    if (room >= kGroup) {
        _mm512_storeu_si512(to, rows);
    } else {
        _mm512_mask_storeu_epi32(to, static_cast<__mmask16>((1U << count) - 1), rows);
    }
}

template <typename Choice>
ZQSP_AVX512 unsigned moveRowsOf(const unsigned* rows, unsigned count, Choice choice, unsigned* to, std::size_t room,
                                Selection& selection)
{
    unsigned written = 0;
    for (unsigned g = 0; g * kGroup < count; ++g) {
        const __m512i mapped = newRows(rows + g * kGroup, count - g * kGroup, choice);
        const unsigned bits = selectedOf(mapped);
        const __m512i pressed = _mm512_maskz_compress_epi32(static_cast<__mmask16>(bits), mapped);
        selection.before[g] = written;
        selection.bits[g] = static_cast<std::uint16_t>(bits);
        storeRows(to + written, room - written, pressed, ones(bits));
        written += ones(bits);
    }
    return written;
}

unsigned moveRows(const unsigned* rows, unsigned count, const RowChoice& choice, unsigned* to, std::size_t room,
                  Selection& selection)
{
    return choice.visit([=, &selection](auto newRow) { return moveRowsOf(rows, count, newRow, to, room, selection); });
}

ZQSP_AVX512 inline void storeDoubles(double* to, std::size_t room, __m512d values, unsigned count)
{
    constexpr std::size_t kLanes = 8;
    if (room >= kLanes) {
        _mm512_storeu_pd(to, values);
    } else {
        _mm512_mask_storeu_pd(to, static_cast<__mmask8>((1U << count) - 1), values);
    }
}

ZQSP_AVX512 void moveDoubles(const double* values, unsigned count, const Selection& selection, double* to,
                             std::size_t room)
{
    constexpr unsigned kHalf = kGroup / 2;
    std::size_t written = 0;
    for (unsigned g = 0; g * kGroup < count; ++g) {
        const double* const from = values + g * kGroup;
        const unsigned here = std::min(kGroup, count - g * kGroup);
        const unsigned lanes = (1U << here) - 1;
        const auto lowBits = static_cast<__mmask8>(selection.bits[g]);
        const auto highBits = static_cast<__mmask8>(selection.bits[g] >> kHalf);
        const __m512d low = _mm512_maskz_loadu_pd(static_cast<__mmask8>(lanes), from);
        const __m512d high = _mm512_maskz_loadu_pd(static_cast<__mmask8>(lanes >> kHalf), from + kHalf);
        storeDoubles(to + written, room - written, _mm512_maskz_compress_pd(lowBits, low), ones(lowBits));
        written += ones(lowBits);
        storeDoubles(to + written, room - written, _mm512_maskz_compress_pd(highBits, high), ones(highBits));
        written += ones(highBits);
    }
}

ZQSP_AVX512 inline __m128i pressBytes(const std::uint8_t* group, unsigned bits)
{
    const __m512i wide = _mm512_cvtepu8_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(group)));
    return _mm512_cvtepi32_epi8(_mm512_maskz_compress_epi32(static_cast<__mmask16>(bits), wide));
}

ZQSP_AVX512 void moveBytes(const std::uint8_t* values, unsigned count, const Selection& selection, std::uint8_t* to,
                           std::size_t room)
{
    std::size_t written = 0;
    unsigned g = 0;
    for (; (g + 1) * kGroup <= count && room - written >= kGroup; ++g) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to + written), pressBytes(values + g * kGroup, selection.bits[g]));
        written += ones(selection.bits[g]);
    }
    for (; g * kGroup < count; ++g) { // the last groups go through a buffer
        std::array<std::uint8_t, kGroup> group{};
        std::memcpy(group.data(), values + g * kGroup, std::min(kGroup, count - g * kGroup));
        const __m128i pressed = pressBytes(group.data(), selection.bits[g]);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(group.data()), pressed);
        std::memcpy(to + written, group.data(), ones(selection.bits[g]));
        written += ones(selection.bits[g]);
    }
}

ZQSP_AVX512 unsigned columnEnds(const unsigned* from, unsigned count, unsigned begin, unsigned size, unsigned base,
                                const Selection& selection, unsigned* ends)
{
    unsigned served = 0;
    for (; served < count && from[served] - begin < size; ++served) {
        const unsigned entry = from[served] - begin;
        const unsigned inGroup = selection.bits[entry / kGroup] & ((1U << entry % kGroup) - 1);
        ends[served] = base + selection.before[entry / kGroup] + ones(inGroup);
    }
    return served;
}

#undef ZQSP_AVX512

constexpr Kernels kernels = {count, moveRows, moveBytes, moveDoubles, columnEnds};

} // namespace avx512
#endif

/// The loops for this processor. (A gather takes signed offsets.)
const Kernels& kernelsFor([[maybe_unused]] const Columns& a)
{
#ifdef __x86_64__
#ifdef ZQSP_PORTABLE_LOOPS
    constexpr bool isWanted = false;
#else
    constexpr bool isWanted = true;
#endif
    static const bool isThere = __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("popcnt");
    if (isWanted && isThere && a.m <= INT32_MAX) {
        return avx512::kernels;
    }
#endif
    return portable::kernels;
}

template <typename T>
void moveValuesOf(const std::byte* values, unsigned count, const Selection& selection, std::byte* to, std::size_t room)
{
    portable::moveValues(reinterpret_cast<const T*>(values), count, selection, reinterpret_cast<T*>(to), room);
}

/// `values` and `to`: whole blocks, with the entries to start from.
void moveValues(const Kernels& kernels, unsigned elementSize, const std::byte* values, unsigned begin, unsigned count,
                const Selection& selection, std::byte* to, unsigned at, std::size_t room)
{
    values += std::size_t{begin} * elementSize;
    to += std::size_t{at} * elementSize;
    switch (elementSize) {
    case sizeof(double):
        kernels.moveDoubles(reinterpret_cast<const double*>(values), count, selection, reinterpret_cast<double*>(to),
                            room);
        break;
    case sizeof(float):
        moveValuesOf<std::uint32_t>(values, count, selection, to, room);
        break;
    case sizeof(std::uint16_t):
        moveValuesOf<std::uint16_t>(values, count, selection, to, room);
        break;
    default:
        kernels.moveBytes(reinterpret_cast<const std::uint8_t*>(values), count, selection,
                          reinterpret_cast<std::uint8_t*>(to), room);
        break;
    }
}

/// So few entries, those of one column mostly, are not worth the preparations of the loops above.
bool areFew(unsigned entries)
{
    constexpr unsigned kFew = 48;
    return entries <= kFew;
}

/// moveSelected() in one loop.
unsigned moveFew(const Columns& from, unsigned first, unsigned count, const RowChoice& choice, const Columns& to,
                 unsigned at, unsigned* ends)
{
    return withStorage(from, [&, at](auto source) mutable {
        const decltype(source) target(to);
        return choice.visit([&, source](auto newRow) {
            unsigned e = from.jc[first];
            for (unsigned i = 0; i < count; ++i) {
                for (const unsigned end = from.jc[first + i + 1]; e < end; ++e) {
                    const unsigned row = newRow(from.ir[e]);
                    if (at < to.nzmax) {
                        to.ir[at] = row;
                        target.copy(at, source, e);
                    }
                    at += row != NOT_SELECTED ? 1U : 0U;
                }
                ends[i] = at;
            }
            return at;
        });
    });
}

} // namespace

unsigned countSelected(const Columns& a, unsigned begin, unsigned end, const RowChoice& choice)
{
    return (areFew(end - begin) ? portable::count : kernelsFor(a).count)(a.ir + begin, end - begin, choice);
}

unsigned moveSelected(const Columns& from, unsigned first, unsigned count, const RowChoice& choice, const Columns& to,
                      unsigned at, unsigned* ends)
{
    const Kernels& kernels = kernelsFor(from);
    const bool inPlace = from.ir == to.ir;
    const unsigned last = from.jc[first + count];
    if (areFew(last - from.jc[first])) {
        return moveFew(from, first, count, choice, to, at, ends);
    }
    const unsigned* columnEnd = from.jc + first + 1;
    Selection selection;
    for (unsigned begin = from.jc[first], size = 0; begin < last; begin += size) {
        size = std::min(kBlockSize, last - begin);
        const std::size_t room = (inPlace ? begin + size : to.nzmax) - at;
        const unsigned selected = kernels.moveRows(from.ir + begin, size, choice, to.ir + at, room, selection);
        moveValues(kernels, from.elementSize, from.pr, begin, size, selection, to.pr, at, room);
        if (from.pi != nullptr) {
            moveValues(kernels, from.elementSize, from.pi, begin, size, selection, to.pi, at, room);
        }
        const unsigned served = kernels.columnEnds(columnEnd, count, begin, size, at, selection, ends);
        columnEnd += served;
        ends += served;
        count -= served;
        at += selected;
    }
    std::fill_n(ends, count, at);
    return at;
}

} // namespace zqsp
