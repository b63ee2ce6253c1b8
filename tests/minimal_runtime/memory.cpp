// The pool: blocks of powers of two, cut from slabs and kept in free lists that are never given back. Fresh blocks are
// filled with a pattern, so that nobody can rely on zeros that were not asked for.
#include "minimal_runtime.hpp"

#include <bit>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

namespace {

struct Header
{
    std::size_t order; // the block has 2^order bytes, header included
    Header* next;      // in a free list
};
static_assert(sizeof(Header) == 16);

constexpr std::size_t kSmallestOrder = 6;
constexpr std::size_t kOrders = 40;
constexpr std::size_t kSlab = std::size_t{1} << 20;
constexpr int kPattern = 0xA5;

struct Pool
{
    Header* free[kOrders] = {};
    std::vector<std::unique_ptr<std::byte[]>> slabs;
    std::byte* next = nullptr;
    std::size_t left = 0;
    std::size_t inUse = 0;

    std::byte* cut(std::size_t bytes)
    {
        if (bytes > left) {
            left = bytes > kSlab ? bytes : kSlab;
            slabs.push_back(std::make_unique<std::byte[]>(left));
            next = slabs.back().get();
        }
        std::byte* block = next;
        next += bytes;
        left -= bytes;
        return block;
    }
};

Pool pool;

void* allocate(std::size_t size)
{
    if (size > (std::size_t{1} << (kOrders - 2))) {
        throw std::bad_alloc();
    }
    std::size_t order = static_cast<std::size_t>(std::bit_width(size + sizeof(Header) - 1));
    order = order < kSmallestOrder ? kSmallestOrder : order;
    Header* header = pool.free[order];
    if (header != nullptr) {
        pool.free[order] = header->next;
    } else {
        header = new (pool.cut(std::size_t{1} << order)) Header{order, nullptr};
    }
    ++pool.inUse;
    void* data = header + 1;
    std::memset(data, kPattern, (std::size_t{1} << order) - sizeof(Header));
    return data;
}

} // namespace

namespace minrt {

std::size_t blocksInUse()
{
    return pool.inUse;
}

} // namespace minrt

namespace matrix::detail::noninlined::kx_array_api {

void* kxMalloc(std::size_t size)
{
    return allocate(size);
}

void* kxCalloc(std::size_t count, std::size_t size)
{
    std::size_t bytes = 0;
    if (__builtin_mul_overflow(count, size, &bytes)) {
        throw std::bad_alloc();
    }
    return std::memset(allocate(bytes), 0, bytes);
}

void kxFree(void* block)
{
    if (block != nullptr) {
        Header* header = static_cast<Header*>(block) - 1;
        header->next = pool.free[header->order];
        pool.free[header->order] = header;
        --pool.inUse;
    }
}

void* kxRealloc(void* block, std::size_t size)
{
    void* larger = allocate(size);
    if (block != nullptr) {
        const std::size_t held = (std::size_t{1} << (static_cast<Header*>(block) - 1)->order) - sizeof(Header);
        std::memcpy(larger, block, held < size ? held : size);
        kxFree(block);
    }
    return larger;
}

void* kxMallocEx(std::size_t size)
{
    try {
        return kxMalloc(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

void* kxCallocEx(std::size_t count, std::size_t size)
{
    try {
        return kxCalloc(count, size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

void kxFreeEx(void* block)
{
    kxFree(block);
}

void* kxCallocExCheck(std::size_t count, std::size_t size)
{
    return kxCalloc(count, size);
}

void* kxReallocExCheck(void* block, std::size_t size)
{
    return kxRealloc(block, size);
}

} // namespace matrix::detail::noninlined::kx_array_api
