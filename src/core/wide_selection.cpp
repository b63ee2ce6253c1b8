#include "core/wide_selection.hpp"

#include "core/processor.hpp"

#ifdef __x86_64__

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

namespace zqsp::wide {

namespace {

// The loops work on blocks, first the rows of one, then its values: what is moved may overlap its source where it moves
// to a lower place. Up to `room` elements from `to` on may be written, at least as many as are selected; what lies
// behind these is lost. Measured against one entry after the other: half to three quarters of the time.

constexpr unsigned kBlockSize = 4096; // entries; a block stays in the nearer caches between the loops
constexpr unsigned kGroups = kBlockSize / kLanes;

/// What is selected of one block: a bit for each entry of each group of sixteen, and how many are selected before the
/// group.
struct Selection
{
    std::array<std::uint16_t, kGroups> bits;
    std::array<unsigned, kGroups> before;
};

ZQSP_AVX512 inline unsigned ones(unsigned bits)
{
    return static_cast<unsigned>(__builtin_popcount(bits));
}

/// The new rows of up to sixteen; NOT_SELECTED in the lanes behind them.
ZQSP_AVX512 inline __m512i newRows(const unsigned* rows, unsigned count, RowChoice::Map map)
{
    const __m512i none = _mm512_set1_epi32(-1);
    if (count >= kLanes) {
        return _mm512_i32gather_epi32(_mm512_loadu_si512(rows), map.newRow, sizeof *map.newRow);
    }
    const auto lanes = static_cast<__mmask16>((1U << count) - 1);
    return _mm512_mask_i32gather_epi32(none, lanes, _mm512_maskz_loadu_epi32(lanes, rows), map.newRow,
                                       sizeof *map.newRow);
}

ZQSP_AVX512 inline __m512i newRows(const unsigned* rows, unsigned count, RowChoice::Interval interval)
{
    const auto lanes = static_cast<__mmask16>(count >= kLanes ? 0xFFFFU : (1U << count) - 1);
    const __m512i shifted =
        _mm512_sub_epi32(_mm512_maskz_loadu_epi32(lanes, rows), _mm512_set1_epi32(static_cast<int>(interval.first)));
    const __mmask16 inside =
        _mm512_mask_cmplt_epu32_mask(lanes, shifted, _mm512_set1_epi32(static_cast<int>(interval.size)));
    return _mm512_mask_mov_epi32(_mm512_set1_epi32(-1), inside, shifted);
}

ZQSP_AVX512 inline __m512i newRows(const unsigned* rows, unsigned count, RowChoice::Gap gap)
{
    const auto lanes = static_cast<__mmask16>(count >= kLanes ? 0xFFFFU : (1U << count) - 1);
    const __m512i old = _mm512_maskz_loadu_epi32(lanes, rows);
    const __m512i first = _mm512_set1_epi32(static_cast<int>(gap.first));
    const __m512i size = _mm512_set1_epi32(static_cast<int>(gap.size));
    const __mmask16 isBehind = _mm512_mask_cmpge_epu32_mask(lanes, old, first);
    const __mmask16 isInside = _mm512_mask_cmplt_epu32_mask(isBehind, _mm512_sub_epi32(old, first), size);
    const auto stays = static_cast<__mmask16>(lanes & ~static_cast<unsigned>(isInside));
    return _mm512_mask_mov_epi32(_mm512_set1_epi32(-1), stays, _mm512_mask_sub_epi32(old, isBehind, old, size));
}

/// Strictly ascending positions that are deleted, and how many of them have been passed.
struct DeletedList
{
    const unsigned* positions;
    unsigned count;
    unsigned passed = 0;
};

/// That of ascending positions: each is lowered by the deleted ones before it. Four of these are always compared, so
/// that their number, which nobody can foresee, takes no branch where they are a fifth of the entries or fewer.
ZQSP_AVX512 inline __m512i newRows(const unsigned* rows, unsigned count, DeletedList& deleted)
{
    const unsigned here = std::min(kLanes, count);
    const auto lanes = static_cast<__mmask16>((1U << here) - 1);
    const unsigned last = rows[here - 1];
    const __m512i old = _mm512_maskz_loadu_epi32(lanes, rows);
    const __m512i one = _mm512_set1_epi32(1);
    __m512i lowered = _mm512_sub_epi32(old, _mm512_set1_epi32(static_cast<int>(deleted.passed)));
    unsigned gone = static_cast<unsigned>(~lanes) & 0xFFFFU;
    const auto pass = [&](unsigned position) ZQSP_AVX512 {
        const __m512i own = _mm512_set1_epi32(static_cast<int>(position));
        gone |= _mm512_cmpeq_epi32_mask(old, own);
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
    return _mm512_mask_mov_epi32(lowered, static_cast<__mmask16>(gone), _mm512_set1_epi32(-1));
}

ZQSP_AVX512 inline unsigned selectedOf(__m512i newRows)
{
    return _mm512_cmpneq_epi32_mask(newRows, _mm512_set1_epi32(-1));
}

template <typename Choice>
ZQSP_AVX512 unsigned count(const unsigned* rows, unsigned count, Choice choice)
{
    unsigned selected = 0;
    for (std::size_t i = 0; i < count; i += kLanes) {
        selected += ones(selectedOf(newRows(rows + i, count - static_cast<unsigned>(i), choice)));
    }
    return selected;
}

/// Writes `count` lanes, and where there is room all sixteen, which is faster.
ZQSP_AVX512 inline void storeRows(unsigned* to, std::size_t room, __m512i rows, unsigned count)
{
    if (room >= kLanes) {
        _mm512_storeu_si512(to, rows);
    } else {
        _mm512_mask_storeu_epi32(to, static_cast<__mmask16>((1U << count) - 1), rows);
    }
}

/// Learns what is selected, moves its new rows, and returns how many there are.
template <typename Choice>
ZQSP_AVX512 unsigned moveRows(const unsigned* rows, unsigned count, Choice& choice, unsigned* to, std::size_t room,
                              Selection& selection)
{
    unsigned written = 0;
    for (unsigned g = 0; g * kLanes < count; ++g) {
        const __m512i mapped = newRows(rows + std::size_t{g} * kLanes, count - g * kLanes, choice);
        const unsigned bits = selectedOf(mapped);
        const __m512i pressed = _mm512_maskz_compress_epi32(static_cast<__mmask16>(bits), mapped);
        selection.before[g] = written;
        selection.bits[g] = static_cast<std::uint16_t>(bits);
        storeRows(to + written, room - written, pressed, ones(bits));
        written += ones(bits);
    }
    return written;
}

ZQSP_AVX512 inline void storeDoubles(double* to, std::size_t room, __m512d values, unsigned count)
{
    constexpr std::size_t kDoubles = 8; // in a register
    if (room >= kDoubles) {
        _mm512_storeu_pd(to, values);
    } else {
        _mm512_mask_storeu_pd(to, static_cast<__mmask8>((1U << count) - 1), values);
    }
}

ZQSP_AVX512 void moveDoubles(const double* values, unsigned count, const Selection& selection, double* to,
                             std::size_t room)
{
    constexpr unsigned kHalf = kLanes / 2;
    std::size_t written = 0;
    for (unsigned g = 0; g * kLanes < count; ++g) {
        const double* const from = values + std::size_t{g} * kLanes;
        const unsigned here = std::min(kLanes, count - g * kLanes);
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
    for (; (g + 1) * kLanes <= count && room - written >= kLanes; ++g) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to + written),
                         pressBytes(values + std::size_t{g} * kLanes, selection.bits[g]));
        written += ones(selection.bits[g]);
    }
    for (; g * kLanes < count; ++g) { // the last groups go through a buffer
        std::array<std::uint8_t, kLanes> group{};
        std::memcpy(group.data(), values + std::size_t{g} * kLanes, std::min(kLanes, count - g * kLanes));
        const __m128i pressed = pressBytes(group.data(), selection.bits[g]);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(group.data()), pressed);
        std::memcpy(to + written, group.data(), ones(selection.bits[g]));
        written += ones(selection.bits[g]);
    }
}

/// For the column ends `from[0]`, `from[1]`, ... that lie in the block, which starts at entry `begin` and has `size`
/// entries: `base` and what is selected before them. Returns their number.
ZQSP_AVX512 unsigned columnEnds(const unsigned* from, unsigned count, unsigned begin, unsigned size, unsigned base,
                                const Selection& selection, unsigned* ends)
{
    unsigned served = 0;
    for (; served < count && from[served] - begin < size; ++served) {
        const unsigned entry = from[served] - begin;
        const unsigned inGroup = selection.bits[entry / kLanes] & ((1U << entry % kLanes) - 1);
        ends[served] = base + selection.before[entry / kLanes] + ones(inGroup);
    }
    return served;
}

/// `from` and `to`: whole blocks.
void moveValues(unsigned elementSize, const std::byte* from, unsigned begin, unsigned count, const Selection& selection,
                std::byte* to, unsigned at, std::size_t room)
{
    if (elementSize == 1) {
        moveBytes(reinterpret_cast<const std::uint8_t*>(from) + begin, count, selection,
                  reinterpret_cast<std::uint8_t*>(to) + at, room);
    } else {
        moveDoubles(reinterpret_cast<const double*>(from) + begin, count, selection, reinterpret_cast<double*>(to) + at,
                    room);
    }
}

/// Moves what is selected of one block, and returns how many entries that is.
template <typename Choice>
unsigned moveBlock(const Columns& from, unsigned begin, unsigned size, Choice& choice, const Columns& to, unsigned at,
                   Selection& selection)
{
    const bool inPlace = from.ir == to.ir;
    const std::size_t room = (inPlace ? begin + size : to.nzmax) - at;
    const unsigned selected = moveRows(from.ir + begin, size, choice, to.ir + at, room, selection);
    moveValues(from.elementSize, from.pr, begin, size, selection, to.pr, at, room);
    if (from.pi != nullptr) {
        moveValues(from.elementSize, from.pi, begin, size, selection, to.pi, at, room);
    }
    return selected;
}

bool canMove(const Columns& a)
{
    return (a.elementSize == 1 || a.elementSize == sizeof(double)) && haveAvx512();
}

} // namespace

bool serve(const Columns& a, unsigned entries)
{
    constexpr unsigned kFew = 48;
    return entries > kFew && a.m <= INT32_MAX && canMove(a);
}

bool serveList(const Columns& a, unsigned entries, unsigned deleted)
{
    constexpr unsigned kFew = 32; // one deleted position in so many entries
    return deleted > entries / kFew && canMove(a);
}

unsigned countSelected(const Columns& a, unsigned begin, unsigned end, const RowChoice& choice)
{
    return choice.visit([&](auto rows) { return count(a.ir + begin, end - begin, rows); });
}

unsigned moveSelected(const Columns& from, unsigned first, unsigned count, const RowChoice& choice, const Columns& to,
                      unsigned at, unsigned* ends)
{
    return choice.visit([&, count, at, ends](auto rows) mutable {
        const unsigned last = from.jc[first + count];
        const unsigned* columnEnd = from.jc + first + 1;
        Selection selection;
        for (unsigned begin = from.jc[first], size = 0; begin < last; begin += size) {
            size = std::min(kBlockSize, last - begin);
            const unsigned selected = moveBlock(from, begin, size, rows, to, at, selection);
            const unsigned served = columnEnds(columnEnd, count, begin, size, at, selection, ends);
            columnEnd += served;
            ends += served;
            count -= served;
            at += selected;
        }
        std::fill_n(ends, count, at);
        return at;
    });
}

unsigned deleteListed(const Columns& a, unsigned entries, const unsigned* deleted, unsigned count)
{
    DeletedList list{deleted, count};
    Selection selection;
    unsigned kept = 0;
    for (unsigned begin = 0, size = 0; begin < entries; begin += size) {
        size = std::min(kBlockSize, entries - begin);
        kept += moveBlock(a, begin, size, list, a, kept, selection);
    }
    return kept;
}

void FewRows::add(unsigned row)
{
    const unsigned product = row * kMultiplier;
    first_[product >> kWord] |= 1U << (product >> kBit) % 32;
    const unsigned next = product << kNext;
    second_[next >> kWord] |= 1U << (next >> kBit) % 32;
}

ZQSP_AVX512 unsigned FewRows::firstGroup(const unsigned* ir, unsigned begin, unsigned end, unsigned& lanes) const
{
    const __m512i multiplier = _mm512_set1_epi32(static_cast<int>(kMultiplier));
    const __m512i one = _mm512_set1_epi32(1);
    const __m512i lowFirst = _mm512_loadu_si512(first_.data());
    const __m512i highFirst = _mm512_loadu_si512(first_.data() + kLanes);
    const __m512i lowSecond = _mm512_loadu_si512(second_.data());
    const __m512i highSecond = _mm512_loadu_si512(second_.data() + kLanes);
    for (; end - begin >= kLanes; begin += kLanes) {
        const __m512i product = _mm512_mullo_epi32(_mm512_loadu_si512(ir + begin), multiplier);
        const __m512i next = _mm512_slli_epi32(product, kNext);
        const __m512i first = _mm512_permutex2var_epi32(lowFirst, _mm512_srli_epi32(product, kWord), highFirst);
        const __m512i second = _mm512_permutex2var_epi32(lowSecond, _mm512_srli_epi32(next, kWord), highSecond);
        const __m512i firstBit = _mm512_rorv_epi32(first, _mm512_srli_epi32(product, kBit));
        const __m512i secondBit = _mm512_rorv_epi32(second, _mm512_srli_epi32(next, kBit));
        lanes = _mm512_test_epi32_mask(_mm512_and_si512(firstBit, secondBit), one);
        if (lanes != 0) {
            return begin;
        }
    }
    lanes = 0;
    return begin;
}

ZQSP_AVX512 unsigned writeStarts(const unsigned* columns, unsigned count, unsigned length, unsigned* starts)
{
    constexpr unsigned kAlways = 2 * kLanes; // starts: where there are more to an entry, a branch is seldom wrong
    std::uint64_t column = 0;
    unsigned e = 0;
    for (; e < count && columns[e] + std::uint64_t{kAlways} <= length; ++e) {
        const __m512i own = _mm512_set1_epi32(static_cast<int>(e));
        _mm512_storeu_si512(starts + column, own);
        _mm512_storeu_si512(starts + column + kLanes, own);
        for (column += kAlways; column <= columns[e]; column += kLanes) {
            _mm512_storeu_si512(starts + column, own);
        }
        column = std::uint64_t{columns[e]} + 1;
    }
    return e;
}

} // namespace zqsp::wide

#endif
