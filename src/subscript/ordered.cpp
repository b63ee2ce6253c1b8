#include "subscript/ordered.hpp"

#include "core/search.hpp"
#include "core/sort.hpp"

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

/// Whether neighbours in a list are equal. All are looked at, which takes less than to ask after each.
bool hasRepeats(const IndexList& list)
{
    const unsigned* const indices = list.begin();
    unsigned repeats = 0;
    for (std::size_t i = 1; i < list.count(); ++i) {
        repeats |= indices[i] == indices[i - 1] ? 1U : 0U;
    }
    return repeats != 0;
}

/// The numbers of a list with their places, by number and then by place.
Block<Key> sortedKeys(const IndexList& list)
{
    const unsigned count = list.count();
    auto keys = Block<Key>::make(count);
    if (list.order() != Order::kDescending) {
        for (unsigned p = 0; p < count; ++p) {
            keys[p] = makeKey(list[p], p);
        }
        if (list.order() == Order::kUnsorted) {
            KeySorter(count, list.highest()).sort(keys.get(), count);
        }
        return keys;
    }
    for (unsigned end = count, at = 0; end > 0;) { // equal ones keep their order
        unsigned begin = end - 1;
        while (begin > 0 && list[begin - 1] == list[begin]) {
            --begin;
        }
        for (unsigned p = begin; p < end; ++p) {
            keys[at++] = makeKey(list[p], p);
        }
        end = begin;
    }
    return keys;
}

} // namespace

Ordered::Ordered(Subscript subscript, Repeats repeats) : form_(std::move(subscript)), named_(countOf(form_))
{
    if (named_ == 0) {
        form_ = IndexRange();
    } else if (auto* range = std::get_if<IndexRange>(&form_)) {
        isReversed_ = range->stride < 0;
        *range = range->ascending();
    } else if (auto* list = std::get_if<IndexList>(&form_)) {
        orderList(*list, repeats);
    }
    if (named_ > 0) {
        lowest_ = firstOf(form_);
        highest_ = highestOf(form_);
    }
}

void Ordered::orderList(IndexList& list, Repeats repeats)
{
    const Order order = list.order();
    if (order == Order::kAscending && (repeats == Repeats::kAll || !hasRepeats(list))) {
        return;
    }
    if (repeats == Repeats::kNone) {
        orderOnce(list);
    } else if (order == Order::kDescending && !hasRepeats(list)) {
        auto indices = list.take();
        std::reverse(indices.get(), indices.get() + named_);
        form_ = IndexList(std::move(indices), named_, Order::kAscending);
        isReversed_ = true;
    } else {
        orderWithSources(list, repeats == Repeats::kLast);
    }
}

void Ordered::orderOnce(IndexList& list)
{
    const Order order = list.order();
    if (order == Order::kUnsorted) {
        const unsigned extent = list.highest() + 1;
        if (markingIsCheaper(named_, extent)) {
            marks_ = Block<unsigned char>::zeroed(extent);
            for (const unsigned index : list) {
                marks_[index] = 1;
            }
            form_ = LogicalMask{marks_.get(), extent, countTrue(marks_.get(), extent)};
            return;
        }
    }
    auto indices = list.take();
    unsigned* end = indices.get() + named_;
    if (order == Order::kDescending) {
        std::reverse(indices.get(), end);
    } else if (order == Order::kUnsorted) {
        std::sort(indices.get(), end);
    }
    end = std::unique(indices.get(), end);
    const auto count = static_cast<unsigned>(end - indices.get());
    form_ = IndexList(std::move(indices), count, Order::kAscending);
}

void Ordered::orderWithSources(const IndexList& list, bool lastOnly)
{
    const Block<Key> keys = sortedKeys(list);
    auto indices = Block<unsigned>::make(named_);
    sources_ = Block<unsigned>::make(named_);
    unsigned count = 0;
    for (unsigned p = 0; p < named_; ++p) { // what comes again is written over
        indices[count] = majorOf(keys[p]);
        sources_[count] = minorOf(keys[p]);
        count += !lastOnly || p + 1 == named_ || majorOf(keys[p]) != majorOf(keys[p + 1]) ? 1U : 0U;
    }
    form_ = IndexList(std::move(indices), count, Order::kAscending);
}

bool Ordered::has(unsigned number) const
{
    if (number < lowest_ || number > highest_) {
        return false;
    }
    if (const auto* range = std::get_if<IndexRange>(&form_)) {
        return range->size > 0 && (number - range->first) % static_cast<unsigned>(range->stride) == 0;
    }
    if (const auto* list = std::get_if<IndexList>(&form_)) {
        return findRow(list->begin(), 0, list->count(), number).stored;
    }
    if (const auto* mask = std::get_if<LogicalMask>(&form_)) {
        return mask->values[number] != 0;
    }
    const auto& mask = std::get<SparseLogicalMask>(form_);
    const unsigned column = number / mask.m;
    return findRow(mask.ir, mask.jc[column], mask.jc[column + 1], number - column * mask.m).stored;
}

Numbers::Numbers(const Subscript& subscript)
{
    if (const auto* range = std::get_if<IndexRange>(&subscript)) {
        first = range->first;
        stride = static_cast<unsigned>(range->stride);
    } else if (const auto* indices = std::get_if<IndexList>(&subscript)) {
        list = indices->begin();
    } else {
        written_ = Block<unsigned>::make(countOf(subscript));
        unsigned* end = written_.get();
        forEachIndex(subscript, [&end](unsigned number) { *end++ = number; });
        list = written_.get();
    }
}

} // namespace zqsp
