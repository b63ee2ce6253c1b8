// What each thread keeps for itself: its share of the counts, and small blocks given back.
//
// A call on a tiny matrix obtains and frees half a dozen blocks, and does little else. Counts that threads share would
// cost it a locked instruction each time, and the heap twice the instructions of a list of one's own.
#ifndef KX_THREAD_MEMORY_HPP
#define KX_THREAD_MEMORY_HPP

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

// Under AddressSanitizer every block comes from the heap in its exact size and goes back there, so that use after
// release and overruns are seen.
#if defined(__SANITIZE_ADDRESS__)
#define KX_REUSE_BLOCKS false
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define KX_REUSE_BLOCKS false
#endif
#endif
#ifndef KX_REUSE_BLOCKS
#define KX_REUSE_BLOCKS true
#endif

namespace kxrt {

/// Whether released blocks are kept for later requests.
constexpr bool kReusesBlocks = KX_REUSE_BLOCKS;

/// What is counted. Of one thread alone any of them may be negative, or mean nothing: blocks change threads.
enum class Count : unsigned
{
    requests,
    bytesRequested,
    settled ///< requests that made no block, and blocks that are no more
};
constexpr std::size_t kCounts = 3;

/// Small blocks come in multiples of this many bytes, header included.
constexpr std::size_t kSmallStep = 32;
constexpr unsigned kSmallClasses = 32;
constexpr std::size_t kLargestSmall = kSmallStep * kSmallClasses;

/// Each class has a list of the blocks that a thread keeps; of others none are.
constexpr unsigned kListOfNone = kSmallClasses;

/// The class of a block of `bytes` bytes, at least 1 and at most kLargestSmall.
constexpr unsigned smallClass(std::size_t bytes)
{
    return static_cast<unsigned>((bytes - 1) / kSmallStep);
}
constexpr std::size_t smallClassBytes(unsigned smallClass)
{
    return (smallClass + 1) * kSmallStep;
}

class ThreadMemory
{
  public:
    /// The calling thread's own. Before its first allocation, and in the rare case that there is no memory for it,
    /// one that belongs to nobody: nothing is in it, and it keeps nothing.
    static ThreadMemory& existing() noexcept { return *current; }
    /// The latter.
    static ThreadMemory& nobody() noexcept { return nobodys; }
    /// The thread's own, made where it is not there yet; null where there is no memory for it.
    static ThreadMemory* mine() noexcept { return current != &nobodys ? current : enroll(); }

    /// Adds to this thread's share.
    void add(Count count, std::int64_t n) noexcept
    {
        // Written by the owner alone, read by anybody.
        std::atomic<std::int64_t>& share = shares_[static_cast<unsigned>(count)];
        share.store(share.load(std::memory_order_relaxed) + n, std::memory_order_relaxed);
    }
    /// The same, or to the common share where there is no thread's own.
    static void add(ThreadMemory* own, Count count, std::int64_t n) noexcept
    {
        own != nullptr ? own->add(count, n) : addToCommon(count, n);
    }
    /// The sum over all threads, living or not. Exact for what happened before the call.
    static std::int64_t total(Count count) noexcept;

    /// A heap block out of a list, or null.
    void* take(unsigned number) noexcept
    {
        List& list = lists_[number];
        KeptBlock* block = list.first;
        if (block != nullptr) {
            list.first = block->next;
            ++list.room;
        }
        return block;
    }
    /// Keeps a heap block in a list; false where enough of them are.
    bool keep(void* block, unsigned number) noexcept
    {
        List& list = lists_[number];
        if (list.room == 0) {
            return false;
        }
        list.first = ::new (block) KeptBlock{list.first};
        --list.room;
        return true;
    }
    /// Gives the kept blocks back to the heap.
    void freeKept() noexcept;

  private:
    struct KeptBlock
    {
        KeptBlock* next;
    };
    struct List
    {
        KeptBlock* first = nullptr;
        unsigned room = 0; ///< for so many more
    };
    /// Of each class: 264 KiB in all at most.
    static constexpr unsigned kMostKept = 16;

    friend struct Threads;

    static ThreadMemory* enroll() noexcept;
    static void addToCommon(Count count, std::int64_t n) noexcept;

    [[gnu::tls_model("initial-exec")]] static constinit thread_local ThreadMemory* current;
    static constinit ThreadMemory nobodys; ///< has no room

    std::array<List, kSmallClasses + 1> lists_ = {}; ///< the last one has no room
    std::array<std::atomic<std::int64_t>, kCounts> shares_ = {};
    ThreadMemory* next_ = nullptr; ///< of the enrolled ones
    ThreadMemory* previous_ = nullptr;
};

} // namespace kxrt

#endif
