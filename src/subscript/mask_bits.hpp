// Walking the bytes of a full logical mask eight at a time: words without a true byte are skipped whole, and within
// a word only its true bytes (or the ends of its runs) are visited.
#ifndef ZQSP_SUBSCRIPT_MASK_BITS_HPP
#define ZQSP_SUBSCRIPT_MASK_BITS_HPP

#include <bit>
#include <cstdint>
#include <cstring>

namespace zqsp {

inline constexpr unsigned kMaskWord = sizeof(std::uint64_t);

/// One bit, the highest of its byte, for each non-zero byte of eight. Bytes lie in memory order from the low end.
inline std::uint64_t trueBits(const unsigned char* bytes)
{
    static_assert(std::endian::native == std::endian::little);
    constexpr std::uint64_t kLow7 = 0x7F7F7F7F7F7F7F7FULL;
    std::uint64_t word = 0;
    std::memcpy(&word, bytes, sizeof word);
    return (((word & kLow7) + kLow7) | word) & ~kLow7;
}

/// Number of non-zero bytes.
inline unsigned countTrue(const unsigned char* values, unsigned length)
{
    unsigned count = 0;
    unsigned i = 0;
    for (; length - i >= kMaskWord; i += kMaskWord) {
        count += static_cast<unsigned>(std::popcount(trueBits(values + i)));
    }
    for (; i < length; ++i) {
        count += values[i] != 0 ? 1U : 0U;
    }
    return count;
}

/// Position of the first non-zero byte at `from` or later; `length` when there is none.
inline unsigned nextTrue(const unsigned char* values, unsigned from, unsigned length)
{
    for (; length - from >= kMaskWord; from += kMaskWord) {
        if (const std::uint64_t bits = trueBits(values + from)) {
            return from + static_cast<unsigned>(std::countr_zero(bits)) / 8;
        }
    }
    while (from < length && values[from] == 0) {
        ++from;
    }
    return from;
}

/// Position of the first zero byte at `from` or later; `length` when there is none.
inline unsigned nextFalse(const unsigned char* values, unsigned from, unsigned length)
{
    constexpr std::uint64_t kAllTrue = 0x8080808080808080ULL;
    for (; length - from >= kMaskWord; from += kMaskWord) {
        if (const std::uint64_t falseBits = trueBits(values + from) ^ kAllTrue) {
            return from + static_cast<unsigned>(std::countr_zero(falseBits)) / 8;
        }
    }
    while (from < length && values[from] != 0) {
        ++from;
    }
    return from;
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

/// f(position) for each non-zero byte, ascending.
template <typename F>
void forEachTrue(const unsigned char* values, unsigned length, F&& f)
{
    unsigned i = 0;
    for (; length - i >= kMaskWord; i += kMaskWord) {
        for (std::uint64_t bits = trueBits(values + i); bits != 0; bits &= bits - 1) {
            f(i + static_cast<unsigned>(std::countr_zero(bits)) / 8);
        }
    }
    for (; i < length; ++i) {
        if (values[i] != 0) {
            f(i);
        }
    }
}

} // namespace zqsp

#endif
