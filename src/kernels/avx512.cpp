// The loops for processors with registers of 512 bits, the instructions on bytes and the counting of ones. They may be
// run only where choose.cpp finds these.
#include "kernels/tables.hpp"

// g++ 12 takes its own way of writing "no value" for the use of one.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wuninitialized"
#if !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
#include <immintrin.h>
#pragma GCC diagnostic pop

/// Marks a function of these loops. (Where the instructions are emulated, the emulation defines it empty.)
#ifndef ZQSP_LOOPS
#define ZQSP_LOOPS __attribute__((target("avx512f,avx512bw,avx512vpopcntdq,popcnt")))
#endif

#include "kernels/select_blocks.hpp"

namespace zqsp::avx512 {

namespace {

/// Words of 32 bits in a register.
inline constexpr unsigned kLanes = 16;

/// The first `count` lanes; all where there are more.
ZQSP_LOOPS inline __mmask16 lanesOf(unsigned count)
{
    return static_cast<__mmask16>(count >= kLanes ? 0xFFFFU : (1U << count) - 1);
}

ZQSP_LOOPS inline __m512i inAll(unsigned word)
{
    return _mm512_set1_epi32(static_cast<int>(word));
}

/// 0, 1, ..., 15.
ZQSP_LOOPS inline __m512i laneNumbers()
{
    return _mm512_set_epi32(15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0);
}

/// The words of a ranked set that eight rows lie in.
ZQSP_LOOPS inline __m512i wordsOf(const unsigned* rows, const RowWord* words)
{
    constexpr unsigned kWordBits = 5; // of a row: which bit of its word it is
    static_assert(RowWord::kBits == 1U << kWordBits);
    const auto two = [words](const unsigned* pair) ZQSP_LOOPS {
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

/// FewRows in registers.
class Filter
{
  public:
    static constexpr unsigned kMost = 128; ///< rows

    ZQSP_LOOPS explicit Filter(const FewRows& few)
        : lowFirst_(_mm512_loadu_si512(few.first())),
          highFirst_(_mm512_loadu_si512(few.first() + kLanes)),
          lowSecond_(_mm512_loadu_si512(few.second())),
          highSecond_(_mm512_loadu_si512(few.second() + kLanes))
    {
    }

    /// A bit for each of sixteen rows. (Of groups of rows that have none, one in five at most passes.)
    [[nodiscard]] ZQSP_LOOPS unsigned passing(const unsigned* rows) const
    {
        const __m512i product = _mm512_mullo_epi32(_mm512_loadu_si512(rows), inAll(kHashMultiplier));
        const __m512i next = _mm512_slli_epi32(product, FewRows::kNext);
        return _mm512_test_epi32_mask(
            _mm512_and_si512(bitsOf(lowFirst_, highFirst_, product), bitsOf(lowSecond_, highSecond_, next)), inAll(1));
    }

  private:
    ZQSP_LOOPS static __m512i bitsOf(__m512i low, __m512i high, __m512i products)
    {
        const __m512i word = _mm512_permutex2var_epi32(low, _mm512_srli_epi32(products, FewRows::kWord), high);
        return _mm512_rorv_epi32(word, _mm512_srli_epi32(products, FewRows::kBit));
    }

    __m512i lowFirst_;
    __m512i highFirst_;
    __m512i lowSecond_;
    __m512i highSecond_;
};

/// What select_blocks.hpp asks for, and says of each member.
struct Lanes
{
    using Filter = avx512::Filter;
    static constexpr unsigned kCount = kLanes;

    struct Choice
    {
        __m512i newRows;
        __mmask16 selected;
    };

    /// Sixteen look-ups, each load by itself: measured, a gather takes twice as long.
    ZQSP_LOOPS static Choice choose(const unsigned* rows, unsigned count, RankedRows set)
    {
        const __mmask16 lanes = lanesOf(count);
        std::array<unsigned, kLanes> some;
        if (count < kLanes) {
            _mm512_storeu_si512(some.data(), _mm512_maskz_loadu_epi32(lanes, rows));
            rows = some.data();
        }
        const __m512i even = _mm512_set_epi32(30, 28, 26, 24, 22, 20, 18, 16, 14, 12, 10, 8, 6, 4, 2, 0);
        const __m512i one = _mm512_set1_epi32(1);
        const __m512i low = wordsOf(rows, set.words);
        const __m512i high = wordsOf(rows + kLanes / 2, set.words);
        const __m512i members = _mm512_permutex2var_epi32(low, even, high);
        const __m512i before = _mm512_permutex2var_epi32(low, _mm512_add_epi32(even, one), high);
        const __m512i bit = _mm512_rolv_epi32(one, _mm512_loadu_si512(rows));
        const __m512i below = _mm512_and_si512(members, _mm512_sub_epi32(bit, one));
        return {_mm512_add_epi32(before, _mm512_popcnt_epi32(below)),
                _kand_mask16(_mm512_test_epi32_mask(members, bit), lanes)};
    }

    ZQSP_LOOPS static Choice choose(const unsigned* rows, unsigned count, UnmovedRows set)
    {
        return {_mm512_maskz_loadu_epi32(lanesOf(count), rows), choose(rows, count, RankedRows{set.words}).selected};
    }

    ZQSP_LOOPS static Choice choose(const unsigned* rows, unsigned count, RowInterval interval)
    {
        const __mmask16 lanes = lanesOf(count);
        const __m512i shifted = _mm512_sub_epi32(_mm512_maskz_loadu_epi32(lanes, rows), inAll(interval.first));
        return {shifted, _mm512_mask_cmplt_epu32_mask(lanes, shifted, inAll(interval.size))};
    }

    ZQSP_LOOPS static Choice choose(const unsigned* rows, unsigned count, OtherRows gap)
    {
        const __mmask16 lanes = lanesOf(count);
        const __m512i old = _mm512_maskz_loadu_epi32(lanes, rows);
        const __m512i first = inAll(gap.first);
        const __m512i size = inAll(gap.size);
        const __mmask16 isBehind = _mm512_mask_cmpge_epu32_mask(lanes, old, first);
        const __mmask16 isInside = _mm512_mask_cmplt_epu32_mask(isBehind, _mm512_sub_epi32(old, first), size);
        return {_mm512_mask_sub_epi32(old, isBehind, old, size), _kandn_mask16(isInside, lanes)};
    }

    class Lowered
    {
      public:
        ZQSP_LOOPS Lowered(const unsigned* positions, unsigned count, unsigned passed)
            : lanes_(lanesOf(count)),
              old_(_mm512_maskz_loadu_epi32(lanes_, positions)),
              lowered_(_mm512_sub_epi32(old_, inAll(passed)))
        {
        }
        ZQSP_LOOPS void pass(unsigned position)
        {
            const __m512i own = inAll(position);
            gone_ = _kor_mask16(gone_, _mm512_cmpeq_epi32_mask(old_, own));
            lowered_ = _mm512_mask_sub_epi32(lowered_, _mm512_cmpgt_epu32_mask(old_, own), lowered_, inAll(1));
        }
        [[nodiscard]] ZQSP_LOOPS Choice choice() const { return {lowered_, _kandn_mask16(gone_, lanes_)}; }

      private:
        __mmask16 lanes_;
        __mmask16 gone_ = 0;
        __m512i old_;
        __m512i lowered_;
    };

    ZQSP_LOOPS static __m512i numbersFrom(unsigned first) { return _mm512_add_epi32(laneNumbers(), inAll(first)); }

    /// Lanes behind `count` have all bits.
    ZQSP_LOOPS static __m512i loadRows(const unsigned* rows, unsigned count)
    {
        return _mm512_mask_loadu_epi32(_mm512_set1_epi32(-1), lanesOf(count), rows);
    }
    ZQSP_LOOPS static unsigned below(__m512i rows, unsigned row) { return _mm512_cmplt_epu32_mask(rows, inAll(row)); }

    ZQSP_LOOPS static void storeRows(Choice choice, unsigned* to, std::size_t room)
    {
        const __m512i rows = _mm512_maskz_compress_epi32(choice.selected, choice.newRows);
        if (room >= kLanes) {
            _mm512_storeu_si512(to, rows);
        } else {
            _mm512_mask_storeu_epi32(to, lanesOf(countOnesAtOnce(choice.selected)), rows);
        }
    }

    ZQSP_LOOPS static void press(const double* from, unsigned selected, double* to)
    {
        constexpr unsigned kHalf = kLanes / 2;
        const auto lowBits = static_cast<__mmask8>(selected);
        const auto highBits = static_cast<__mmask8>(selected >> kHalf);
        const __m512d low = _mm512_maskz_compress_pd(lowBits, _mm512_loadu_pd(from));
        const __m512d high = _mm512_maskz_compress_pd(highBits, _mm512_loadu_pd(from + kHalf));
        _mm512_storeu_pd(to, low);
        _mm512_storeu_pd(to + countOnesAtOnce(lowBits), high);
    }

    ZQSP_LOOPS static void press(const std::uint8_t* from, unsigned selected, std::uint8_t* to)
    {
        const __m512i wide = _mm512_cvtepu8_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(from)));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to),
                         _mm512_cvtepi32_epi8(_mm512_maskz_compress_epi32(static_cast<__mmask16>(selected), wide)));
    }

    ZQSP_LOOPS static unsigned spread(const unsigned* from, const std::uint8_t* marks, unsigned* to)
    {
        const __mmask16 open = unmarked(marks);
        _mm512_storeu_si512(to, _mm512_maskz_expand_epi32(open, _mm512_loadu_si512(from)));
        return countOnesAtOnce(open);
    }
    ZQSP_LOOPS static unsigned spread(const std::uint64_t* from, const std::uint8_t* marks, std::uint64_t* to)
    {
        constexpr unsigned kHalf = kLanes / 2;
        const unsigned open = unmarked(marks);
        const auto lowBits = static_cast<__mmask8>(open);
        const auto highBits = static_cast<__mmask8>(open >> kHalf);
        const unsigned taken = countOnesAtOnce(lowBits);
        const __m512d low = _mm512_loadu_pd(reinterpret_cast<const double*>(from));
        const __m512d high = _mm512_loadu_pd(reinterpret_cast<const double*>(from + taken));
        _mm512_storeu_pd(reinterpret_cast<double*>(to), _mm512_maskz_expand_pd(lowBits, low));
        _mm512_storeu_pd(reinterpret_cast<double*>(to + kHalf), _mm512_maskz_expand_pd(highBits, high));
        return countOnesAtOnce(open);
    }

    /// All words of the selection are in registers: measured in columns of five entries, a third of the time of one end
    /// after the other.
    ZQSP_LOOPS static unsigned columnEnds(const unsigned* from, unsigned count, unsigned begin, unsigned size,
                                          unsigned base, const Selection<kLanes>& selection, unsigned* ends)
    {
        constexpr unsigned kLaneBits = 4; // of an entry: which of its group it is
        static_assert(kLanes == 1U << kLaneBits && kBlockSize == 4 * kLanes * kLanes);
        const unsigned* const words = selection.words();
        const __m512i first = _mm512_loadu_si512(words);
        const __m512i second = _mm512_loadu_si512(words + kLanes);
        const __m512i third = _mm512_loadu_si512(words + std::size_t{2} * kLanes);
        const __m512i fourth = _mm512_loadu_si512(words + std::size_t{3} * kLanes);
        constexpr unsigned kAhead = 512; // columns: the next blocks', which the processor does not foresee either
        unsigned served = 0;
        for (unsigned inside = kLanes; inside == kLanes; served += inside) {
            __builtin_prefetch(from + served + kAhead);
            const __mmask16 lanes = lanesOf(count - served);
            const __m512i entry = _mm512_sub_epi32(_mm512_maskz_loadu_epi32(lanes, from + served), inAll(begin));
            const __mmask16 isInside = _mm512_mask_cmplt_epu32_mask(lanes, entry, inAll(size));
            const __m512i group = _mm512_srli_epi32(entry, kLaneBits);
            const __m512i word = _mm512_mask_mov_epi32(_mm512_permutex2var_epi32(first, group, second),
                                                       _mm512_test_epi32_mask(group, inAll(2 * kLanes)),
                                                       _mm512_permutex2var_epi32(third, group, fourth));
            const __m512i bit = _mm512_sllv_epi32(inAll(1), _mm512_and_si512(entry, inAll(kLanes - 1)));
            const __m512i inGroup = _mm512_and_si512(word, _mm512_sub_epi32(bit, inAll(1)));
            const __m512i before = _mm512_add_epi32(_mm512_srli_epi32(word, kLanes), _mm512_popcnt_epi32(inGroup));
            _mm512_mask_storeu_epi32(ends + served, isInside, _mm512_add_epi32(before, inAll(base)));
            inside = countOnesAtOnce(isInside);
        }
        return served;
    }

  private:
    ZQSP_LOOPS static __mmask16 unmarked(const std::uint8_t* marks)
    {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(marks));
        return static_cast<__mmask16>(_mm_movemask_epi8(_mm_cmpeq_epi8(bytes, _mm_setzero_si128())));
    }
};

/// As the portable loop: what cannot be converted, or is out of range, leaves a sign.
ZQSP_LOOPS bool storeIndices(const double* values, unsigned count, double highest, unsigned* indices)
{
    constexpr unsigned kDoubles = 8;
    const __m256i top = _mm256_set1_epi32(static_cast<int>(highest));
    const __m256i one = _mm256_set1_epi32(1);
    __m256i outside = _mm256_setzero_si256();
    __m512i fractional = _mm512_setzero_si512();
    unsigned i = 0;
    for (; i + kDoubles <= count; i += kDoubles) {
        const __m512d numbers = _mm512_loadu_pd(values + i);
        const __m256i words = _mm512_cvttpd_epi32(numbers);
        const __m512i whole = _mm512_castpd_si512(_mm512_cvtepi32_pd(words));
        fractional = _mm512_or_si512(fractional, _mm512_xor_si512(whole, _mm512_castpd_si512(numbers)));
        const __m256i found = _mm256_sub_epi32(words, one);
        outside = _mm256_or_si256(outside, _mm256_or_si256(found, _mm256_sub_epi32(top, words)));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(indices + i), found);
    }
    const bool areGood =
        _mm256_movemask_ps(_mm256_castsi256_ps(outside)) == 0 && _mm512_test_epi32_mask(fractional, fractional) == 0;
    _mm256_zeroupper(); // (See select_blocks.hpp.)
    return portable::storeIndices(values + i, count - i, highest, indices + i) && areGood;
}

/// Which of sixteen numbers are among sixteen others.
ZQSP_LOOPS inline __mmask16 membersOf(const unsigned* others, const unsigned* numbers)
{
    const __m512i asked = _mm512_loadu_si512(numbers);
    __mmask16 found = 0;
    for (unsigned i = 0; i < kLanes; ++i) {
        found = _kor_mask16(found, _mm512_cmpeq_epi32_mask(asked, inAll(others[i])));
    }
    return found;
}

/// Sixteen of the one list are compared with sixteen of the other at a time, whatever comes of it. Measured: a fifth of
/// the time of galloping. (The scheme is that of Schlegel, Willhalm and Lehner, 2011.) Where the linker puts it by
/// chance the loop may cross a line of the cache: skew/linear.sorted 0.42, then 0.47.
[[gnu::aligned(64)]] ZQSP_LOOPS Common intersect(const unsigned* first, unsigned firstCount, const unsigned* second,
                                                 unsigned secondCount, unsigned* inFirst, unsigned* inSecond)
{
    unsigned f = 0;
    unsigned s = 0;
    unsigned count = 0;
    while (firstCount - f >= kLanes && secondCount - s >= kLanes) {
        const unsigned* const mine = first + f;
        const unsigned* const theirs = second + s;
        if (const __mmask16 found = membersOf(mine, theirs); found != 0) {
            const __mmask16 from = membersOf(theirs, mine);
            Lanes::storeRows({Lanes::numbersFrom(s), found}, inSecond + count, kLanes);
            Lanes::storeRows({Lanes::numbersFrom(f), from}, inFirst + count, kLanes);
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

ZQSP_LOOPS void writeStarts(const unsigned* columns, unsigned count, unsigned length, unsigned* starts)
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

} // namespace

// Measured on a Zen 5: positions deleted from 10^6 entries, entry by entry and by runs, in milliseconds: one in
// eight 0.5, 1.3; one in 64 0.4, 0.7. Columns ranked and sorted, in nanoseconds per entry: of 96 rows 4.1, 5.2; of
// 160 6.1, 4.9. Entries sifted and moved, in milliseconds for 400,000: one row in forty 0.19, 0.20; in ten 0.26,
// 0.20. A hundred rows sifted through the filter and without, in milliseconds for 10^6 entries: 0.22, 0.31.
constinit const Kernels table = [] {
    Kernels wide = withEntriesBy<Lanes>(portable::table);
    wide.name = "avx512";
    wide.costs = {.mostRanked = 112,
                  .mostFewRows = 128,
                  .rowsPerSifted = 64,
                  .entriesPerDeleted = 128,
                  .intersectShortColumns = 2,
                  .intersectLongColumns = 16};
    wide.storeIndices = storeIndices;
    wide.stepsTo = avx2::stepsTo;
    wide.intersect = intersect;
    wide.writeStarts = writeStarts;
    return wide;
}();

} // namespace zqsp::avx512
