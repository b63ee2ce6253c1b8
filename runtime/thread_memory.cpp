#include "thread_memory.hpp"

#include <pthread.h>

#include <cstdlib>
#include <mutex>
#include <new>
#include <utility>

namespace kxrt {

constinit ThreadMemory ThreadMemory::nobodys;
constinit thread_local ThreadMemory* ThreadMemory::current = &nobodys;

/// The enrolled threads, and the counts of those that have ended. A thread that ends gives its kept blocks back.
struct Threads
{
    std::mutex mutex;
    std::array<std::int64_t, kCounts> common = {};
    ThreadMemory* first = nullptr;
    pthread_key_t key = 0;
    bool open = false; ///< whether the key is there

    void insert(ThreadMemory* memory) noexcept
    {
        const std::lock_guard lock(mutex);
        memory->next_ = first;
        if (first != nullptr) {
            first->previous_ = memory;
        }
        first = memory;
    }

    /// Takes the thread's counts over and destroys what it had.
    void remove(ThreadMemory* memory) noexcept
    {
        {
            const std::lock_guard lock(mutex);
            for (std::size_t i = 0; i < kCounts; ++i) {
                common[i] += memory->shares_[i].load(std::memory_order_relaxed);
            }
            (memory->previous_ != nullptr ? memory->previous_->next_ : first) = memory->next_;
            if (memory->next_ != nullptr) {
                memory->next_->previous_ = memory->previous_;
            }
        }
        memory->freeKept();
        memory->~ThreadMemory();
        std::free(memory);
    }

    static void leave(void* memory) noexcept;
};

namespace {

constinit Threads threads;

/// Not a thread_local object with a destructor: that would keep the library loaded as long as the thread lives.
struct ThreadsLife
{
    ThreadsLife()
    {
        threads.open = pthread_key_create(&threads.key, Threads::leave) == 0;
        // The child of a fork finds the list whole and unlocked; threads that are not in it have then not ended, and
        // their counts go on to be added.
        const auto unlock = [] { threads.mutex.unlock(); };
        pthread_atfork([] { threads.mutex.lock(); }, unlock, unlock);
    }
    /// The library goes, or the process ends while other threads may still be at work: they keep what they have.
    ~ThreadsLife()
    {
        if (std::exchange(threads.open, false)) {
            void* own = pthread_getspecific(threads.key);
            pthread_key_delete(threads.key);
            if (own != nullptr) {
                Threads::leave(own);
            }
        }
    }
};
const ThreadsLife threadsLife;

} // namespace

void Threads::leave(void* memory) noexcept
{
    ThreadMemory::current = &ThreadMemory::nobodys; // first: freeing must not keep blocks in a list that goes
    threads.remove(static_cast<ThreadMemory*>(memory));
}

ThreadMemory* ThreadMemory::enroll() noexcept
{
    void* raw = threads.open ? std::malloc(sizeof(ThreadMemory)) : nullptr;
    if (raw == nullptr) {
        return nullptr;
    }
    auto* made = ::new (raw) ThreadMemory;
    for (unsigned i = 0; i < kSmallClasses; ++i) {
        made->lists_[i].room = kMostKept;
    }
    if (pthread_setspecific(threads.key, made) != 0) {
        std::free(raw);
        return nullptr;
    }
    threads.insert(made);
    current = made;
    return made;
}

void ThreadMemory::addToCommon(Count count, std::int64_t n) noexcept
{
    const std::lock_guard lock(threads.mutex);
    threads.common[static_cast<unsigned>(count)] += n;
}

std::int64_t ThreadMemory::total(Count count) noexcept
{
    const auto i = static_cast<unsigned>(count);
    const std::lock_guard lock(threads.mutex);
    std::int64_t sum = threads.common[i];
    for (const ThreadMemory* memory = threads.first; memory != nullptr; memory = memory->next_) {
        sum += memory->shares_[i].load(std::memory_order_relaxed);
    }
    return sum;
}

void ThreadMemory::freeKept() noexcept
{
    for (unsigned i = 0; i < kSmallClasses; ++i) {
        while (void* block = take(i)) {
            std::free(block);
        }
    }
}

} // namespace kxrt
