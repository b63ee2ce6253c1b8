// Sifting entries for a few rows, for registers of 512 bits.
#ifndef ZQSP_CORE_WIDE_FEW_ROWS_HPP
#define ZQSP_CORE_WIDE_FEW_ROWS_HPP

#include "core/processor.hpp"

#include <array>

namespace zqsp::wide {

/// A filter of up to 128 rows that stays in registers: bits at two places that multiplicative hashing gives (Bloom,
/// 1970).
class FewRows
{
  public:
    static constexpr unsigned kMost = 128;

    void add(unsigned row);
    /// Where haveAvx512(): the first of the groups of sixteen entries from `begin` on that may have one of the rows, a
    /// bit of `lanes` set for each entry that may; or, with no bit set, the first group that ends behind `end`. One
    /// group in five at most is mistaken for one that has. Measured: half the time of looking rows up in a table.
    unsigned firstGroup(const unsigned* ir, unsigned begin, unsigned end, unsigned& lanes) const;

  private:
    static constexpr unsigned kMultiplier = 0x9E3779B1U;
    static constexpr unsigned kWord = 27; ///< the upper five bits of a product number one of 32 words
    static constexpr unsigned kBit = 22;  ///< the next five a bit of it
    static constexpr unsigned kNext = 10; ///< and so on for the second place

    std::array<unsigned, 32> first_{};
    std::array<unsigned, 32> second_{};
};

} // namespace zqsp::wide

#endif
