// Mappings for large blocks.
//
// A fresh mapping costs a page fault for every page before the first byte is moved, which is often more than the work
// done on it. Large blocks therefore lie in mappings of their own, the largest of which ask for huge pages, and a few
// mappings given back are kept, dirty, for the next request of about their size.
#ifndef KX_LARGE_BLOCKS_HPP
#define KX_LARGE_BLOCKS_HPP

#include <cstddef>

// Under AddressSanitizer every block comes from malloc, so that its use after release is seen.
#if defined(__SANITIZE_ADDRESS__)
#define KX_MAP_LARGE_BLOCKS 0
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define KX_MAP_LARGE_BLOCKS 0
#endif
#endif
#ifndef KX_MAP_LARGE_BLOCKS
#define KX_MAP_LARGE_BLOCKS 1
#endif

namespace kxrt {

/// Blocks of at least this many bytes are mapped: from here on the heap starts to give memory back to the system, and
/// would fault it in again.
constexpr std::size_t kLargeBlock = std::size_t{1} << 17;

/// A mapping begins with its own length; its user leaves the first word alone.
struct Mapping
{
    std::byte* base; ///< null on failure
    bool zeroed;     ///< all bytes after the first word are 0
};

/// A mapping of at least `bytes` bytes.
Mapping takeMapping(std::size_t bytes) noexcept;
/// Makes the mapping `bytes` long, moving it if need be, with its content kept; null (and the mapping unchanged) on
/// failure. Shrinking by less than half keeps it as it is.
std::byte* resizeMapping(std::byte* base, std::size_t bytes) noexcept;
/// Gives a mapping back.
void dropMapping(std::byte* base) noexcept;

} // namespace kxrt

#endif
