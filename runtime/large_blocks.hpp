// Mappings for large blocks.
//
// A fresh mapping costs a page fault for every page before the first byte is moved, which is often more than the work
// done on it. Large blocks therefore lie in mappings of their own, the largest of which ask for huge pages, and
// mappings given back are kept, dirty, for the next request of about their size: 256 MiB of them at most.
#ifndef KX_LARGE_BLOCKS_HPP
#define KX_LARGE_BLOCKS_HPP

#include <cstddef>

namespace kxrt {

/// Blocks of at least this many bytes are mapped: from here on the heap starts to give memory back to the system, and
/// would fault it in again.
constexpr std::size_t kLargeBlock = std::size_t{1} << 17;

/// The first 16 bytes of a mapping are this file's own.
struct Mapping
{
    std::byte* base; ///< null on failure
    bool zeroed;     ///< all bytes after those are 0
};

/// A mapping of at least `bytes` bytes.
Mapping takeMapping(std::size_t bytes) noexcept;
/// Makes the mapping `bytes` long, moving it if need be, with its content kept; null (and the mapping unchanged) on
/// failure. Shrinking to a quarter or more keeps it as it is.
std::byte* resizeMapping(std::byte* base, std::size_t bytes) noexcept;
/// Gives a mapping back.
void dropMapping(std::byte* base) noexcept;
/// Unmaps what is kept.
void unmapKept() noexcept;

} // namespace kxrt

#endif
