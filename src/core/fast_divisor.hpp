// Division by a number that stays the same for a whole call.
#ifndef ZQSP_CORE_FAST_DIVISOR_HPP
#define ZQSP_CORE_FAST_DIVISOR_HPP

#include <cstdint>

namespace zqsp {

/// Divides 32-bit numbers by a fixed one with a multiplication: exact for every operand, since the reciprocal carries
/// 64 bits (Granlund and Montgomery, 1994; Lemire, Kaser and Kurz, 2019).
class FastDivisor
{
  public:
    /// divisor >= 1.
    explicit FastDivisor(unsigned divisor) : divisor_(divisor), reciprocal_(UINT64_MAX / divisor + 1) {}

    [[nodiscard]] unsigned quotient(unsigned x) const
    {
        if (divisor_ == 1) {
            return x; // its reciprocal would take 65 bits
        }
        __extension__ using Wide = unsigned __int128;
        return static_cast<unsigned>(static_cast<Wide>(reciprocal_) * x >> 64U);
    }

  private:
    unsigned divisor_;
    std::uint64_t reciprocal_;
};

} // namespace zqsp

#endif
