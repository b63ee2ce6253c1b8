// Blocks with holders: what arrays hold, and array headers themselves. See kx_array.hpp for the exported allocator.
#ifndef KX_MEMORY_HPP
#define KX_MEMORY_HPP

#include <cstddef>
#include <memory>

namespace kxrt {

/// A block with one holder; raises kx:outOfMemory. Contents are not cleared.
void* allocate(std::size_t count, std::size_t size);
/// The same, cleared.
void* allocateZeroed(std::size_t count, std::size_t size);
/// Drops one hold; the last one releases the block. Null is allowed.
void release(void* block) noexcept;

/// Adds a hold. Null is allowed.
void addHolder(void* block) noexcept;
/// Whether the block has more than one holder; false for null.
bool isHeldByOthers(const void* block) noexcept;
/// The size it was asked for with.
std::size_t blockSize(const void* block) noexcept;

struct BlockRelease
{
    void operator()(void* block) const noexcept { release(block); }
};
using BlockOwner = std::unique_ptr<void, BlockRelease>;

} // namespace kxrt

#endif
