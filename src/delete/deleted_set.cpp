#include "delete/deleted_set.hpp"

#include "kernels/mask_bits.hpp"

#include <algorithm>

namespace zqsp {

namespace {

/// Marking takes a pass over the table, eight bytes a step, instead of a sort; and no more memory than the sort's
/// order.
bool markingIsCheaper(unsigned count, unsigned extent)
{
    constexpr unsigned kBytesPerIndex = 32;
    return extent / kBytesPerIndex <= count;
}

/// Whether neighbours in an ascending list are equal. All are looked at, which takes less than to ask after each.
bool hasRepeats(const IndexList& list)
{
    const unsigned* const indices = list.begin();
    unsigned repeats = 0;
    for (std::size_t i = 1; i < list.count(); ++i) {
        repeats |= indices[i] == indices[i - 1] ? 1U : 0U;
    }
    return repeats != 0;
}

IndexList sortUniqueIndices(const IndexList& list)
{
    auto indices = Block<unsigned>::make(list.count());
    unsigned* end = std::copy(list.begin(), list.end(), indices.get());
    if (list.order() == Order::kDescending) {
        std::reverse(indices.get(), end);
    } else if (list.order() == Order::kUnsorted) {
        std::sort(indices.get(), end);
    }
    end = std::unique(indices.get(), end);
    const auto count = static_cast<unsigned>(end - indices.get());
    return {std::move(indices), count, Order::kAscending};
}

} // namespace

DeletedSet::DeletedSet(Subscript subscript, unsigned extent) : positions_(std::move(subscript))
{
    if (auto* range = std::get_if<IndexRange>(&positions_)) {
        *range = range->ascending();
        return;
    }
    const auto* list = std::get_if<IndexList>(&positions_);
    if (list == nullptr) {
        return; // masks ascend
    }
    if (list->order() == Order::kAscending && !hasRepeats(*list)) {
        return;
    }
    if (!markingIsCheaper(list->count(), extent)) {
        positions_ = sortUniqueIndices(*list);
        return;
    }
    marks_ = Block<unsigned char>::zeroed(extent);
    for (const unsigned index : *list) {
        marks_[index] = 1;
    }
    positions_ = LogicalMask{marks_.get(), extent, countTrue(marks_.get(), extent)};
}

} // namespace zqsp
