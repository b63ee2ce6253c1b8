// Errors that are thrown where they are found, because no status can carry them.
#ifndef ZQSP_CORE_ERRORS_HPP
#define ZQSP_CORE_ERRORS_HPP

namespace zqsp {

/// A count or a size above the runtime's maximum.
[[noreturn]] void raiseMaxSize();

/// A capacity that can be neither computed nor allocated.
[[noreturn]] void raiseOutOfMemory();

/// A(:) = B with another number of elements.
[[noreturn]] void raiseColonCountMismatch();

/// More elements than linear indices can number.
[[noreturn]] void raiseTooLargeForLinearIndex();

} // namespace zqsp

#endif
