// A list that grows with what is found.
#ifndef ZQSP_CORE_GROWING_LIST_HPP
#define ZQSP_CORE_GROWING_LIST_HPP

#include "core/counts.hpp"
#include "core/owners.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <span>

namespace zqsp {

/// Elements in one block of the runtime's, doubled when it is full. Raises the size error past 2^32 - 1 elements.
template <typename T>
class GrowingList
{
  public:
    /// Makes an empty list's room for so many.
    void reserve(unsigned count)
    {
        elements_ = Block<T>::make(count);
        capacity_ = count;
    }
    void add(const T& element)
    {
        if (count_ == capacity_) {
            grow();
        }
        elements_[count_++] = element;
    }
    void add(std::span<const T> elements)
    {
        while (capacity_ - count_ < elements.size()) {
            grow();
        }
        std::copy(elements.begin(), elements.end(), elements_.get() + count_);
        count_ += static_cast<unsigned>(elements.size());
    }
    [[nodiscard]] unsigned count() const { return count_; }
    [[nodiscard]] T* data() { return elements_.get(); }
    [[nodiscard]] std::span<const T> elements() const { return {elements_.get(), count_}; }

  private:
    void grow()
    {
        constexpr std::uint64_t kFirst = 16;
        constexpr std::uint64_t kMost = std::numeric_limits<unsigned>::max();
        const std::uint64_t wanted = std::max(kFirst, std::uint64_t{capacity_} * 2);
        const unsigned capacity = checkedCount(capacity_ < kMost ? std::min(wanted, kMost) : wanted);
        auto larger = Block<T>::make(capacity);
        if (count_ > 0) {
            std::memcpy(larger.get(), elements_.get(), count_ * sizeof(T));
        }
        elements_ = std::move(larger);
        capacity_ = capacity;
    }

    Block<T> elements_;
    unsigned count_ = 0;
    unsigned capacity_ = 0;
};

} // namespace zqsp

#endif
