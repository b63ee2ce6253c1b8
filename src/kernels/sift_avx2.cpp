#include "kernels/avx2.hpp"
#include "kernels/portable.hpp"

namespace zqsp::avx2 {

namespace {

/// The words of a filter laid over one another until eight of them, a register, are left.
ZQSP_AVX2 inline __m256i folded(const unsigned* words)
{
    constexpr unsigned kLanes = 8;
    const auto load = [words](unsigned i) ZQSP_AVX2 {
        return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(words + i * kLanes));
    };
    return _mm256_or_si256(_mm256_or_si256(load(0), load(1)), _mm256_or_si256(load(2), load(3)));
}

/// The bits that products of multiplicative hashing name, in the lowest place of each lane.
ZQSP_AVX2 inline __m256i bitsOf(__m256i filter, __m256i products)
{
    const __m256i words = _mm256_permutevar8x32_epi32(filter, _mm256_srli_epi32(products, FewRows::kWord));
    const __m256i bit = _mm256_and_si256(_mm256_srli_epi32(products, FewRows::kBit), _mm256_set1_epi32(31));
    return _mm256_srlv_epi32(words, bit);
}

} // namespace

ZQSP_AVX2 unsigned siftRows(const RowWord* rows, const FewRows* few, const unsigned* ir, unsigned begin, unsigned end,
                            unsigned* found)
{
    constexpr unsigned kLanes = 8;
    if (few == nullptr) {
        return portable::siftRows(rows, few, ir, begin, end, found);
    }
    const __m256i multiplier = _mm256_set1_epi32(static_cast<int>(kHashMultiplier));
    const __m256i firstFilter = folded(few->first());
    const __m256i secondFilter = folded(few->second());
    unsigned count = 0;
    for (; end - begin >= kLanes; begin += kLanes) {
        const __m256i group = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(ir + begin));
        const __m256i first = _mm256_mullo_epi32(group, multiplier);
        const __m256i second = _mm256_slli_epi32(first, FewRows::kNext);
        const __m256i both = _mm256_and_si256(bitsOf(firstFilter, first), bitsOf(secondFilter, second));
        const __m256i signs = _mm256_slli_epi32(both, 31);
        auto lanes = static_cast<unsigned>(_mm256_movemask_ps(_mm256_castsi256_ps(signs)));
        for (; lanes != 0; lanes &= lanes - 1) {
            const unsigned e = begin + static_cast<unsigned>(__builtin_ctz(lanes));
            if (rows[ir[e] / RowWord::kBits].has(ir[e])) {
                found[count++] = e;
            }
        }
    }
    return count + portable::siftRows(rows, few, ir, begin, end, found + count);
}

} // namespace zqsp::avx2
