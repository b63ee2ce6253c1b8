// Counting entries: sums are formed in 64 bits and checked against the 32-bit limits before they size anything.
#ifndef ZQSP_CORE_COUNTS_HPP
#define ZQSP_CORE_COUNTS_HPP

#include "core/errors.hpp"

#include <cstdint>
#include <limits>

namespace zqsp {

/// So many entries more is the capacity that a full target is given for one new entry: a deliberate small step.
constexpr unsigned kCapacityStep = 10;

/// The sum as an entry count; raises "pmaxsize" when it does not fit 32 bits.
inline unsigned checkedCount(std::uint64_t sum)
{
    if (sum > std::numeric_limits<std::uint32_t>::max()) {
        raiseMaxSize();
    }
    return static_cast<unsigned>(sum);
}

} // namespace zqsp

#endif
