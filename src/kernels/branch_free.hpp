// Small things that keep loops free of branches.
#ifndef ZQSP_KERNELS_BRANCH_FREE_HPP
#define ZQSP_KERNELS_BRANCH_FREE_HPP

namespace zqsp {

/// `value` where the condition holds, else 0, by a mask: of `condition ? value : 0`, compilers make a branch.
constexpr unsigned valueIf(bool condition, unsigned value)
{
    return value & (0U - static_cast<unsigned>(condition));
}

/// Of multiplicative hashing (Knuth, The Art of Computer Programming 3, 6.4): 2^32 divided by the golden ratio.
inline constexpr unsigned kHashMultiplier = 0x9E3779B1U;

} // namespace zqsp

#endif
