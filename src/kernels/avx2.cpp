// The loops for processors with registers of 256 bits and an instruction that counts ones: those that gain a quarter or
// more over the portable ones.
//
// Measured with g++ 12 on a Zen 5, whose registers of 256 bits are halves of wider ones (bench/kernels.cpp), times as
// fast as the portable loop: steps 3.4, counting by a set 2.2, by an interval 2, moving by ranks 1.9, by other choices
// 1.5 to 2.4, closing up 2.1 to 3.6, ranking columns of ten rows 2.6, of a hundred 1.6, sifting 1.5, through a
// filter 3.1. Without gain: numbers to indices, intersecting (0.8 to 1), column starts.
#include "kernels/tables.hpp"

#include <cstdint>
#include <immintrin.h>

/// Marks a function of these loops. (Where the instructions are emulated, the emulation defines it empty.)
#ifndef ZQSP_LOOPS
#define ZQSP_LOOPS __attribute__((target("avx2,popcnt")))
#endif

#include "kernels/select_blocks.hpp"

namespace zqsp::avx2 {

namespace {

constexpr unsigned kLanes = 8; // words of 32 bits in a register

/// For each set of lanes their numbers, ascending, a byte each.
constexpr auto kLanesIn = [] {
    std::array<std::uint64_t, 1U << kLanes> numbers{};
    for (unsigned lanes = 0; lanes < numbers.size(); ++lanes) {
        for (unsigned lane = 0, bit = 0; lane < kLanes; ++lane) {
            if ((lanes >> lane & 1U) != 0) {
                numbers[lanes] |= std::uint64_t{lane} << bit;
                bit += 8;
            }
        }
    }
    return numbers;
}();

/// The same of sets of four lanes of twice the size.
constexpr auto kPairsIn = [] {
    std::array<std::uint64_t, 1U << kLanes / 2> numbers{};
    for (unsigned lanes = 0; lanes < numbers.size(); ++lanes) {
        unsigned words = 0;
        for (unsigned lane = 0; lane < kLanes / 2; ++lane) {
            words |= (lanes >> lane & 1U) * 3 << 2 * lane;
        }
        numbers[lanes] = kLanesIn[words];
    }
    return numbers;
}();

ZQSP_LOOPS inline __m256i inAll(unsigned word)
{
    return _mm256_set1_epi32(static_cast<int>(word));
}

ZQSP_LOOPS inline __m256i load(const unsigned* words)
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(words));
}

ZQSP_LOOPS inline __m256i laneNumbers()
{
    return _mm256_set_epi32(7, 6, 5, 4, 3, 2, 1, 0);
}

/// All bits of the first `count` lanes.
ZQSP_LOOPS inline __m256i lanesOf(unsigned count)
{
    return _mm256_cmpgt_epi32(inAll(std::min(count, kLanes)), laneNumbers());
}

ZQSP_LOOPS inline __m256i load(const unsigned* words, unsigned count)
{
    return count >= kLanes ? load(words) : _mm256_maskload_epi32(reinterpret_cast<const int*>(words), lanesOf(count));
}

/// The highest bits.
ZQSP_LOOPS inline unsigned bitsOf(__m256i words)
{
    return static_cast<unsigned>(_mm256_movemask_ps(_mm256_castsi256_ps(words)));
}

/// Whether words are below others; the comparison is a signed one.
ZQSP_LOOPS inline __m256i areBelow(__m256i words, __m256i others)
{
    const __m256i sign = _mm256_set1_epi32(INT32_MIN);
    return _mm256_cmpgt_epi32(_mm256_xor_si256(others, sign), _mm256_xor_si256(words, sign));
}

ZQSP_LOOPS inline __m256i widened(std::uint64_t bytes)
{
    return _mm256_cvtepu8_epi32(_mm_cvtsi64_si128(static_cast<std::int64_t>(bytes)));
}

/// Those of four doubles that are selected, in the lowest places.
ZQSP_LOOPS inline __m256i pressed(__m256d values, unsigned selected)
{
    return _mm256_permutevar8x32_epi32(_mm256_castpd_si256(values), widened(kPairsIn[selected]));
}

/// How many bits are set, by fours of them (Mula, Kurz and Lemire, 2018).
ZQSP_LOOPS inline __m256i onesIn(__m256i words)
{
    const __m256i counts = _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 1, 1, 2, 1, 2, 2, 3, 1, 2, 2, 3, 2, 3, 3, 4));
    const __m256i four = _mm256_set1_epi8(15);
    const __m256i low = _mm256_shuffle_epi8(counts, _mm256_and_si256(words, four));
    const __m256i high = _mm256_shuffle_epi8(counts, _mm256_and_si256(_mm256_srli_epi32(words, 4), four));
    const __m256i pairs = _mm256_maddubs_epi16(_mm256_add_epi8(low, high), _mm256_set1_epi8(1));
    return _mm256_madd_epi16(pairs, _mm256_set1_epi16(1));
}

/// The words of a ranked set that two rows lie in, and those of two rows behind the next.
ZQSP_LOOPS inline __m256 wordsOf(const unsigned* rows, const RowWord* words)
{
    const auto two = [words](const unsigned* pair) ZQSP_LOOPS {
        const auto* const first = reinterpret_cast<const __m128i*>(words + pair[0] / RowWord::kBits);
        const auto* const second = reinterpret_cast<const __m64*>(words + pair[1] / RowWord::kBits);
        return _mm_loadh_pi(_mm_castsi128_ps(_mm_loadl_epi64(first)), second);
    };
    return _mm256_insertf128_ps(_mm256_castps128_ps256(two(rows)), two(rows + kLanes / 2), 1);
}

/// FewRows in registers, their words laid over one another until eight of them are left.
class Filter
{
  public:
    static constexpr unsigned kMost = 32; ///< rows; of a hundred, one group in two would pass
    ZQSP_LOOPS explicit Filter(const FewRows& few) : first_(folded(few.first())), second_(folded(few.second())) {}

    /// A bit for each of eight rows.
    [[nodiscard]] ZQSP_LOOPS unsigned passing(const unsigned* rows) const
    {
        const __m256i product = _mm256_mullo_epi32(load(rows), inAll(kHashMultiplier));
        const __m256i next = _mm256_slli_epi32(product, FewRows::kNext);
        const __m256i both = _mm256_and_si256(named(first_, product), named(second_, next));
        return bitsOf(_mm256_slli_epi32(both, 31));
    }

  private:
    ZQSP_LOOPS static __m256i folded(const unsigned* words)
    {
        return _mm256_or_si256(_mm256_or_si256(load(words), load(words + kLanes)),
                               _mm256_or_si256(load(words + 2 * kLanes), load(words + 3 * kLanes)));
    }

    /// The bits that products of multiplicative hashing name, in the lowest place of each lane.
    ZQSP_LOOPS static __m256i named(__m256i filter, __m256i products)
    {
        const __m256i words = _mm256_permutevar8x32_epi32(filter, _mm256_srli_epi32(products, FewRows::kWord));
        const __m256i bit = _mm256_and_si256(_mm256_srli_epi32(products, FewRows::kBit), _mm256_set1_epi32(31));
        return _mm256_srlv_epi32(words, bit);
    }

    __m256i first_;
    __m256i second_;
};

/// What select_blocks.hpp asks for, and says of each member.
struct Lanes
{
    using Filter = avx2::Filter;
    static constexpr unsigned kCount = kLanes;

    struct Choice
    {
        __m256i newRows;
        unsigned selected;
    };

    ZQSP_LOOPS static Choice choose(const unsigned* rows, unsigned count, RankedRows set)
    {
        const __m256i own = load(rows, count);
        std::array<unsigned, kLanes> some;
        if (count < kLanes) {
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(some.data()), own);
            rows = some.data();
        }
        const __m256 even = wordsOf(rows, set.words);
        const __m256 odd = wordsOf(rows + 2, set.words);
        const __m256i members = _mm256_castps_si256(_mm256_shuffle_ps(even, odd, _MM_SHUFFLE(2, 0, 2, 0)));
        const __m256i before = _mm256_castps_si256(_mm256_shuffle_ps(even, odd, _MM_SHUFFLE(3, 1, 3, 1)));
        const __m256i bit = _mm256_sllv_epi32(inAll(1), _mm256_and_si256(own, inAll(RowWord::kBits - 1)));
        const __m256i isMember = _mm256_cmpeq_epi32(_mm256_and_si256(members, bit), bit);
        const __m256i below = _mm256_and_si256(members, _mm256_sub_epi32(bit, inAll(1)));
        return chosen(_mm256_add_epi32(before, onesIn(below)), isMember, count);
    }

    ZQSP_LOOPS static Choice choose(const unsigned* rows, unsigned count, UnmovedRows set)
    {
        return {load(rows, count), choose(rows, count, RankedRows{set.words}).selected};
    }

    ZQSP_LOOPS static Choice choose(const unsigned* rows, unsigned count, RowInterval interval)
    {
        const __m256i shifted = _mm256_sub_epi32(load(rows, count), inAll(interval.first));
        return chosen(shifted, areBelow(shifted, inAll(interval.size)), count);
    }

    ZQSP_LOOPS static Choice choose(const unsigned* rows, unsigned count, OtherRows gap)
    {
        const __m256i old = load(rows, count);
        const __m256i isBefore = areBelow(old, inAll(gap.first));
        const __m256i isInside = areBelow(_mm256_sub_epi32(old, inAll(gap.first)), inAll(gap.size));
        const __m256i newRows = _mm256_sub_epi32(old, _mm256_andnot_si256(isBefore, inAll(gap.size)));
        return chosen(newRows, _mm256_andnot_si256(isInside, _mm256_set1_epi32(-1)), count);
    }

    class Lowered
    {
      public:
        ZQSP_LOOPS Lowered(const unsigned* positions, unsigned count, unsigned passed)
            : count_(count),
              old_(load(positions, count)),
              gone_(_mm256_setzero_si256()),
              lowered_(_mm256_sub_epi32(old_, inAll(passed)))
        {
        }
        ZQSP_LOOPS void pass(unsigned position)
        {
            const __m256i own = inAll(position);
            gone_ = _mm256_or_si256(gone_, _mm256_cmpeq_epi32(old_, own));
            lowered_ = _mm256_add_epi32(lowered_, areBelow(own, old_));
        }
        [[nodiscard]] ZQSP_LOOPS Choice choice() const
        {
            return chosen(lowered_, _mm256_andnot_si256(gone_, _mm256_set1_epi32(-1)), count_);
        }

      private:
        unsigned count_;
        __m256i old_;
        __m256i gone_;
        __m256i lowered_;
    };

    ZQSP_LOOPS static __m256i numbersFrom(unsigned first) { return _mm256_add_epi32(laneNumbers(), inAll(first)); }

    /// Lanes behind `count` have all bits.
    ZQSP_LOOPS static __m256i loadRows(const unsigned* rows, unsigned count)
    {
        const __m256i others = _mm256_andnot_si256(lanesOf(count), _mm256_set1_epi32(-1));
        return _mm256_or_si256(load(rows, count), others);
    }
    ZQSP_LOOPS static unsigned below(__m256i rows, unsigned row) { return bitsOf(areBelow(rows, inAll(row))); }

    ZQSP_LOOPS static void storeRows(Choice choice, unsigned* to, std::size_t room)
    {
        const __m256i rows = _mm256_permutevar8x32_epi32(choice.newRows, widened(kLanesIn[choice.selected]));
        if (room >= kLanes) {
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), rows);
        } else {
            _mm256_maskstore_epi32(reinterpret_cast<int*>(to), lanesOf(countOnesAtOnce(choice.selected)), rows);
        }
    }

    ZQSP_LOOPS static void press(const double* from, unsigned selected, double* to)
    {
        constexpr unsigned kHalf = kLanes / 2;
        const unsigned lowBits = selected % (1U << kHalf);
        const __m256i low = pressed(_mm256_loadu_pd(from), lowBits);
        const __m256i high = pressed(_mm256_loadu_pd(from + kHalf), selected >> kHalf);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), low);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(to + countOnesAtOnce(lowBits)), high);
    }

    ZQSP_LOOPS static void press(const std::uint8_t* from, unsigned selected, std::uint8_t* to)
    {
        const __m128i bytes = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(from));
        const __m128i places = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(&kLanesIn[selected]));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(to), _mm_shuffle_epi8(bytes, places));
    }

    ZQSP_LOOPS static unsigned spread(const unsigned* from, const std::uint8_t* marks, unsigned* to)
    {
        const Places places = unmarked(marks);
        const __m256i words = _mm256_permutevar8x32_epi32(load(from), widened(places.sources));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), words);
        return places.taken;
    }
    ZQSP_LOOPS static unsigned spread(const std::uint64_t* from, const std::uint8_t* marks, std::uint64_t* to)
    {
        constexpr unsigned kHalf = kLanes / 2;
        const Places places = unmarked(marks);
        const std::uint64_t high = places.sources >> 8 * kHalf;
        const auto taken = static_cast<unsigned>(high & 0xFF);
        spreadFour(from, places.sources, to);
        spreadFour(from + taken, high - taken * kInEach, to + kHalf);
        return places.taken;
    }

    ZQSP_LOOPS static unsigned columnEnds(const unsigned* from, unsigned count, unsigned begin, unsigned size,
                                          unsigned base, const Selection<kLanes>& selection, unsigned* ends)
    {
        unsigned served = 0;
        for (; served < count && from[served] - begin < size; ++served) {
            const unsigned entry = from[served] - begin;
            const unsigned before = selection.bits(entry / kLanes) & ((1U << entry % kLanes) - 1);
            ends[served] = base + selection.before(entry / kLanes) + countOnesAtOnce(before);
        }
        return served;
    }

  private:
    static constexpr std::uint64_t kInEach = 0x0101010101010101; // a byte for each lane

    /// What comes next goes to the places without a mark: for each of eight the number of what it gets, a byte each.
    struct Places
    {
        std::uint64_t sources;
        unsigned taken;
    };

    static Places unmarked(const std::uint8_t* marks)
    {
        std::uint64_t each = 0;
        std::memcpy(&each, marks, sizeof each);
        const std::uint64_t upTo = each * kInEach; // marks up to each place, itself included
        return {kLanesIn.back() - (upTo << 8), kLanes - static_cast<unsigned>(upTo >> 8 * (kLanes - 1))};
    }

    /// `sources`: in the lowest bytes.
    ZQSP_LOOPS static void spreadFour(const std::uint64_t* from, std::uint64_t sources, std::uint64_t* to)
    {
        const __m256i four =
            _mm256_slli_epi64(_mm256_cvtepu8_epi64(_mm_cvtsi64_si128(static_cast<std::int64_t>(sources))), 1);
        const __m256i halves =
            _mm256_or_si256(four, _mm256_slli_epi64(_mm256_add_epi64(four, _mm256_set1_epi64x(1)), 32));
        const __m256i words = _mm256_permutevar8x32_epi32(load(reinterpret_cast<const unsigned*>(from)), halves);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), words);
    }

    ZQSP_LOOPS static Choice chosen(__m256i newRows, __m256i isSelected, unsigned count)
    {
        return {newRows, bitsOf(count >= kLanes ? isSelected : _mm256_and_si256(isSelected, lanesOf(count)))};
    }
};

} // namespace

ZQSP_LOOPS Steps stepsTo(const unsigned* indices, unsigned count, unsigned expected)
{
    return portable::stepsLoop(indices, count, expected);
}

// Costs: measured on the same processor as those of the portable table. Entries sifted and moved, in milliseconds for
// 10^6 in columns of ten: one row in twenty 1.1, 0.8.
constinit const Kernels table = [] {
    Kernels wide = withEntriesBy<Lanes>(portable::table);
    wide.name = "avx2";
    wide.costs.mostRanked = 96;
    wide.costs.rowsPerSifted = 64;
    wide.costs.entriesPerDeleted = 128;
    wide.stepsTo = stepsTo;
    return wide;
}();

} // namespace zqsp::avx2
