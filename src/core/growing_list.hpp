// A list that grows with what is found.
#ifndef ZQSP_CORE_GROWING_LIST_HPP
#define ZQSP_CORE_GROWING_LIST_HPP

#include "core/owners.hpp"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <span>

namespace zqsp {

/// Elements in one block of the runtime's, doubled when it is full.
template <typename T>
class GrowingList
{
  public:
    void add(const T& element)
    {
        if (count_ == capacity_) {
            grow();
        }
        elements_[count_++] = element;
    }
    [[nodiscard]] unsigned count() const { return count_; }
    [[nodiscard]] T* data() { return elements_.get(); }
    [[nodiscard]] std::span<const T> elements() const { return {elements_.get(), count_}; }

  private:
    void grow()
    {
        constexpr unsigned kFirst = 16;
        const unsigned capacity = std::max(kFirst, capacity_ * 2);
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
