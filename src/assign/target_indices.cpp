#include "assign/target_indices.hpp"

#include "core/sort.hpp"

#include <algorithm>
#include <numeric>

namespace zqsp {

TargetIndices::TargetIndices(Subscript subscript, bool withSources)
    : subscript_(std::move(subscript)), named_(countOf(subscript_))
{
    if (named_ == 0) {
        return; // an empty run
    }
    if (const auto* range = std::get_if<IndexRange>(&subscript_)) {
        takeRange(*range, withSources);
        return;
    }
    const auto* list = std::get_if<IndexList>(&subscript_);
    if (list == nullptr) {
        takeAscending();
        return;
    }
    const bool strictlyAscending =
        list->order() == Order::kAscending && std::adjacent_find(list->begin(), list->end()) == list->end();
    if (strictlyAscending) {
        indices_ = list->begin();
        count_ = named_;
    } else {
        takeUnordered(*list, withSources);
    }
}

void TargetIndices::takeRange(const IndexRange& range, bool withSources)
{
    const IndexRange ascending = range.ascending();
    count_ = named_;
    if (ascending.isRun()) {
        first_ = ascending.first;
    } else {
        storage_ = Block<unsigned>::make(named_);
        unsigned i = 0;
        ascending.forEach([&](unsigned index) { storage_[i++] = index; });
        indices_ = storage_.get();
    }
    if (range.stride < 0 && withSources) {
        sources_ = Block<unsigned>::make(named_);
        for (unsigned i = 0; i < named_; ++i) {
            sources_[i] = named_ - 1 - i;
        }
    }
}

void TargetIndices::takeAscending()
{
    storage_ = Block<unsigned>::make(named_);
    std::visit([this](const auto& mask) { mask.forEach([this](unsigned index) { storage_[count_++] = index; }); },
               subscript_);
    indices_ = storage_.get();
}

void TargetIndices::takeUnordered(const IndexList& list, bool withSources)
{
    auto keys = Block<Key>::make(named_);
    for (unsigned p = 0; p < named_; ++p) {
        keys[p] = makeKey(list[p], p);
    }
    if (list.order() != Order::kAscending) {
        KeySorter(named_, *std::max_element(list.begin(), list.end())).sort(keys.get(), named_);
    }
    storage_ = Block<unsigned>::make(named_);
    if (withSources) {
        sources_ = Block<unsigned>::make(named_);
    }
    for (unsigned p = 0; p < named_; ++p) {
        if (p + 1 < named_ && majorOf(keys[p]) == majorOf(keys[p + 1])) {
            continue; // named again later
        }
        storage_[count_] = majorOf(keys[p]);
        if (withSources) {
            sources_[count_] = minorOf(keys[p]);
        }
        ++count_;
    }
    indices_ = storage_.get();
}

RowSet TargetIndices::others(unsigned extent) const
{
    RowSet set(extent);
    for (unsigned i = 0; i < count_ && (*this)[i] < extent; ++i) {
        set.add((*this)[i]);
    }
    set.rankOthers();
    return set;
}

} // namespace zqsp
