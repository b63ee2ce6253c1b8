// Small blocks for who makes or drops several: inlined there, and counted together.
#ifndef KX_SMALL_BLOCKS_HPP
#define KX_SMALL_BLOCKS_HPP

#include "errors.hpp"
#include "thread_memory.hpp"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>

namespace kxrt {

/// In front of the data of every block.
struct alignas(16) BlockHeader
{
    std::size_t size; ///< tells the kind of block as well
    unsigned holders; ///< by atomic_ref only once the block is handed out
    unsigned list;    ///< where a thread keeps it
};
static_assert(sizeof(BlockHeader) == 16);

inline BlockHeader* headerOf(void* block)
{
    return static_cast<BlockHeader*>(block) - 1;
}
inline const BlockHeader* headerOf(const void* block)
{
    return static_cast<const BlockHeader*>(block) - 1;
}

constexpr bool isSmall(std::size_t size)
{
    return kReusesBlocks && size <= kLargestSmall - sizeof(BlockHeader);
}
/// The list for blocks of a size.
constexpr unsigned listFor(std::size_t size)
{
    return isSmall(size) ? smallClass(size + sizeof(BlockHeader)) : kListOfNone;
}

/// Writes the header in front of the data.
inline void* furnish(void* raw, std::size_t size) noexcept
{
    return ::new (raw) BlockHeader{size, 1, listFor(size)} + 1;
}

/// Whether a small block may be refused, as tests have it.
extern constinit std::atomic<bool> refusesSmall;

/// A block that is not at hand, or not small; null on failure.
void* allocateElsewhere(std::size_t size, bool zeroed) noexcept;
/// Drops a hold; whether it was the last one.
bool dropLast(BlockHeader* header) noexcept;
/// A block that no list takes goes.
void releaseElsewhere(BlockHeader* header) noexcept;

/// Where blocks come from, one after the other.
class BlockSource
{
  public:
    BlockSource() noexcept
        : own_(refusesSmall.load(std::memory_order_relaxed) ? ThreadMemory::nobody() : ThreadMemory::existing())
    {
    }
    BlockSource(const BlockSource&) = delete;
    BlockSource& operator=(const BlockSource&) = delete;
    [[gnu::always_inline]] ~BlockSource()
    {
        if (taken_ != 0) {
            own_.add(Count::requests, taken_);
            own_.add(Count::bytesRequested, bytes_);
        }
    }

    /// A block with one holder; raises kx:outOfMemory.
    [[gnu::always_inline]] void* take(std::size_t size, bool zeroed = false)
    {
        void* block = tryTake(size, zeroed);
        if (block == nullptr) {
            raiseOutOfMemory(size);
        }
        return block;
    }
    /// The same; null on failure.
    [[gnu::always_inline]] void* tryTake(std::size_t size, bool zeroed) noexcept
    {
        void* raw = own_.take(listFor(size));
        if (raw == nullptr) [[unlikely]] {
            return allocateElsewhere(size, zeroed);
        }
        ++taken_;
        bytes_ += static_cast<std::int64_t>(size);
        void* block = furnish(raw, size);
        return zeroed ? clear(block, size) : block;
    }

  private:
    /// The smallest blocks are cleared as a whole, which needs no call.
    static void* clear(void* block, std::size_t size) noexcept
    {
        constexpr std::size_t kLeast = kSmallStep - sizeof(BlockHeader);
        return size <= kLeast ? std::memset(block, 0, kLeast) : std::memset(block, 0, size);
    }

    ThreadMemory& own_;
    std::int64_t taken_ = 0;
    std::int64_t bytes_ = 0;
};

/// Where they go.
class BlockSink
{
  public:
    BlockSink() noexcept : own_(ThreadMemory::existing()) {}
    BlockSink(const BlockSink&) = delete;
    BlockSink& operator=(const BlockSink&) = delete;
    [[gnu::always_inline]] ~BlockSink()
    {
        if (kept_ != 0) {
            own_.add(Count::settled, kept_);
        }
    }

    /// Drops one hold; the last one releases the block. Null is allowed.
    [[gnu::always_inline]] void drop(void* block) noexcept
    {
        if (block == nullptr) {
            return;
        }
        BlockHeader* header = headerOf(block);
        // A sole holder needs no read-modify-write: nobody else can add a hold.
        if (std::atomic_ref(header->holders).load(std::memory_order_acquire) != 1 && !dropLast(header)) {
            return;
        }
        if (own_.keep(header, header->list)) {
            ++kept_;
        } else {
            releaseElsewhere(header);
        }
    }

  private:
    ThreadMemory& own_;
    std::int64_t kept_ = 0;
};

} // namespace kxrt

#endif
