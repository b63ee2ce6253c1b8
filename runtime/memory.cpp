// The allocator. Each block is preceded by a header of 16 bytes; the data that follows it is aligned to 16 bytes,
// in a mapped block to 64.
#include "memory.hpp"

#include "errors.hpp"
#include "kx_runtime.hpp"
#include "large_blocks.hpp"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace kxrt {
namespace {

struct BlockHeader
{
    std::size_t size;
    unsigned holders; ///< by atomic_ref only once the block is handed out
    unsigned mapped;  ///< whether the block lies in a mapping of its own
};
static_assert(sizeof(BlockHeader) == 16);

/// Where the data of a mapped block begins within its mapping.
constexpr std::size_t kMappingPrefix = 64;
/// No array needs a block this large: 2^32 complex elements come in two blocks of 32 GiB.
constexpr std::size_t kLargestBlock = std::size_t{1} << 36;
/// What an overflowing product of count and size is taken for.
constexpr std::size_t kImpossibleSize = std::numeric_limits<std::size_t>::max();

constinit std::atomic<std::size_t> liveBlocks{0};
constinit std::atomic<long> requests{0};
constinit std::atomic<long> requestsUntilFailure{-1};
constinit std::atomic<std::size_t> largestBlock{kLargestBlock};

BlockHeader* headerOf(void* block)
{
    return static_cast<BlockHeader*>(block) - 1;
}
const BlockHeader* headerOf(const void* block)
{
    return static_cast<const BlockHeader*>(block) - 1;
}
std::byte* mappingOf(void* block)
{
    return static_cast<std::byte*>(block) - kMappingPrefix;
}

std::size_t product(std::size_t count, std::size_t size)
{
    std::size_t bytes = 0;
    return __builtin_mul_overflow(count, size, &bytes) ? kImpossibleSize : bytes;
}

/// Counts a request; whether it may be met.
bool admit(std::size_t size) noexcept
{
    requests.fetch_add(1, std::memory_order_relaxed);
    const bool fails = requestsUntilFailure.load(std::memory_order_relaxed) > 0 &&
                       requestsUntilFailure.fetch_sub(1, std::memory_order_relaxed) == 1;
    return !fails && size <= largestBlock.load(std::memory_order_relaxed);
}

constexpr bool isMapped(std::size_t size)
{
    return KX_MAP_LARGE_BLOCKS && size >= kLargeBlock;
}

/// Writes the header in front of the data.
void* furnish(BlockHeader* header, std::size_t size, bool mapped) noexcept
{
    *header = {size, 1, mapped ? 1U : 0U};
    return header + 1;
}

/// A block of its own, not counted as a request; null on failure.
void* newBlock(std::size_t size, bool zeroed) noexcept
{
    void* block = nullptr;
    if (isMapped(size)) {
        const Mapping mapping = takeMapping(size + kMappingPrefix);
        if (mapping.base == nullptr) {
            return nullptr;
        }
        block = furnish(headerOf(mapping.base + kMappingPrefix), size, true);
        if (zeroed && !mapping.zeroed) {
            std::memset(block, 0, size);
        }
    } else {
        const std::size_t bytes = size + sizeof(BlockHeader);
        void* raw = zeroed ? std::calloc(1, bytes) : std::malloc(bytes);
        if (raw == nullptr) {
            return nullptr;
        }
        block = furnish(static_cast<BlockHeader*>(raw), size, false);
    }
    liveBlocks.fetch_add(1, std::memory_order_relaxed);
    return block;
}

/// Resizes a block without other holders in its own kind of memory; null (block unchanged) on failure.
void* resizeInKind(void* block, std::size_t size) noexcept
{
    if (headerOf(block)->mapped != 0) {
        std::byte* base = resizeMapping(mappingOf(block), size + kMappingPrefix);
        return base == nullptr ? nullptr : furnish(headerOf(base + kMappingPrefix), size, true);
    }
    void* raw = std::realloc(headerOf(block), size + sizeof(BlockHeader));
    return raw == nullptr ? nullptr : furnish(static_cast<BlockHeader*>(raw), size, false);
}

void* tryAllocate(std::size_t size, bool zeroed) noexcept
{
    return admit(size) ? newBlock(size, zeroed) : nullptr;
}

void* tryReallocate(void* block, std::size_t size) noexcept
{
    if (!admit(size)) {
        return nullptr;
    }
    if (block == nullptr) {
        return newBlock(size, false);
    }
    if (!isHeldByOthers(block) && (headerOf(block)->mapped != 0) == isMapped(size)) {
        return resizeInKind(block, size);
    }
    void* fresh = newBlock(size, false);
    if (fresh != nullptr) {
        std::memcpy(fresh, block, std::min(size, blockSize(block)));
        release(block);
    }
    return fresh;
}

void* orRaise(void* block, std::size_t size)
{
    if (block == nullptr) {
        raiseOutOfMemory(size);
    }
    return block;
}

} // namespace

std::size_t live_blocks()
{
    return liveBlocks.load(std::memory_order_relaxed);
}
long allocations()
{
    return requests.load(std::memory_order_relaxed);
}
void fail_allocation_after(long n)
{
    requestsUntilFailure.store(n, std::memory_order_relaxed);
}
void set_largest_block(std::size_t bytes)
{
    largestBlock.store(std::min(bytes, kLargestBlock), std::memory_order_relaxed);
}

void* allocate(std::size_t count, std::size_t size)
{
    const std::size_t bytes = product(count, size);
    return orRaise(tryAllocate(bytes, false), bytes);
}

void* allocateZeroed(std::size_t count, std::size_t size)
{
    const std::size_t bytes = product(count, size);
    return orRaise(tryAllocate(bytes, true), bytes);
}

void release(void* block) noexcept
{
    if (block == nullptr) {
        return;
    }
    BlockHeader* header = headerOf(block);
    const std::atomic_ref<unsigned> holders(header->holders);
    // A sole holder needs no read-modify-write: nobody else can add a hold.
    if (holders.load(std::memory_order_acquire) != 1 && holders.fetch_sub(1, std::memory_order_acq_rel) != 1) {
        return;
    }
    liveBlocks.fetch_sub(1, std::memory_order_relaxed);
    if (header->mapped != 0) {
        dropMapping(mappingOf(block));
    } else {
        std::free(header);
    }
}

void addHolder(void* block) noexcept
{
    if (block != nullptr) {
        std::atomic_ref(headerOf(block)->holders).fetch_add(1, std::memory_order_relaxed);
    }
}

bool isHeldByOthers(const void* block) noexcept
{
    if (block == nullptr) {
        return false;
    }
    auto& holders = const_cast<unsigned&>(headerOf(block)->holders); // atomic_ref reads through non-const only
    return std::atomic_ref(holders).load(std::memory_order_acquire) > 1;
}

std::size_t blockSize(const void* block) noexcept
{
    return headerOf(block)->size;
}

} // namespace kxrt

namespace matrix::detail::noninlined::kx_array_api {

using namespace kxrt;

void* kxMalloc(std::size_t size)
{
    return allocate(1, size);
}
void* kxCalloc(std::size_t count, std::size_t size)
{
    return allocateZeroed(count, size);
}
void* kxRealloc(void* block, std::size_t size)
{
    return orRaise(tryReallocate(block, size), size);
}
void kxFree(void* block)
{
    release(block);
}

void* kxMallocEx(std::size_t size)
{
    return tryAllocate(size, false);
}
void* kxCallocEx(std::size_t count, std::size_t size)
{
    return tryAllocate(product(count, size), true);
}
void kxFreeEx(void* block)
{
    release(block);
}
void* kxCallocExCheck(std::size_t count, std::size_t size)
{
    return allocateZeroed(count, size);
}
void* kxReallocExCheck(void* block, std::size_t size)
{
    return kxRealloc(block, size);
}

} // namespace matrix::detail::noninlined::kx_array_api
