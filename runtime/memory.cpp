// The allocator. Each block is preceded by a header of 16 bytes; the data that follows it is aligned to 16 bytes,
// in a mapped block to 64. Small blocks are heap blocks in a few sizes, of which each thread keeps some; large ones are
// mappings.
#include "memory.hpp"

#include "errors.hpp"
#include "kx_runtime.hpp"
#include "large_blocks.hpp"
#include "small_blocks.hpp"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace kxrt {
namespace {

/// Where the data of a mapped block begins within its mapping.
constexpr std::size_t kMappingPrefix = 64;
/// No array needs a block this large: 2^32 complex elements come in two blocks of 32 GiB.
constexpr std::size_t kLargestBlock = std::size_t{1} << 36;
/// What an overflowing product of count and size is taken for.
constexpr std::size_t kImpossibleSize = std::numeric_limits<std::size_t>::max();

constinit std::atomic<long> requestsUntilFailure{-1};
constinit std::atomic<std::size_t> largestBlock{kLargestBlock};

std::byte* mappingOf(void* block)
{
    return static_cast<std::byte*>(block) - kMappingPrefix;
}

std::size_t product(std::size_t count, std::size_t size)
{
    std::size_t bytes = 0;
    return __builtin_mul_overflow(count, size, &bytes) ? kImpossibleSize : bytes;
}

/// Whether the request must fail, and counts down to it.
bool isToFail() noexcept
{
    return requestsUntilFailure.load(std::memory_order_relaxed) > 0 &&
           requestsUntilFailure.fetch_sub(1, std::memory_order_relaxed) == 1;
}

void updateRefusal() noexcept
{
    refusesSmall.store(requestsUntilFailure.load(std::memory_order_relaxed) > 0 ||
                           largestBlock.load(std::memory_order_relaxed) < kLargestSmall,
                       std::memory_order_relaxed);
}

/// Counts a request; whether it may be met.
bool admit(ThreadMemory* own, std::size_t size) noexcept
{
    ThreadMemory::add(own, Count::requests, 1);
    if (isToFail() || size > largestBlock.load(std::memory_order_relaxed)) {
        ThreadMemory::add(own, Count::settled, 1);
        return false;
    }
    ThreadMemory::add(own, Count::bytesRequested, static_cast<std::int64_t>(size));
    return true;
}

enum class Kind
{
    small,
    plain,
    mapped
};

constexpr Kind kindFor(std::size_t size)
{
    if (!kReusesBlocks) {
        return Kind::plain;
    }
    if (isSmall(size)) {
        return Kind::small;
    }
    return size >= kLargeBlock ? Kind::mapped : Kind::plain;
}

/// The bytes of the heap block behind a block that is not mapped.
constexpr std::size_t heapBytes(std::size_t size)
{
    return kindFor(size) == Kind::small ? smallClassBytes(listFor(size)) : size + sizeof(BlockHeader);
}

void* newMapped(std::size_t size, bool zeroed) noexcept
{
    const Mapping mapping = takeMapping(size + kMappingPrefix);
    if (mapping.base == nullptr) {
        return nullptr;
    }
    void* block = furnish(headerOf(mapping.base + kMappingPrefix), size);
    if (zeroed && !mapping.zeroed) {
        std::memset(block, 0, size);
    }
    return block;
}

void* newOnHeap(std::size_t size, bool zeroed) noexcept
{
    void* raw = zeroed ? std::calloc(1, heapBytes(size)) : std::malloc(heapBytes(size));
    return raw == nullptr ? nullptr : furnish(raw, size);
}

/// A block of its own, not counted as a request; null on failure.
void* newBlock(ThreadMemory* own, std::size_t size, bool zeroed) noexcept
{
    void* block = kindFor(size) == Kind::mapped ? newMapped(size, zeroed) : newOnHeap(size, zeroed);
    if (block == nullptr) {
        ThreadMemory::add(own, Count::settled, 1);
    }
    return block;
}

/// Resizes a block without other holders in its own kind of memory; null (block unchanged) on failure.
void* resizeInKind(void* block, std::size_t size) noexcept
{
    if (kindFor(size) == Kind::mapped) {
        std::byte* base = resizeMapping(mappingOf(block), size + kMappingPrefix);
        return base == nullptr ? nullptr : furnish(headerOf(base + kMappingPrefix), size);
    }
    void* raw = std::realloc(headerOf(block), heapBytes(size));
    return raw == nullptr ? nullptr : furnish(raw, size);
}

void* tryReallocate(void* block, std::size_t size) noexcept
{
    ThreadMemory* own = ThreadMemory::mine();
    if (!admit(own, size)) {
        return nullptr;
    }
    if (block == nullptr) {
        return newBlock(own, size, false);
    }
    ThreadMemory::add(own, Count::bytesRequested, -static_cast<std::int64_t>(blockSize(block)));
    if (!isHeldByOthers(block) && kindFor(blockSize(block)) == kindFor(size)) {
        ThreadMemory::add(own, Count::settled, 1);
        return resizeInKind(block, size);
    }
    void* fresh = newBlock(own, size, false);
    if (fresh != nullptr) {
        std::memcpy(fresh, block, std::min(size, blockSize(block)));
        release(block);
    }
    return fresh;
}

} // namespace

constinit std::atomic<bool> refusesSmall{false};

void* allocateElsewhere(std::size_t size, bool zeroed) noexcept
{
    ThreadMemory* own = ThreadMemory::mine();
    return admit(own, size) ? newBlock(own, size, zeroed) : nullptr;
}

[[gnu::noinline]] bool dropLast(BlockHeader* header) noexcept
{
    return std::atomic_ref(header->holders).fetch_sub(1, std::memory_order_acq_rel) == 1;
}

void releaseElsewhere(BlockHeader* header) noexcept
{
    ThreadMemory::add(ThreadMemory::mine(), Count::settled, 1);
    if (kindFor(header->size) == Kind::mapped) {
        dropMapping(mappingOf(header + 1));
    } else {
        std::free(header);
    }
}

std::size_t live_blocks()
{
    const std::int64_t settled = ThreadMemory::total(Count::settled); // first: never more than there were requests
    return static_cast<std::size_t>(ThreadMemory::total(Count::requests) - settled);
}
long allocations()
{
    return static_cast<long>(ThreadMemory::total(Count::requests));
}
std::size_t bytes_requested()
{
    return static_cast<std::size_t>(ThreadMemory::total(Count::bytesRequested));
}
void fail_allocation_after(long n)
{
    requestsUntilFailure.store(n, std::memory_order_relaxed);
    updateRefusal();
}
void set_largest_block(std::size_t bytes)
{
    largestBlock.store(std::min(bytes, kLargestBlock), std::memory_order_relaxed);
    updateRefusal();
}
void release_kept_blocks()
{
    if (ThreadMemory* own = ThreadMemory::mine()) {
        own->freeKept();
    }
    unmapKept();
}

void* allocate(std::size_t count, std::size_t size)
{
    return BlockSource().take(product(count, size));
}

void* allocateZeroed(std::size_t count, std::size_t size)
{
    return BlockSource().take(product(count, size), true);
}

void release(void* block) noexcept
{
    BlockSink().drop(block);
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
    void* resized = tryReallocate(block, size);
    if (resized == nullptr) {
        raiseOutOfMemory(size);
    }
    return resized;
}
void kxFree(void* block)
{
    release(block);
}

void* kxMallocEx(std::size_t size)
{
    return BlockSource().tryTake(size, false);
}
void* kxCallocEx(std::size_t count, std::size_t size)
{
    return BlockSource().tryTake(product(count, size), true);
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
