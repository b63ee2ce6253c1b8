// Selecting and sifting entries.
#include "kernels/avx512.hpp"

#include <cstdint>

#define ZQSP_LOOPS ZQSP_AVX512
#include "kernels/select_blocks.hpp"

namespace zqsp::avx512 {

namespace {

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

/// FewRows in registers.
class Filter
{
  public:
    ZQSP_AVX512 explicit Filter(const FewRows& few)
        : lowFirst_(_mm512_loadu_si512(few.first())),
          highFirst_(_mm512_loadu_si512(few.first() + kLanes)),
          lowSecond_(_mm512_loadu_si512(few.second())),
          highSecond_(_mm512_loadu_si512(few.second() + kLanes))
    {
    }

    /// A bit for each of sixteen rows. (Of groups of rows that have none, one in five at most passes.)
    [[nodiscard]] ZQSP_AVX512 unsigned passing(const unsigned* rows) const
    {
        const __m512i product = _mm512_mullo_epi32(_mm512_loadu_si512(rows), inAll(kHashMultiplier));
        const __m512i next = _mm512_slli_epi32(product, FewRows::kNext);
        return _mm512_test_epi32_mask(
            _mm512_and_si512(bitsOf(lowFirst_, highFirst_, product), bitsOf(lowSecond_, highSecond_, next)), inAll(1));
    }

  private:
    ZQSP_AVX512 static __m512i bitsOf(__m512i low, __m512i high, __m512i products)
    {
        const __m512i word = _mm512_permutex2var_epi32(low, _mm512_srli_epi32(products, FewRows::kWord), high);
        return _mm512_rorv_epi32(word, _mm512_srli_epi32(products, FewRows::kBit));
    }

    __m512i lowFirst_;
    __m512i highFirst_;
    __m512i lowSecond_;
    __m512i highSecond_;
};

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
    ZQSP_AVX512 static Choice choose(const unsigned* rows, unsigned count, RankedRows set)
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

    ZQSP_AVX512 static Choice choose(const unsigned* rows, unsigned count, UnmovedRows set)
    {
        return {_mm512_maskz_loadu_epi32(lanesOf(count), rows), choose(rows, count, RankedRows{set.words}).selected};
    }

    ZQSP_AVX512 static Choice choose(const unsigned* rows, unsigned count, RowInterval interval)
    {
        const __mmask16 lanes = lanesOf(count);
        const __m512i shifted = _mm512_sub_epi32(_mm512_maskz_loadu_epi32(lanes, rows), inAll(interval.first));
        return {shifted, _mm512_mask_cmplt_epu32_mask(lanes, shifted, inAll(interval.size))};
    }

    ZQSP_AVX512 static Choice choose(const unsigned* rows, unsigned count, OtherRows gap)
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
        ZQSP_AVX512 Lowered(const unsigned* positions, unsigned count, unsigned passed)
            : lanes_(lanesOf(count)),
              old_(_mm512_maskz_loadu_epi32(lanes_, positions)),
              lowered_(_mm512_sub_epi32(old_, inAll(passed)))
        {
        }
        ZQSP_AVX512 void pass(unsigned position)
        {
            const __m512i own = inAll(position);
            gone_ = _kor_mask16(gone_, _mm512_cmpeq_epi32_mask(old_, own));
            lowered_ = _mm512_mask_sub_epi32(lowered_, _mm512_cmpgt_epu32_mask(old_, own), lowered_, inAll(1));
        }
        [[nodiscard]] ZQSP_AVX512 Choice choice() const { return {lowered_, _kandn_mask16(gone_, lanes_)}; }

      private:
        __mmask16 lanes_;
        __mmask16 gone_ = 0;
        __m512i old_;
        __m512i lowered_;
    };

    ZQSP_AVX512 static __m512i numbersFrom(unsigned first) { return _mm512_add_epi32(laneNumbers(), inAll(first)); }

    ZQSP_AVX512 static void storeRows(Choice choice, unsigned* to, std::size_t room)
    {
        const __m512i rows = _mm512_maskz_compress_epi32(choice.selected, choice.newRows);
        if (room >= kLanes) {
            _mm512_storeu_si512(to, rows);
        } else {
            _mm512_mask_storeu_epi32(to, lanesOf(countOnesAtOnce(choice.selected)), rows);
        }
    }

    ZQSP_AVX512 static void press(const double* from, unsigned selected, double* to)
    {
        constexpr unsigned kHalf = kLanes / 2;
        const auto lowBits = static_cast<__mmask8>(selected);
        const auto highBits = static_cast<__mmask8>(selected >> kHalf);
        const __m512d low = _mm512_maskz_compress_pd(lowBits, _mm512_loadu_pd(from));
        const __m512d high = _mm512_maskz_compress_pd(highBits, _mm512_loadu_pd(from + kHalf));
        _mm512_storeu_pd(to, low);
        _mm512_storeu_pd(to + countOnesAtOnce(lowBits), high);
    }

    ZQSP_AVX512 static void pressSome(const double* from, unsigned count, unsigned selected, double* to,
                                      std::size_t room)
    {
        constexpr unsigned kHalf = kLanes / 2;
        const auto store = [](double* place, std::size_t rest, __mmask8 bits, __m512d values) ZQSP_AVX512 {
            const unsigned written = rest >= kHalf ? kHalf : countOnesAtOnce(bits);
            _mm512_mask_storeu_pd(place, static_cast<__mmask8>(lanesOf(written)),
                                  _mm512_maskz_compress_pd(bits, values));
        };
        const __mmask16 lanes = lanesOf(count);
        const auto lowBits = static_cast<__mmask8>(selected);
        const __m512d low = _mm512_maskz_loadu_pd(static_cast<__mmask8>(lanes), from);
        const __m512d high = _mm512_maskz_loadu_pd(static_cast<__mmask8>(lanes >> kHalf), from + kHalf);
        store(to, room, lowBits, low);
        const unsigned before = countOnesAtOnce(lowBits);
        store(to + before, room - before, static_cast<__mmask8>(selected >> kHalf), high);
    }

    ZQSP_AVX512 static void press(const std::uint8_t* from, unsigned selected, std::uint8_t* to)
    {
        const __m512i wide = _mm512_cvtepu8_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(from)));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to),
                         _mm512_cvtepi32_epi8(_mm512_maskz_compress_epi32(static_cast<__mmask16>(selected), wide)));
    }

    /// All words of the selection are in registers: measured in columns of five entries, a third of the time of one end
    /// after the other.
    ZQSP_AVX512 static unsigned columnEnds(const unsigned* from, unsigned count, unsigned begin, unsigned size,
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
};

} // namespace

void setEntries(Kernels& table)
{
    setEntriesBy<Lanes>(table);
}

} // namespace zqsp::avx512
