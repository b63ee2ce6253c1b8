#include "core/wide_selection.hpp"

#include "core/entry_moves.hpp"
#include "core/processor.hpp"

#ifdef __x86_64__

#include <algorithm>
#include <array>
#include <concepts>
#include <cstdint>
#include <cstring>

namespace zqsp::wide {

namespace {

// The loops work on blocks, first the rows of one, then its values: what is moved may overlap its source where it moves
// to a lower place. Up to `room` elements from `to` on may be written, at least as many as are selected; what lies
// behind these is lost. Measured against one entry after the other: half to three quarters of the time.

constexpr unsigned kBlockSize = 1024; // entries; a block stays in the nearest caches between the loops
constexpr unsigned kGroups = kBlockSize / kLanes;

/// What the next loop will read, asked for in the one before: the processor's own foresight does not see from one block
/// to the next.
struct Next
{
    const std::byte* begin;
    unsigned groupSize; ///< bytes that sixteen entries have there

    [[gnu::always_inline]] void prefetch(unsigned group) const
    {
        const std::byte* const there = begin + std::size_t{group} * groupSize;
        __builtin_prefetch(there);
        __builtin_prefetch(there + groupSize / 2); // two lines at most
    }
};

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

/// Of up to sixteen entries: the new rows, and a bit for each that is selected. (The new rows of others mean nothing.)
struct Choice
{
    __m512i newRows;
    __mmask16 selected;
};

ZQSP_AVX512 inline __mmask16 lanesOf(unsigned count)
{
    return static_cast<__mmask16>(count >= kLanes ? 0xFFFFU : (1U << count) - 1);
}

/// The words of a ranked set that eight rows lie in.
ZQSP_AVX512 inline __m512i wordsOf(const unsigned* rows, const RankedSet::Word* words)
{
    constexpr unsigned kWordBits = 5; // of a row: which bit of its word it is
    static_assert(RankedSet::kWord == 1U << kWordBits);
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
ZQSP_AVX512 inline Choice choose(const unsigned* rows, RowChoice::Ranked set)
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

ZQSP_AVX512 inline Choice choose(const unsigned* rows, RowChoice::Unmoved set)
{
    const __m512i own = _mm512_loadu_si512(rows);
    return {own, choose(rows, RowChoice::Ranked{set.words}).selected};
}

template <typename Set>
requires std::same_as<Set, RowChoice::Ranked> || std::same_as<Set, RowChoice::Unmoved> ZQSP_AVX512 inline Choice
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

ZQSP_AVX512 inline Choice choose(const unsigned* rows, unsigned count, RowChoice::Interval interval)
{
    const __mmask16 lanes = lanesOf(count);
    const __m512i shifted =
        _mm512_sub_epi32(_mm512_maskz_loadu_epi32(lanes, rows), _mm512_set1_epi32(static_cast<int>(interval.first)));
    return {shifted, _mm512_mask_cmplt_epu32_mask(lanes, shifted, _mm512_set1_epi32(static_cast<int>(interval.size)))};
}

ZQSP_AVX512 inline Choice choose(const unsigned* rows, unsigned count, RowChoice::Gap gap)
{
    const __mmask16 lanes = lanesOf(count);
    const __m512i old = _mm512_maskz_loadu_epi32(lanes, rows);
    const __m512i first = _mm512_set1_epi32(static_cast<int>(gap.first));
    const __m512i size = _mm512_set1_epi32(static_cast<int>(gap.size));
    const __mmask16 isBehind = _mm512_mask_cmpge_epu32_mask(lanes, old, first);
    const __mmask16 isInside = _mm512_mask_cmplt_epu32_mask(isBehind, _mm512_sub_epi32(old, first), size);
    return {_mm512_mask_sub_epi32(old, isBehind, old, size), _kandn_mask16(isInside, lanes)};
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
ZQSP_AVX512 inline Choice choose(const unsigned* rows, unsigned count, DeletedList& deleted)
{
    const __mmask16 lanes = lanesOf(count);
    const unsigned last = rows[std::min(kLanes, count) - 1];
    const __m512i old = _mm512_maskz_loadu_epi32(lanes, rows);
    const __m512i one = _mm512_set1_epi32(1);
    __m512i lowered = _mm512_sub_epi32(old, _mm512_set1_epi32(static_cast<int>(deleted.passed)));
    __mmask16 gone = 0;
    const auto pass = [&](unsigned position) ZQSP_AVX512 {
        const __m512i own = _mm512_set1_epi32(static_cast<int>(position));
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

template <typename Rows>
ZQSP_AVX512 unsigned count(const unsigned* rows, unsigned count, Rows choice)
{
    unsigned selected = 0;
    for (std::size_t i = 0; i < count; i += kLanes) {
        selected += ones(choose(rows + i, count - static_cast<unsigned>(i), choice).selected);
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

/// How many groups of `count` entries can be taken and written in whole registers.
unsigned wholeGroups(unsigned count, std::size_t room)
{
    return room >= count ? count / kLanes : 0;
}

/// Learns what is selected, moves its new rows, and returns how many there are.
template <typename Rows>
ZQSP_AVX512 unsigned moveRows(const unsigned* rows, unsigned count, Rows& choice, unsigned* to, std::size_t room,
                              Selection& selection, Next next)
{
    const unsigned whole = wholeGroups(count, room);
    unsigned written = 0;
    for (unsigned g = 0; g < whole; ++g) {
        next.prefetch(g);
        const Choice chosen = choose(rows + std::size_t{g} * kLanes, kLanes, choice);
        selection.before[g] = written;
        selection.bits[g] = chosen.selected;
        _mm512_storeu_si512(to + written, _mm512_maskz_compress_epi32(chosen.selected, chosen.newRows));
        written += ones(chosen.selected);
    }
    for (unsigned g = whole; g * kLanes < count; ++g) {
        const Choice chosen = choose(rows + std::size_t{g} * kLanes, count - g * kLanes, choice);
        selection.before[g] = written;
        selection.bits[g] = chosen.selected;
        storeRows(to + written, room - written, _mm512_maskz_compress_epi32(chosen.selected, chosen.newRows),
                  ones(chosen.selected));
        written += ones(chosen.selected);
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
                             std::size_t room, Next next)
{
    constexpr unsigned kHalf = kLanes / 2;
    const unsigned whole = wholeGroups(count, room);
    for (unsigned g = 0; g < whole; ++g) {
        next.prefetch(g);
        const double* const from = values + std::size_t{g} * kLanes;
        const auto lowBits = static_cast<__mmask8>(selection.bits[g]);
        const auto highBits = static_cast<__mmask8>(selection.bits[g] >> kHalf);
        const __m512d low = _mm512_maskz_compress_pd(lowBits, _mm512_loadu_pd(from));
        const __m512d high = _mm512_maskz_compress_pd(highBits, _mm512_loadu_pd(from + kHalf));
        _mm512_storeu_pd(to + selection.before[g], low);
        _mm512_storeu_pd(to + selection.before[g] + ones(lowBits), high);
    }
    for (unsigned g = whole; g * kLanes < count; ++g) {
        const double* const from = values + std::size_t{g} * kLanes;
        const __mmask16 lanes = lanesOf(count - g * kLanes);
        const auto lowBits = static_cast<__mmask8>(selection.bits[g]);
        const auto highBits = static_cast<__mmask8>(selection.bits[g] >> kHalf);
        const __m512d low = _mm512_maskz_loadu_pd(static_cast<__mmask8>(lanes), from);
        const __m512d high = _mm512_maskz_loadu_pd(static_cast<__mmask8>(lanes >> kHalf), from + kHalf);
        std::size_t at = selection.before[g];
        storeDoubles(to + at, room - at, _mm512_maskz_compress_pd(lowBits, low), ones(lowBits));
        at += ones(lowBits);
        storeDoubles(to + at, room - at, _mm512_maskz_compress_pd(highBits, high), ones(highBits));
    }
}

ZQSP_AVX512 inline __m128i pressBytes(const std::uint8_t* group, unsigned bits)
{
    const __m512i wide = _mm512_cvtepu8_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(group)));
    return _mm512_cvtepi32_epi8(_mm512_maskz_compress_epi32(static_cast<__mmask16>(bits), wide));
}

ZQSP_AVX512 void moveBytes(const std::uint8_t* values, unsigned count, const Selection& selection, std::uint8_t* to,
                           std::size_t room, Next next)
{
    const unsigned whole = wholeGroups(count, room);
    for (unsigned g = 0; g < whole; ++g) {
        next.prefetch(g);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to + selection.before[g]),
                         pressBytes(values + std::size_t{g} * kLanes, selection.bits[g]));
    }
    for (unsigned g = whole; g * kLanes < count; ++g) { // through a buffer
        std::array<std::uint8_t, kLanes> group{};
        std::memcpy(group.data(), values + std::size_t{g} * kLanes, std::min(kLanes, count - g * kLanes));
        const __m128i pressed = pressBytes(group.data(), selection.bits[g]);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(group.data()), pressed);
        std::memcpy(to + selection.before[g], group.data(), ones(selection.bits[g]));
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
                std::byte* to, unsigned at, std::size_t room, Next next)
{
    if (elementSize == 1) {
        moveBytes(reinterpret_cast<const std::uint8_t*>(from) + begin, count, selection,
                  reinterpret_cast<std::uint8_t*>(to) + at, room, next);
    } else {
        moveDoubles(reinterpret_cast<const double*>(from) + begin, count, selection, reinterpret_cast<double*>(to) + at,
                    room, next);
    }
}

/// Moves what is selected of one block, and returns how many entries that is.
template <typename Rows>
unsigned moveBlock(const Columns& from, unsigned begin, unsigned size, Rows& choice, const Columns& to, unsigned at,
                   Selection& selection)
{
    const bool inPlace = from.ir == to.ir;
    const std::size_t room = (inPlace ? begin + size : to.nzmax) - at;
    const unsigned groupSize = kLanes * from.elementSize;
    const std::size_t offset = std::size_t{begin} * from.elementSize;
    const Next nextRows{reinterpret_cast<const std::byte*>(from.ir + begin + size), kLanes * sizeof *from.ir};
    const unsigned selected =
        moveRows(from.ir + begin, size, choice, to.ir + at, room, selection, {from.pr + offset, groupSize});
    if (from.pi == nullptr) {
        moveValues(from.elementSize, from.pr, begin, size, selection, to.pr, at, room, nextRows);
        return selected;
    }
    moveValues(from.elementSize, from.pr, begin, size, selection, to.pr, at, room, {from.pi + offset, groupSize});
    moveValues(from.elementSize, from.pi, begin, size, selection, to.pi, at, room, nextRows);
    return selected;
}

bool canMove(const Columns& a)
{
    return (a.elementSize == 1 || a.elementSize == sizeof(double)) && haveAvx512();
}

} // namespace

bool serve(const Columns& a, unsigned entries)
{
    constexpr unsigned kFew = 8;
    return entries > kFew && canMove(a);
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

unsigned deleteListed(const Columns& a, const unsigned* deleted, unsigned count)
{
    Linearizer linearizer(a);
    DeletedList list{deleted, count};
    Selection selection;
    unsigned kept = 0;
    const unsigned entries = a.nnz();
    for (unsigned begin = 0, size = 0; begin < entries; begin += size) {
        size = std::min(kBlockSize, entries - begin);
        linearizer.goOn(begin + size);
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

ZQSP_AVX512 Starts writeStarts(const unsigned* columns, unsigned count, unsigned length, unsigned* starts)
{
    // The columns with entries are marked in a table; from sixteen marks at a time follow sixteen starts. How many
    // columns lie between two entries, which nobody can foresee, takes no branch.
    constexpr unsigned kColumns = 4096; // of a table, which stays in the nearest cache
    constexpr unsigned kMarks = 64;     // in a register
    const __m512i lanes = _mm512_set_epi32(15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0);
    const __m512i one = _mm512_set1_epi32(1);
    const __m512i below = _mm512_sub_epi32(_mm512_sllv_epi32(one, lanes), one);
    alignas(kMarks) std::array<std::uint8_t, kColumns> marks{};
    Starts written;
    while (length - written.count >= kColumns) {
        unsigned before = written.entries;
        unsigned e = before;
        for (; e < count && columns[e] - written.count < kColumns; ++e) {
            marks[columns[e] - written.count] = 0xFF;
        }
        for (unsigned c = 0; c < kColumns; c += kMarks) {
            std::uint64_t bits = _mm512_movepi8_mask(_mm512_load_si512(&marks[c]));
            _mm512_store_si512(&marks[c], _mm512_setzero_si512());
            for (unsigned i = 0; i < kMarks; i += kLanes, bits >>= kLanes) {
                const auto group = static_cast<unsigned>(bits & 0xFFFFU);
                const __m512i found = _mm512_and_si512(_mm512_set1_epi32(static_cast<int>(group)), below);
                const __m512i start = _mm512_set1_epi32(static_cast<int>(before));
                _mm512_storeu_si512(starts + written.count + c + i,
                                    _mm512_add_epi32(start, _mm512_popcnt_epi32(found)));
                before += ones(group);
            }
        }
        written = {written.count + kColumns, e};
    }
    return written;
}

} // namespace zqsp::wide

#endif
