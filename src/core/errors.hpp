// Errors that are thrown where they are found, because no status can carry them.
#ifndef ZQSP_CORE_ERRORS_HPP
#define ZQSP_CORE_ERRORS_HPP

#include <cstdint>
#include <limits>

namespace zqsp {

/// A count or a size above the runtime's maximum.
[[noreturn]] void raiseMaxSize();

/// A sum of entries, formed in 64 bits, as a count; raises "pmaxsize" when it does not fit 32 bits.
inline unsigned checkedCount(std::uint64_t sum)
{
    if (sum > std::numeric_limits<std::uint32_t>::max()) {
        raiseMaxSize();
    }
    return static_cast<unsigned>(sum);
}

/// A capacity that can be neither computed nor allocated.
[[noreturn]] void raiseOutOfMemory();

/// A(:) = B with another number of elements.
[[noreturn]] void raiseColonCountMismatch();

/// More elements than linear indices can number.
[[noreturn]] void raiseTooLargeForLinearIndex();

} // namespace zqsp

#endif
