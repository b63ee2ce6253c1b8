// How much memory statements may take.
#ifndef KXSH_MEMORY_LIMIT_HPP
#define KXSH_MEMORY_LIMIT_HPP

#include <cstdint>

namespace kxsh {

/// From now on the process gets at most `bytes` of memory in all; 0 for what the machine has free, which is looked up
/// again every so often. What does not fit is an out-of-memory error before anything is touched.
void limitMemory(std::uint64_t bytes);
/// Called before each statement; costs a look at the clock.
void refreshMemoryLimit();

} // namespace kxsh

#endif
