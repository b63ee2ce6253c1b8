#include "large_blocks.hpp"

#include "kx_runtime.hpp"

#include <pthread.h>
#include <sys/mman.h>

#include <atomic>
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

/// How a mapping begins.
struct MappingHead
{
    std::size_t length;
    std::byte* next; ///< of mappings about to be unmapped
};

MappingHead& headOf(std::byte* base)
{
    return *reinterpret_cast<MappingHead*>(base);
}

void unmapChain(std::byte* first) noexcept
{
    while (first != nullptr) {
        std::byte* base = std::exchange(first, headOf(first).next);
        munmap(base, headOf(base).length);
    }
}

/// Mappings given back, oldest first. Bounded in bytes; the bound in number is one that programs hardly meet: calls in
/// turns on a few matrices hold dozens of blocks, and where too few are kept each call evicts what the next one needs.
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
        const std::size_t length = headOf(base).length;
        std::byte* evicted = nullptr;
        {
            const std::lock_guard lock(mutex_);
            if (length > mostBytes_) {
                evicted = chain(base, evicted);
            } else {
                while (count_ == kSlots || bytes_ + length > mostBytes_) {
                    evicted = chain(removeSlot(0), evicted);
                }
                slots_[count_++] = {base, length};
                bytes_ += length;
            }
        }
        unmapChain(evicted); // other threads need not wait for the system
    }

    void unmapAll() noexcept
    {
        std::byte* all = nullptr;
        {
            const std::lock_guard lock(mutex_);
            while (count_ != 0) {
                all = chain(removeSlot(count_ - 1), all);
            }
        }
        unmapChain(all);
    }

    /// Keeps nothing from now on.
    void close() noexcept
    {
        {
            const std::lock_guard lock(mutex_);
            mostBytes_ = 0;
        }
        unmapAll();
    }

    std::mutex& mutex() noexcept { return mutex_; }

  private:
    struct Slot
    {
        std::byte* base;
        std::size_t length;
    };

    static constexpr std::size_t kSlots = 128;

    static std::byte* chain(std::byte* base, std::byte* next) noexcept
    {
        headOf(base).next = next;
        return base;
    }

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
    std::size_t mostBytes_ = std::size_t{256} << 20;
};

constinit MappingCache cache;
constinit std::atomic<long> freshMappings{0};

/// A fork waits until no other thread is inside the cache, so that the child finds it whole and unlocked. Nothing is
/// kept beyond the library's own life; blocks freed later than that go straight back to the system.
struct CacheLife
{
    CacheLife()
    {
        const auto unlock = [] { cache.mutex().unlock(); };
        pthread_atfork([] { cache.mutex().lock(); }, unlock, unlock);
    }
    ~CacheLife() { cache.close(); }
};
const CacheLife cacheLife;

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
        freshMappings.fetch_add(1, std::memory_order_relaxed);
        headOf(base).length = length;
    }
    return {base, true};
}

std::byte* resizeMapping(std::byte* base, std::size_t bytes) noexcept
{
    const std::size_t have = headOf(base).length;
    const std::size_t length = mappedLength(bytes);
    if (length <= have && length >= have / 4) { // a kept one may have been twice as long as its taker asked for
        return base;
    }
    void* moved = mremap(base, have, length, MREMAP_MAYMOVE);
    if (moved == MAP_FAILED) {
        return nullptr;
    }
    auto* result = static_cast<std::byte*>(moved);
    headOf(result).length = length;
    return result;
}

void dropMapping(std::byte* base) noexcept
{
    cache.put(base);
}

void unmapKept() noexcept
{
    cache.unmapAll();
}

long fresh_mappings()
{
    return freshMappings.load(std::memory_order_relaxed);
}

} // namespace kxrt
