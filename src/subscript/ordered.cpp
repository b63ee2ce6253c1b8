#include "subscript/ordered.hpp"

#include "core/search.hpp"
#include "core/sort.hpp"

#include <algorithm>
#include <array>

namespace zqsp {

namespace {

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

} // namespace

Ordered::Ordered(Subscript subscript, Repeats repeats) : form_(std::move(subscript)), named_(countOf(form_))
{
    if (named_ == 0) {
        form_ = IndexRange();
        return;
    }
    auto* list = std::get_if<IndexList>(&form_);
    const Order order = orderOf(form_);
    const bool repeatsMatter = order == Order::kDescending || repeats == Repeats::kLast;
    if (list != nullptr && (order == Order::kUnsorted || (repeatsMatter && hasRepeats(*list)))) {
        sort(*list, repeats);
    } else {
        isReversed_ = turnIfDescending(form_);
    }
    lowest_ = firstOf(form_);
    highest_ = highestOf(form_);
}

void Ordered::sort(IndexList& list, Repeats repeats)
{
    constexpr unsigned kFew = 32; // take no memory to sort
    std::array<Key, kFew> few;
    const auto many = named_ > kFew ? Block<Key>::make(named_) : Block<Key>();
    Key* const keys = many ? many.get() : few.data();
    for (unsigned p = 0; p < named_; ++p) {
        keys[p] = makeKey(list[p], p);
    }
    KeySorter(named_, list.highest()).sort(keys, named_);
    sources_ = Block<unsigned>::make(named_);
    auto indices = list.take(); // written anew
    unsigned count = 0;
    for (unsigned p = 0; p < named_; ++p) { // what comes again is written over
        indices[count] = majorOf(keys[p]);
        sources_[count] = minorOf(keys[p]);
        const bool isLast = p + 1 == named_ || majorOf(keys[p]) != majorOf(keys[p + 1]);
        count += repeats == Repeats::kAll || isLast ? 1U : 0U;
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
        writeIndices(subscript, written_.get());
        list = written_.get();
    }
}

} // namespace zqsp
