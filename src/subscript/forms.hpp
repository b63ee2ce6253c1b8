// The four forms of a converted subscript. All indices are 0-based and below the extent they were converted for.
//
// Every form knows how many indices it selects, what is known of their order, and the highest. Handing them out is
// subscript/walk.hpp's business.
#ifndef ZQSP_SUBSCRIPT_FORMS_HPP
#define ZQSP_SUBSCRIPT_FORMS_HPP

#include "core/owners.hpp"
#include "kernels/mask_bits.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>
#include <variant>

namespace zqsp {

/// What is known of the order of a selection.
enum class Order
{
    kAscending,  ///< non-decreasing
    kDescending, ///< non-increasing
    kUnsorted
};

/// An arithmetic progression; all fields 0 when it selects nothing.
struct IndexRange
{
    unsigned first = 0;
    unsigned last = 0; ///< the last index reached
    int stride = 0;    ///< never 0 in a range that selects something
    unsigned size = 0;

    IndexRange() = default;
    IndexRange(unsigned rangeFirst, unsigned rangeLast, int rangeStride, unsigned rangeSize)
    {
        if (rangeStride != 0 && rangeSize != 0) {
            first = rangeFirst;
            last = rangeLast;
            stride = rangeStride;
            size = rangeSize;
        }
    }

    /// 0, 1, ..., extent-1: what the bare colon selects.
    static IndexRange all(unsigned extent) { return {0, extent - 1, 1, extent}; }
    static IndexRange single(unsigned index) { return {index, index, 1, 1}; }

    [[nodiscard]] unsigned count() const { return size; }
    [[nodiscard]] Order order() const { return stride < 0 ? Order::kDescending : Order::kAscending; }
    /// The same set in ascending order.
    [[nodiscard]] IndexRange ascending() const { return stride < 0 ? IndexRange(last, first, -stride, size) : *this; }
    /// Of an ascending range, what lies below `limit`.
    [[nodiscard]] IndexRange below(std::uint64_t limit) const
    {
        if (size == 0 || last < limit) {
            return *this;
        }
        const auto step = static_cast<unsigned>(stride);
        const unsigned count = first < limit ? (static_cast<unsigned>(limit) - 1 - first) / step + 1 : 0;
        return {first, first + (count - 1) * step, stride, count};
    }
    [[nodiscard]] unsigned highest() const { return stride < 0 ? first : last; }
    /// Whether the range is a run of neighbours in ascending order.
    [[nodiscard]] bool isRun() const { return stride == 1; }
    unsigned operator[](std::size_t i) const
    {
        return first + static_cast<unsigned>(i) * static_cast<unsigned>(stride);
    }
};

/// An explicit list in subscript order, repeats kept. It owns its indices, or borrows a caller's.
class IndexList
{
  public:
    /// Takes over `count` indices.
    IndexList(Block<unsigned> indices, unsigned count, Order order)
        : storage_(std::move(indices)), indices_(storage_.get()), count_(count), order_(order)
    {
    }
    /// Borrows `count` indices that outlive the list.
    IndexList(const unsigned* indices, unsigned count, Order order) : indices_(indices), count_(count), order_(order) {}

    /// The indices in a block of one's own: the list's, which is not to be used any more, or a copy of a caller's.
    [[nodiscard]] Block<unsigned> take()
    {
        if (!storage_) {
            storage_ = Block<unsigned>::make(count_);
            std::copy_n(indices_, count_, storage_.get());
        }
        return std::move(storage_);
    }

    [[nodiscard]] unsigned count() const { return count_; }
    [[nodiscard]] Order order() const { return order_; }
    unsigned operator[](std::size_t i) const { return indices_[i]; }
    /// Of a list that is not empty.
    [[nodiscard]] unsigned highest() const
    {
        return order_ == Order::kUnsorted ? *std::max_element(begin(), end()) : std::max(begin()[0], end()[-1]);
    }
    [[nodiscard]] const unsigned* begin() const { return indices_; }
    [[nodiscard]] const unsigned* end() const { return indices_ + count_; }

  private:
    Block<unsigned> storage_; // empty when the indices are borrowed
    const unsigned* indices_;
    unsigned count_;
    Order order_;
};

/// A full logical subscript seen through its bytes: the positions of the non-zero ones, ascending. The last one seen is
/// one of these.
struct LogicalMask
{
    const unsigned char* values = nullptr;
    unsigned length = 0;
    unsigned trueCount = 0;

    [[nodiscard]] unsigned count() const { return trueCount; }
    [[nodiscard]] Order order() const { return Order::kAscending; }
    [[nodiscard]] unsigned highest() const { return length - 1; }
};

/// A sparse logical subscript of m rows and n columns: entry e of column c selects the position c*m + ir[e]. Stored
/// values are never read: every stored entry selects.
struct SparseLogicalMask
{
    const unsigned* ir = nullptr;
    const unsigned* jc = nullptr;
    unsigned m = 0;
    unsigned n = 0;

    [[nodiscard]] unsigned count() const { return jc[n]; }
    [[nodiscard]] Order order() const { return Order::kAscending; }
    /// 0 when nothing is selected. A mask that has not been converted may reach beyond 32 bits.
    [[nodiscard]] std::uint64_t highest() const
    {
        if (count() == 0) {
            return 0;
        }
        const auto column = std::lower_bound(jc, jc + n, count()) - jc - 1; // the last that stores an entry
        return static_cast<std::uint64_t>(column) * m + ir[count() - 1];
    }
};

/// A converted subscript.
using Subscript = std::variant<IndexRange, IndexList, LogicalMask, SparseLogicalMask>;

inline unsigned countOf(const Subscript& subscript)
{
    return std::visit([](const auto& form) { return form.count(); }, subscript);
}

/// 0 when nothing is selected.
inline unsigned highestOf(const Subscript& subscript)
{
    const auto highest = [](const auto& form) { return static_cast<unsigned>(form.highest()); };
    return countOf(subscript) == 0 ? 0 : std::visit(highest, subscript);
}

inline Order orderOf(const Subscript& subscript)
{
    return std::visit([](const auto& form) { return form.order(); }, subscript);
}

/// The same, of a subscript that outlives it: nothing is copied.
inline Subscript borrowed(const Subscript& subscript)
{
    return std::visit(
        []<typename Form>(const Form& form) -> Subscript {
            if constexpr (std::is_same_v<Form, IndexList>) {
                return IndexList(form.begin(), form.count(), form.order());
            } else {
                return form;
            }
        },
        subscript);
}

/// Turns a descending subscript round. Whether it was one.
[[gnu::noinline]] inline bool turnIfDescending(Subscript& subscript)
{
    if (orderOf(subscript) != Order::kDescending) {
        return false;
    }
    if (auto* range = std::get_if<IndexRange>(&subscript)) {
        *range = range->ascending();
    } else {
        auto& list = std::get<IndexList>(subscript); // masks ascend
        const unsigned count = list.count();
        auto indices = list.take();
        std::reverse(indices.get(), indices.get() + count);
        subscript = IndexList(std::move(indices), count, Order::kAscending);
    }
    return true;
}

/// Whether the subscript is the run 0, 1, ..., extent-1.
inline bool selectsAll(const Subscript& subscript, unsigned extent)
{
    const auto* range = std::get_if<IndexRange>(&subscript);
    return range != nullptr && range->size == extent && (extent == 0 || (range->first == 0 && range->isRun()));
}

} // namespace zqsp

#endif
