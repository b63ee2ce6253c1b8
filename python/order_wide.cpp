// The order of columns by counting. Entries that do not lie above the one before them are descents; all is in order
// where as many descents lie at the beginnings of columns as there are. So entries are compared without a look at the
// columns, several at a time, and only then is asked for each beginning whether it is one of those descents.
#include "order_parts.hpp"

#if defined(__x86_64__)

#include <immintrin.h>

#include <algorithm>
#include <array>
#include <cstdint>

#ifndef ZQSP_AVX2 // where the instructions are emulated, the emulation defines them empty
#define ZQSP_AVX2 gnu::target("avx2,bmi,bmi2,popcnt")
#define ZQSP_AVX512 gnu::target("avx512f,avx2,bmi,bmi2,popcnt")
#endif

namespace zqsp::python {
namespace {

constexpr std::size_t kWordBits = 64;
constexpr std::size_t kLanes = 16; ///< the most words that are written beyond the last one that counts

/// A vector of eight words in memory.
[[ZQSP_AVX2]] inline __m256i load(const unsigned* words)
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(words));
}

/// The words before those of `words`, of which `last` are the eight before.
[[ZQSP_AVX2]] inline __m256i shifted(__m256i words, __m256i last)
{
    return _mm256_alignr_epi8(words, _mm256_permute2x128_si256(last, words, 0x21), 12);
}

/// Words that are copied, or lie in their place already, and are read once.
struct Words
{
    const unsigned* from;
    unsigned* to; ///< null for none; to[-1] is read else, from[-1] where they are in their place

    [[nodiscard]] unsigned before() const { return to != nullptr ? to[-1] : from[-1]; }
    void store(std::size_t e, unsigned word) const
    {
        if (to != nullptr) {
            to[e] = word;
        }
    }
    [[ZQSP_AVX2]] void store(std::size_t e, __m256i words) const
    {
        if (to != nullptr) {
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(to + e), words);
        }
    }
};

/// The words behind `first` of an array, copied from `source` unless that is null.
Words wordsBehind(unsigned* array, const unsigned* source, std::size_t first)
{
    return source != nullptr ? Words{source + first, array + first} : Words{array + first, nullptr};
}

/// What starts show: those that differ from the one before them, listed, and in bit 31 of `signs` whether one descends
/// or has that bit itself. Beyond the list kLanes words may be written.
struct Starts
{
    unsigned* list;
    std::size_t listed = 0;
    unsigned signs = 0;
};
using ListStarts = void (*)(Words starts, std::size_t count, Starts& found);

void listRest(Words starts, std::size_t first, std::size_t count, unsigned before, Starts& found)
{
    for (std::size_t e = first; e < count; ++e) {
        const unsigned start = starts.from[e];
        starts.store(e, start);
        found.signs |= start | (start - before);
        found.list[found.listed] = start;
        found.listed += start != before ? 1 : 0;
        before = start;
    }
}

[[ZQSP_AVX512]] void listStartsBySixteen(Words starts, std::size_t count, Starts& found)
{
    __m512i seen = _mm512_setzero_si512();
    __m512i last = _mm512_set1_epi32(static_cast<int>(starts.before()));
    unsigned* list = found.list;
    std::size_t e = 0;
    for (; e + 16 <= count; e += 16) {
        const __m512i start = _mm512_loadu_si512(starts.from + e);
        if (starts.to != nullptr) {
            _mm512_storeu_si512(starts.to + e, start);
        }
        const __m512i before = _mm512_maskz_alignr_epi32(__mmask16{0xFFFF}, start, last, 15);
        seen = _mm512_or_si512(seen, _mm512_or_si512(start, _mm512_sub_epi32(start, before)));
        const __mmask16 differs = _mm512_cmpneq_epi32_mask(start, before);
        _mm512_storeu_si512(list, _mm512_maskz_compress_epi32(differs, start));
        list += _mm_popcnt_u32(differs);
        last = start;
    }
    found.listed = static_cast<std::size_t>(list - found.list);
    found.signs |= _mm512_cmplt_epi32_mask(seen, _mm512_setzero_si512()) != 0 ? ~0U : 0;
    alignas(64) unsigned lanes[16];
    _mm512_store_si512(lanes, last);
    listRest(starts, e, count, lanes[15], found);
}

/// For each set of eight lanes the numbers of its members, a byte each.
constexpr auto kMembers = [] {
    std::array<std::uint64_t, 256> members{};
    for (unsigned set = 0; set < 256; ++set) {
        for (unsigned lane = 8; lane-- > 0;) {
            if ((set >> lane & 1U) != 0) {
                members[set] = members[set] << 8 | lane;
            }
        }
    }
    return members;
}();

[[ZQSP_AVX2]] void listStartsByEight(Words starts, std::size_t count, Starts& found)
{
    __m256i seen = _mm256_setzero_si256();
    __m256i last = _mm256_set1_epi32(static_cast<int>(starts.before()));
    unsigned* list = found.list;
    std::size_t e = 0;
    for (; e + 8 <= count; e += 8) {
        const __m256i start = load(starts.from + e);
        starts.store(e, start);
        const __m256i before = shifted(start, last);
        seen = _mm256_or_si256(seen, _mm256_or_si256(start, _mm256_sub_epi32(start, before)));
        const __m256i same = _mm256_cmpeq_epi32(start, before);
        const auto differs = static_cast<unsigned>(_mm256_movemask_ps(_mm256_castsi256_ps(same))) ^ 255U;
        const __m128i members = _mm_cvtsi64_si128(static_cast<long long>(kMembers[differs]));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(list),
                            _mm256_permutevar8x32_epi32(start, _mm256_cvtepu8_epi32(members)));
        list += _mm_popcnt_u32(differs);
        last = start;
    }
    found.listed = static_cast<std::size_t>(list - found.list);
    found.signs |= _mm256_movemask_ps(_mm256_castsi256_ps(seen)) != 0 ? ~0U : 0;
    listRest(starts, e, count, static_cast<unsigned>(_mm256_extract_epi32(last, 7)), found);
}

/// What rows show.
struct Rows
{
    unsigned highest = 0;
    unsigned descents = 0; ///< modulo 2^32; right if no row is negative
};

/// A bit for each row, set where it does not lie above the one before it.
[[ZQSP_AVX2]] void findDescents(Words rows, std::size_t count, std::uint64_t* bits, Rows& found)
{
    __m256i highest = _mm256_set1_epi32(static_cast<int>(found.highest));
    __m256i last = _mm256_set1_epi32(static_cast<int>(rows.before()));
    std::size_t e = 0;
    for (; e + kWordBits <= count; e += kWordBits) {
        std::uint64_t ascents = 0;
        for (std::size_t lane = 0; lane < kWordBits; lane += 8) {
            const __m256i row = load(rows.from + e + lane);
            rows.store(e + lane, row);
            highest = _mm256_max_epu32(highest, row);
            const __m256i step = _mm256_sub_epi32(shifted(row, last), row);
            ascents |= std::uint64_t{static_cast<unsigned>(_mm256_movemask_ps(_mm256_castsi256_ps(step)))} << lane;
            last = row;
        }
        bits[e / kWordBits] = ~ascents;
        found.descents += static_cast<unsigned>(_mm_popcnt_u64(~ascents));
    }
    alignas(32) unsigned lanes[8];
    _mm256_store_si256(reinterpret_cast<__m256i*>(lanes), highest);
    found.highest = *std::max_element(lanes, lanes + 8);
    unsigned before = static_cast<unsigned>(_mm256_extract_epi32(last, 7));
    std::uint64_t rest = 0;
    for (std::size_t lane = 0; e + lane < count; ++lane) {
        const unsigned row = rows.from[e + lane];
        rows.store(e + lane, row);
        found.highest = std::max(found.highest, row);
        rest |= std::uint64_t{row <= before} << lane;
        before = row;
    }
    bits[e / kWordBits] = rest; // of no rows, the word behind the others
    found.descents += static_cast<unsigned>(_mm_popcnt_u64(rest));
}

/// The bits of `Count` ascending positions, seen from the first of them; all lie less than a word behind it.
template <std::size_t Count>
[[ZQSP_AVX2]] inline std::uint64_t bitsOf(const unsigned* positions)
{
    const __m256i first = _mm256_set1_epi64x(positions[0]);
    __m256i bits = _mm256_setzero_si256();
    for (std::size_t p = 0; p < Count; p += 4) {
        const __m128i four = _mm_loadu_si128(reinterpret_cast<const __m128i*>(positions + p));
        const __m256i distance = _mm256_sub_epi64(_mm256_cvtepu32_epi64(four), first);
        bits = _mm256_or_si256(bits, _mm256_sllv_epi64(_mm256_set1_epi64x(1), distance));
    }
    const __m128i half = _mm_or_si128(_mm256_castsi256_si128(bits), _mm256_extracti128_si256(bits, 1));
    return static_cast<std::uint64_t>(_mm_cvtsi128_si64(_mm_or_si128(half, _mm_unpackhi_epi64(half, half))));
}

/// The bits from `at` on. The next word is read.
[[ZQSP_AVX2]] inline std::uint64_t bitsFrom(const std::uint64_t* bits, std::size_t at)
{
    const std::uint64_t* word = bits + at / kWordBits;
    const std::size_t shift = at % kWordBits;
    return word[0] >> shift | word[1] << 1U << (kWordBits - 1 - shift);
}

/// How many of the positions, which ascend from `base`, have their bit set. A word behind that of the last is read.
[[ZQSP_AVX2]] unsigned countSet(const unsigned* positions, std::size_t count, unsigned base, const std::uint64_t* bits)
{
    std::uint64_t set = 0;
    const unsigned* const end = positions + count;
    while (end - positions >= 32) {
        if (positions[31] - positions[0] < kWordBits) {
            set += static_cast<unsigned>(_mm_popcnt_u64(bitsOf<32>(positions) & bitsFrom(bits, positions[0] - base)));
            positions += 32;
            continue;
        }
        for (const unsigned* stop = positions + 32; positions != stop; positions += 8) {
            if (positions[7] - positions[0] < kWordBits) {
                set +=
                    static_cast<unsigned>(_mm_popcnt_u64(bitsOf<8>(positions) & bitsFrom(bits, positions[0] - base)));
                continue;
            }
            for (std::size_t p = 0; p < 8; ++p) {
                set += bitsFrom(bits, positions[p] - base) & 1U;
            }
        }
    }
    for (; positions != end; ++positions) {
        set += bitsFrom(bits, *positions - base) & 1U;
    }
    return static_cast<unsigned>(set);
}

/// Looks at the entries `first` to `last`. A column begins at `first`; the others that begin some are listed, up to
/// `end`, and perhaps `last` with them.
[[ZQSP_AVX2]] void lookAtRows(const Examined& columns, unsigned first, unsigned last, const unsigned* starts,
                              const unsigned* end, Rows& found)
{
    std::uint64_t bits[kPiece / kWordBits + 2];
    for (unsigned piece = first; piece < last;) {
        const unsigned next = std::min(piece + static_cast<unsigned>(kPiece), last);
        if (piece == 0) { // nothing stands before the first entry of all
            copyWords(columns.rows, columns.rowsFrom, 0, 1);
            found.highest = columns.rows[0];
            piece = 1;
        }
        const std::size_t count = next - piece;
        findDescents(wordsBehind(columns.rows, columns.rowsFrom, piece), count, bits, found);
        bits[count / kWordBits + 1] = 0;
        if (piece == first) {
            found.descents -= static_cast<unsigned>(bits[0] & 1U);
        }
        const unsigned* const rest = std::lower_bound(starts, end, next);
        found.descents -= countSet(starts, static_cast<std::size_t>(rest - starts), piece, bits);
        starts = rest;
        piece = next;
    }
}

Order orderByCounting(const Examined& columns, ListStarts listStarts)
{
    unsigned list[kPiece + kLanes];
    Rows rows;
    copyWords(columns.starts, columns.startsFrom, 0, std::min<std::size_t>(columns.n, 1) + 1);
    if (columns.starts[0] != 0 || (columns.n == 0 && columns.entries != 0)) {
        raiseStarts(columns, 0);
    }
    unsigned first = 0;
    for (std::size_t j = 0; j < columns.n;) {
        const std::size_t next = std::min<std::size_t>((j + 1) / kPiece * kPiece + kPiece - 1, columns.n); // aligned
        Starts starts{list};
        listStarts(wordsBehind(columns.starts, columns.startsFrom, j + 1), next - j, starts);
        const unsigned last = columns.starts[next];
        const bool fits = next == columns.n ? last == columns.entries : last <= columns.entries;
        if (static_cast<int>(starts.signs) < 0 || !fits) {
            raiseStarts(columns, next);
        }
        lookAtRows(columns, first, last, list, list + starts.listed, rows);
        if (rows.highest >= columns.m && last != 0) {
            raiseOutside(columns.m);
        }
        first = last;
        j = next;
    }
    return rows.descents == 0 ? Order::sound : Order::unsorted;
}

} // namespace

Order orderByAvx2(const Examined& columns)
{
    return orderByCounting(columns, listStartsByEight);
}

Order orderByAvx512(const Examined& columns)
{
    return orderByCounting(columns, listStartsBySixteen);
}

} // namespace zqsp::python

#endif
