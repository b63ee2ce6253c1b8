#include "large_blocks.hpp"

#include <sys/mman.h>

#include <cstdint>
#include <mutex>
#include <utility>

namespace kxrt {
namespace {

constexpr std::size_t kPage = 4096;
constexpr std::size_t kHugePage = std::size_t{2} << 20;
/// From here on mappings are whole huge pages; the rounding wastes less than half.
constexpr std::size_t kHugeMapping = kHugePage + kHugePage / 2;

constexpr std::size_t roundUp(std::size_t bytes, std::size_t unit)
{
    return (bytes + unit - 1) / unit * unit;
}

constexpr std::size_t mappedLength(std::size_t bytes)
{
    return roundUp(bytes, bytes >= kHugeMapping ? kHugePage : kPage);
}

std::size_t& lengthOf(std::byte* base)
{
    return *reinterpret_cast<std::size_t*>(base);
}

/// Mappings given back, oldest first. Bounded in number and in bytes.
class MappingCache
{
  public:
    /// The shortest mapping kept that holds `length` without wasting more than half of itself, of equals the one given
    /// back last, which is the likeliest to be cached still; null when there is none.
    std::byte* take(std::size_t length) noexcept
    {
        const std::lock_guard lock(mutex_);
        std::size_t best = count_;
        for (std::size_t i = 0; i < count_; ++i) {
            const std::size_t have = slots_[i].length;
            if (have >= length && have <= 2 * length && (best == count_ || have <= slots_[best].length)) {
                best = i;
            }
        }
        return best == count_ ? nullptr : removeSlot(best);
    }

    /// Keeps the mapping, at the cost of the oldest ones; a mapping too long to be kept is unmapped.
    void put(std::byte* base) noexcept
    {
        const std::size_t length = lengthOf(base);
        if (length > kMostBytes) {
            munmap(base, length);
            return;
        }
        std::unique_lock lock(mutex_);
        while (count_ == kSlots || bytes_ + length > kMostBytes) {
            std::byte* oldest = removeSlot(0);
            munmap(oldest, lengthOf(oldest));
        }
        slots_[count_++] = {base, length};
        bytes_ += length;
    }

  private:
    struct Slot
    {
        std::byte* base;
        std::size_t length;
    };

    static constexpr std::size_t kSlots = 16;
    static constexpr std::size_t kMostBytes = std::size_t{256} << 20;

    std::byte* removeSlot(std::size_t slot) noexcept
    {
        const Slot removed = slots_[slot];
        for (; slot + 1 < count_; ++slot) {
            slots_[slot] = slots_[slot + 1];
        }
        --count_;
        bytes_ -= removed.length;
        return removed.base;
    }

    std::mutex mutex_;
    Slot slots_[kSlots] = {};
    std::size_t count_ = 0;
    std::size_t bytes_ = 0;
};

constinit MappingCache cache;

/// A fresh mapping, aligned to huge pages where it is long enough for them.
std::byte* mapFresh(std::size_t length) noexcept
{
    const std::size_t slack = length >= kHugeMapping ? kHugePage : 0;
    void* raw = mmap(nullptr, length + slack, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (raw == MAP_FAILED) {
        return nullptr;
    }
    auto* start = static_cast<std::byte*>(raw);
    if (slack != 0) {
        const std::size_t head = (kHugePage - reinterpret_cast<std::uintptr_t>(start) % kHugePage) % kHugePage;
        if (head != 0) {
            munmap(start, head);
        }
        if (head != slack) {
            munmap(start + head + length, slack - head);
        }
        start += head;
        madvise(start, length, MADV_HUGEPAGE); // advice only: without it the block is merely slower
    }
    return start;
}

} // namespace

Mapping takeMapping(std::size_t bytes) noexcept
{
    const std::size_t length = mappedLength(bytes);
    if (std::byte* kept = cache.take(length)) {
        return {kept, false};
    }
    std::byte* base = mapFresh(length);
    if (base != nullptr) {
        lengthOf(base) = length;
    }
    return {base, true};
}

std::byte* resizeMapping(std::byte* base, std::size_t bytes) noexcept
{
    const std::size_t have = lengthOf(base);
    const std::size_t length = mappedLength(bytes);
    if (length <= have && length >= have / 2) {
        return base;
    }
    void* moved = mremap(base, have, length, MREMAP_MAYMOVE);
    if (moved == MAP_FAILED) {
        return nullptr;
    }
    auto* result = static_cast<std::byte*>(moved);
    lengthOf(result) = length;
    return result;
}

void dropMapping(std::byte* base) noexcept
{
    cache.put(base);
}

} // namespace kxrt
