#include "kernels/avx512.hpp"

#include "kernels/portable.hpp"
#include "kernels/tables.hpp"

#include <algorithm>
#include <array>
#include <cstdint>

namespace zqsp::avx512 {

namespace {

/// The numbers of the lanes that are set, counted from `base` on, to kLanes words.
ZQSP_AVX512 inline void storeLaneNumbers(__mmask16 lanes, unsigned base, unsigned* to)
{
    const __m512i numbered = _mm512_add_epi32(laneNumbers(), _mm512_set1_epi32(static_cast<int>(base)));
    _mm512_storeu_si512(to, _mm512_maskz_compress_epi32(lanes, numbered));
}

/// Which of sixteen numbers are among sixteen others.
ZQSP_AVX512 inline __mmask16 membersOf(const unsigned* others, const unsigned* numbers)
{
    const __m512i asked = _mm512_loadu_si512(numbers);
    __mmask16 found = 0;
    for (unsigned i = 0; i < kLanes; ++i) {
        found = _kor_mask16(found, _mm512_cmpeq_epi32_mask(asked, inAll(others[i])));
    }
    return found;
}

/// Sixteen of the one list are compared with sixteen of the other at a time, whatever comes of it. Measured: a fifth of
/// the time of galloping. (The scheme is that of Schlegel, Willhalm and Lehner, 2011.)
ZQSP_AVX512 Common intersect(const unsigned* first, unsigned firstCount, const unsigned* second, unsigned secondCount,
                             unsigned* inFirst, unsigned* inSecond)
{
    unsigned f = 0;
    unsigned s = 0;
    unsigned count = 0;
    while (firstCount - f >= kLanes && secondCount - s >= kLanes) {
        const unsigned* const mine = first + f;
        const unsigned* const theirs = second + s;
        if (const __mmask16 found = membersOf(mine, theirs); found != 0) {
            const __mmask16 from = membersOf(theirs, mine);
            storeLaneNumbers(found, s, inSecond + count);
            storeLaneNumbers(from, f, inFirst + count);
            if (countOnesAtOnce(found) != countOnesAtOnce(from)) { // repeats: several are the same one
                for (unsigned i = count; i < count + countOnesAtOnce(found); ++i) {
                    inFirst[i] = static_cast<unsigned>(std::find(mine, mine + kLanes, second[inSecond[i]]) - first);
                }
            }
            count += countOnesAtOnce(found);
        }
        // Whichever ends first is done; of equal ends the second list, which may repeat.
        const bool secondEnds = theirs[kLanes - 1] <= mine[kLanes - 1];
        s += valueIf(secondEnds, kLanes);
        f += valueIf(!secondEnds, kLanes);
    }
    return portable::intersectRest(first, firstCount, second, secondCount, {count, f, s}, inFirst, inSecond);
}

ZQSP_AVX512 void writeStarts(const unsigned* columns, unsigned count, unsigned length, unsigned* starts)
{
    // The columns with entries are marked in a table; from sixteen marks at a time follow sixteen starts. How many
    // columns lie between two entries, which nobody can foresee, takes no branch.
    constexpr unsigned kColumns = 4096; // of a table, which stays in the nearest cache
    constexpr unsigned kMarks = 64;     // in a register
    const __m512i one = _mm512_set1_epi32(1);
    const __m512i below = _mm512_sub_epi32(_mm512_sllv_epi32(one, laneNumbers()), one);
    alignas(kMarks) std::array<std::uint8_t, kColumns> marks{};
    unsigned written = 0; // columns
    unsigned entry = 0;   // the first one behind them
    while (length - written >= kColumns) {
        unsigned before = entry;
        for (; entry < count && columns[entry] - written < kColumns; ++entry) {
            marks[columns[entry] - written] = 0xFF;
        }
        for (unsigned c = 0; c < kColumns; c += kMarks) {
            std::uint64_t bits = _mm512_movepi8_mask(_mm512_load_si512(&marks[c]));
            _mm512_store_si512(&marks[c], _mm512_setzero_si512());
            for (unsigned i = 0; i < kMarks; i += kLanes, bits >>= kLanes) {
                const auto group = static_cast<unsigned>(bits & 0xFFFFU);
                const __m512i found = _mm512_and_si512(inAll(group), below);
                const __m512i start = inAll(before);
                _mm512_storeu_si512(starts + written + c + i, _mm512_add_epi32(start, _mm512_popcnt_epi32(found)));
                before += countOnesAtOnce(group);
            }
        }
        written += kColumns;
    }
    _mm256_zeroupper(); // (See select_blocks.hpp.)
    portable::writeStartsFrom(written, entry, columns, count, length, starts);
}

Kernels makeTable()
{
    Kernels wide = avx2::makeTable();
    wide.name = "avx512";
    // Measured on a Zen 5: positions deleted from 10^6 entries, entry by entry and by runs, in milliseconds: one in
    // eight 0.5, 1.3; one in 64 0.4, 0.7. Columns ranked and sorted, in nanoseconds per entry: of 96 rows 4.1, 5.2; of
    // 160 6.1, 4.9. Entries sifted and moved, in milliseconds for 400,000: one row in forty 0.19, 0.20; in ten 0.26,
    // 0.20. A hundred rows sifted through the filter and without, in milliseconds for 10^6 entries: 0.22, 0.31.
    wide.costs = {.mostRanked = 112,
                  .mostFewRows = 128,
                  .rowsPerSifted = 64,
                  .entriesPerDeleted = 128,
                  .intersectShortColumns = 2,
                  .intersectLongColumns = 16};
    wide.intersect = intersect;
    wide.writeStarts = writeStarts;
    setEntries(wide);
    return wide;
}

} // namespace

const Kernels table = makeTable();

} // namespace zqsp::avx512
