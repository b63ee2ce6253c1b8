// Blocks behind a header of their own, so that no other allocator can free them, and filled with a pattern, so that
// nobody can rely on zeros that were not asked for.
#include "minimal_runtime.hpp"

#include <cstdlib>
#include <cstring>
#include <new>

namespace {

constexpr std::size_t kHeader = 16;
constexpr std::size_t kLargest = std::size_t{1} << 38;
constexpr int kPattern = 0xA5;

std::size_t inUse = 0;

} // namespace

std::size_t kxrt::live_blocks()
{
    return inUse;
}

namespace matrix::detail::noninlined::kx_array_api {

void* kxMalloc(std::size_t size)
{
    void* block = size <= kLargest ? std::malloc(size + kHeader) : nullptr;
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    ++inUse;
    return std::memset(static_cast<char*>(block) + kHeader, kPattern, size);
}

void* kxCalloc(std::size_t count, std::size_t size)
{
    std::size_t bytes = 0;
    if (__builtin_mul_overflow(count, size, &bytes)) {
        throw std::bad_alloc();
    }
    return std::memset(kxMalloc(bytes), 0, bytes);
}

void* kxCallocEx(std::size_t count, std::size_t size)
{
    return kxCalloc(count, size);
}

void* kxCallocExCheck(std::size_t count, std::size_t size)
{
    return kxCalloc(count, size);
}

void* kxReallocExCheck(void* block, std::size_t size)
{
    void* resized = size <= kLargest ? std::realloc(static_cast<char*>(block) - kHeader, size + kHeader) : nullptr;
    if (resized == nullptr) {
        throw std::bad_alloc();
    }
    return static_cast<char*>(resized) + kHeader;
}

void kxFree(void* block)
{
    if (block != nullptr) {
        std::free(static_cast<char*>(block) - kHeader);
        --inUse;
    }
}

void kxFreeEx(void* block)
{
    kxFree(block);
}

} // namespace matrix::detail::noninlined::kx_array_api
