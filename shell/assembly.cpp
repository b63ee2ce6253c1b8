#include "assembly.hpp"

#include "interrupt.hpp"

#include <algorithm>
#include <limits>
#include <utility>
#include <vector>

namespace kxsh {

namespace {

template <typename T>
T sumOf(T a, T b)
{
    if constexpr (std::is_same_v<T, bool>) {
        return a || b;
    } else if constexpr (std::is_integral_v<T>) {
        T sum{};
        if (__builtin_add_overflow(a, b, &sum)) {
            return b < T{} ? std::numeric_limits<T>::min() : std::numeric_limits<T>::max();
        }
        return sum;
    } else {
        return a + b;
    }
}

/// Puts the entries of columns into order and onto each other, moving them to the front of the blocks.
template <typename T>
class Columns
{
  public:
    explicit Columns(Value& value) : rows_(value.rowIndices()), re_(value.data<T>()), im_(value.imagData<T>()) {}

    void settle(unsigned first, unsigned stop)
    {
        if (!std::is_sorted(rows_ + first, rows_ + stop)) {
            sort(first, stop);
        }
        for (unsigned k = first; k < stop;) {
            const unsigned row = rows_[k];
            T re = re_[k];
            T im = im_ != nullptr ? im_[k] : T{};
            for (++k; k < stop && rows_[k] == row; ++k) {
                re = sumOf(re, re_[k]);
                im = im_ != nullptr ? sumOf(im, im_[k]) : T{};
            }
            if (re != T{} || im != T{}) {
                rows_[kept_] = row;
                re_[kept_] = re;
                if (im_ != nullptr) {
                    im_[kept_] = im;
                }
                ++kept_;
            }
        }
    }
    [[nodiscard]] unsigned kept() const { return kept_; }

  private:
    void sort(unsigned first, unsigned stop)
    {
        order_.clear();
        for (unsigned k = first; k < stop; ++k) {
            order_.emplace_back(rows_[k], k);
        }
        std::sort(order_.begin(), order_.end(), PollingLess()); // equal rows stay in the order of their entries
        permute(re_, first);
        if (im_ != nullptr) {
            permute(im_, first);
        }
        for (std::size_t k = 0; k < order_.size(); ++k) {
            rows_[first + k] = order_[k].first;
        }
    }
    void permute(T* values, unsigned first)
    {
        scratch_.clear();
        for (const auto& [row, from] : order_) {
            scratch_.push_back(values[from]);
        }
        std::copy(scratch_.begin(), scratch_.end(), values + first);
    }

    unsigned* rows_;
    T* re_;
    T* im_;
    unsigned kept_ = 0;
    std::vector<std::pair<unsigned, unsigned>> order_;
    std::vector<T> scratch_;
};

} // namespace

void Assembly::startPlacing()
{
    const unsigned room = entryCount(total_);
    if (room == 0) {
        return;
    }
    setCapacity(value_, room);
    rows_ = value_.rowIndices();
    re_ = value_.get()->pr;
    im_ = value_.isComplex() ? value_.get()->pi : nullptr;
    unsigned first = 0;
    for (unsigned j = 0; j < value_.columns(); ++j) {
        pollInterrupt();
        starts_[j] = std::exchange(first, first + starts_[j + 1]);
    }
}

Value Assembly::finish()
{
    unsigned kept = 0;
    if (total_ != 0) {
        withElementType(value_.classId(), [&]<typename T>(std::type_identity<T>) {
            Columns<T> columns(value_);
            unsigned first = 0;
            for (unsigned j = 0; j < value_.columns(); ++j) {
                pollInterrupt();
                const unsigned stop = starts_[j];
                starts_[j] = columns.kept();
                columns.settle(std::exchange(first, stop), stop);
            }
            kept = columns.kept();
        });
        starts_[value_.columns()] = kept;
    }
    setCapacity(value_, kept);
    kx::kxFreeImagIfZero(value_.get());
    return std::move(value_);
}

} // namespace kxsh
