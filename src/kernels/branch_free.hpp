// Small things that keep loops free of branches.
#ifndef ZQSP_KERNELS_BRANCH_FREE_HPP
#define ZQSP_KERNELS_BRANCH_FREE_HPP

#include <cstdint>

namespace zqsp {

/// How many bits are set. Compilers know the idiom and take one instruction for it where they may; elsewhere they would
/// call a function for std::popcount(), which takes three times as long.
constexpr unsigned countOnes(std::uint32_t bits)
{
    bits -= bits >> 1U & 0x55555555U;
    bits = (bits & 0x33333333U) + (bits >> 2U & 0x33333333U);
    bits = (bits + (bits >> 4U)) & 0x0F0F0F0FU;
    return bits * 0x01010101U >> 24U;
}

/// The same in functions that are compiled for processors with an instruction for it: of words that are known to be
/// short, compilers do not see the idiom.
[[gnu::always_inline]] inline unsigned countOnesAtOnce(std::uint32_t bits)
{
    return static_cast<unsigned>(__builtin_popcount(bits));
}

/// `value` where the condition holds, else 0, by a mask: of `condition ? value : 0`, compilers make a branch.
constexpr unsigned valueIf(bool condition, unsigned value)
{
    return value & (0U - static_cast<unsigned>(condition));
}

/// Of multiplicative hashing (Knuth, The Art of Computer Programming 3, 6.4): 2^32 divided by the golden ratio.
inline constexpr unsigned kHashMultiplier = 0x9E3779B1U;

} // namespace zqsp

#endif
