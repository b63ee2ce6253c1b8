// Arrays at the edge of what may be read and written.
#ifndef ZQSP_TESTS_KERNELS_GUARDED_HPP
#define ZQSP_TESTS_KERNELS_GUARDED_HPP

#include <gtest/gtest.h>
#include <sys/mman.h>

#include <algorithm>
#include <cstddef>
#include <new>
#include <span>
#include <type_traits>
#include <vector>

namespace zqsp::test {

/// Pages between two that can be neither read nor written. They are used again and never given back.
class GuardedPages
{
  public:
    static constexpr std::size_t kGuard = 65536; // a multiple of any processor's page
    static constexpr std::size_t kSize = 2 * kGuard;

    GuardedPages()
    {
        if (!unused().empty()) {
            begin_ = unused().back();
            unused().pop_back();
            return;
        }
        void* const all = mmap(nullptr, kSize + 2 * kGuard, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (all == MAP_FAILED || mprotect(static_cast<std::byte*>(all) + kGuard, kSize, PROT_READ | PROT_WRITE) != 0) {
            throw std::bad_alloc();
        }
        begin_ = static_cast<std::byte*>(all) + kGuard;
    }
    ~GuardedPages() { unused().push_back(begin_); }
    GuardedPages(const GuardedPages&) = delete;
    GuardedPages& operator=(const GuardedPages&) = delete;

    [[nodiscard]] std::byte* begin() const { return begin_; }

  private:
    static std::vector<std::byte*>& unused()
    {
        static std::vector<std::byte*> blocks;
        return blocks;
    }
    std::byte* begin_;
};

/// Where the memory around an array ends.
enum class Edge
{
    kBefore,
    kBehind
};

/// A copy of some values that has unreadable memory on one side. On its other side lie bytes of which the destructor
/// checks that nobody changed them.
template <typename T>
class Guarded
{
    static_assert(std::is_trivially_copyable_v<T>);

  public:
    Guarded(const std::vector<T>& values, Edge edge)
    {
        const std::size_t bytes = values.size() * sizeof(T);
        if (bytes + kMargin > GuardedPages::kSize) {
            throw std::bad_alloc();
        }
        const bool atEnd = edge == Edge::kBehind;
        std::byte* const first = pages_.begin() + (atEnd ? GuardedPages::kSize - bytes : 0);
        margin_ = {atEnd ? first - kMargin : first + bytes, kMargin};
        std::ranges::fill(margin_, kUnchanged);
        elements_ = {reinterpret_cast<T*>(first), values.size()};
        std::ranges::copy(values, elements_.begin());
    }
    ~Guarded()
    {
        EXPECT_TRUE(std::ranges::all_of(margin_, [](std::byte b) { return b == kUnchanged; })) << "written outside";
    }
    Guarded(const Guarded&) = delete;
    Guarded& operator=(const Guarded&) = delete;

    [[nodiscard]] T* data() const { return elements_.data(); }
    [[nodiscard]] std::vector<T> values() const { return {elements_.begin(), elements_.end()}; }

  private:
    static constexpr std::size_t kMargin = 256;
    static constexpr std::byte kUnchanged{0xA5};

    GuardedPages pages_;
    std::span<std::byte> margin_;
    std::span<T> elements_;
};

} // namespace zqsp::test

#endif
