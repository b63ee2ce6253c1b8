// The bytes of a full logical mask by words and by blocks of 64: as bits, counted, and the first and the last true one.
#ifndef ZQSP_KERNELS_MASK_BITS_HPP
#define ZQSP_KERNELS_MASK_BITS_HPP

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace zqsp {

inline constexpr unsigned kMaskWord = sizeof(std::uint64_t);

/// One bit, the highest of its byte, for each non-zero byte of eight, the first byte at the low end.
inline std::uint64_t trueBits(const unsigned char* bytes)
{
    constexpr std::uint64_t kLow7 = 0x7F7F7F7F7F7F7F7FULL;
    std::uint64_t word = 0;
    std::memcpy(&word, bytes, sizeof word);
    if constexpr (std::endian::native == std::endian::big) {
        word = __builtin_bswap64(word);
    }
    return (((word & kLow7) + kLow7) | word) & ~kLow7;
}

inline constexpr unsigned kMaskBlock = 64;

/// A bit for each of 64 bytes, the first in the lowest: 1 where the byte is not zero.
inline std::uint64_t wholeTrueBlock(const unsigned char* bytes)
{
    std::uint64_t bits = 0;
#ifdef __SSE2__
    constexpr unsigned kParts = kMaskBlock / sizeof(__m128i);
    __m128i parts[kParts];
    __m128i any = _mm_setzero_si128();
    for (unsigned i = 0; i < kParts; ++i) {
        parts[i] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes) + i);
        any = _mm_or_si128(any, parts[i]);
    }
    constexpr int kAllZero = 0xFFFF;
    if (_mm_movemask_epi8(_mm_cmpeq_epi8(any, _mm_setzero_si128())) == kAllZero) {
        return 0;
    }
    for (unsigned i = 0; i < kParts; ++i) {
        const int zeros = _mm_movemask_epi8(_mm_cmpeq_epi8(parts[i], _mm_setzero_si128()));
        bits |= std::uint64_t{static_cast<unsigned>(zeros) ^ 0xFFFFU} << (i * sizeof(__m128i));
    }
#else
    constexpr std::uint64_t kTogether = 0x0102040810204080ULL; // brings the bits of the bytes together in the highest
    for (unsigned i = 0; i < kMaskBlock; i += kMaskWord) {
        bits |= ((trueBits(bytes + i) >> 7U) * kTogether >> 56U) << i;
    }
#endif
    return bits;
}

/// The same of up to 64 bytes, 0 for those that are not there.
[[gnu::noinline]] inline std::uint64_t lastTrueBlock(const unsigned char* bytes, unsigned count)
{
    std::array<unsigned char, kMaskBlock> last{};
    std::copy_n(bytes, count, last.data());
    return wholeTrueBlock(last.data());
}
inline std::uint64_t trueBlock(const unsigned char* bytes, unsigned count)
{
    return count < kMaskBlock ? lastTrueBlock(bytes, count) : wholeTrueBlock(bytes);
}

#ifdef __SSE2__
/// Number of non-zero bytes in whole registers. The zeros in each place of two registers are counted in the bytes of
/// another, and these counts added up before they overflow: measured, a quarter of the time of counting by words.
[[gnu::noinline]] inline unsigned countTrueInPairs(const unsigned char* values, unsigned pairs)
{
    constexpr unsigned kBlock = 127; // pairs: so many zeros fit a byte
    const __m128i zero = _mm_setzero_si128();
    const auto* part = reinterpret_cast<const __m128i*>(values);
    unsigned zeros = 0;
    for (unsigned done = 0, size = 0; done < pairs; done += size) {
        size = std::min(pairs - done, kBlock);
        __m128i counts = zero;
        for (unsigned i = 0; i < size; ++i, part += 2) {
            const __m128i first = _mm_cmpeq_epi8(_mm_loadu_si128(part), zero); // -1 where it is zero
            const __m128i second = _mm_cmpeq_epi8(_mm_loadu_si128(part + 1), zero);
            counts = _mm_sub_epi8(counts, _mm_add_epi8(first, second));
        }
        const __m128i sums = _mm_sad_epu8(counts, zero);
        zeros += static_cast<unsigned>(_mm_cvtsi128_si32(sums) + _mm_cvtsi128_si32(_mm_srli_si128(sums, 8)));
    }
    return pairs * 2 * static_cast<unsigned>(sizeof(__m128i)) - zeros;
}
#endif

/// Number of non-zero bytes from `begin` to `end`; those before may be read, too.
inline unsigned countTrue(const unsigned char* values, unsigned begin, unsigned end)
{
    unsigned count = 0;
    unsigned i = begin;
#ifdef __SSE2__
    constexpr unsigned kMany = 128; // bytes; masks are mostly counted whole, or from one entry to the next
    if (end - begin >= kMany) {
        constexpr unsigned kPair = 2 * sizeof(__m128i);
        const unsigned pairs = (end - begin) / kPair;
        count = countTrueInPairs(values + begin, pairs);
        i += pairs * kPair;
    }
#endif
    const auto ones = [](std::uint64_t bits) {
        constexpr std::uint64_t kAddBytes = 0x0101010101010101ULL;
        return static_cast<unsigned>((bits >> 7U) * kAddBytes >> 56U);
    };
    for (; end - i >= kMaskWord; i += kMaskWord) {
        count += ones(trueBits(values + i));
    }
    if (i < end && end >= kMaskWord) { // in one word with bytes before them: nothing to foresee
        count += ones(trueBits(values + end - kMaskWord) >> 8 * (kMaskWord - (end - i)));
        i = end;
    }
    for (; i < end; ++i) {
        count += values[i] != 0 ? 1U : 0U;
    }
    return count;
}

/// Position of the first non-zero byte at `from` or later; `length` when there is none.
inline unsigned nextTrue(const unsigned char* values, unsigned from, unsigned length)
{
    for (; from < length; from += std::min(kMaskBlock, length - from)) {
        if (const std::uint64_t bits = trueBlock(values + from, length - from)) {
            return from + static_cast<unsigned>(std::countr_zero(bits));
        }
    }
    return length;
}

/// Position of the last non-zero byte, of which there must be one.
inline unsigned lastTrue(const unsigned char* values, unsigned length)
{
    while (length >= kMaskWord && trueBits(values + length - kMaskWord) == 0) {
        length -= kMaskWord;
    }
    while (values[length - 1] == 0) {
        --length;
    }
    return length - 1;
}

} // namespace zqsp

#endif
