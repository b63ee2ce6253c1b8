#include "assign/linear_plan.hpp"

#include "assign/store_element.hpp"
#include "core/search.hpp"
#include "lookup/find_hits.hpp"

#include <algorithm>
#include <limits>

namespace zqsp {

namespace {

/// slotOf(i, place, slot) for ascending positions. What lies in columns that A does not have yet comes behind all
/// entries.
template <typename F>
void findSlots(const Columns& a, const LinearLayout& layout, NumberView positions, unsigned count, F&& slotOf)
{
    const auto placeOf = [&](std::size_t i) { return layout.placeOf(positions[i]); };
    const struct
    {
        const LinearLayout& layout;
        NumberView positions;
        unsigned operator[](unsigned i) const { return layout.placeOf(positions[i]).column; }
    } columns{layout, positions};
    const unsigned inside = lowerBound(columns, 0, count, a.n);
    searchPlaces(a, inside, placeOf, [&](unsigned i, Slot slot) { slotOf(i, placeOf(i), slot); });
    for (unsigned i = inside; i < count; ++i) {
        slotOf(i, placeOf(i), Slot{a.nnz(), false});
    }
}

/// The capacity that insertions and removals, one after another, leave.
class CapacityReplay
{
  public:
    explicit CapacityReplay(const Columns& a) : stored_(a.nnz()), capacity_(a.nzmax) {}

    /// So many insertions into a target of these dimensions.
    void insert(std::uint64_t count, const LinearLayout& layout)
    {
        while (count > 0) {
            if (stored_ == capacity_) {
                capacity_ = growCapacity(capacity_, layout.m(), layout.n());
            }
            const auto fitting = static_cast<unsigned>(std::min<std::uint64_t>(count, capacity_ - stored_));
            stored_ += fitting;
            count -= fitting;
        }
    }
    void remove(unsigned count) { stored_ -= count; }
    [[nodiscard]] unsigned capacity() const { return capacity_; }

  private:
    unsigned stored_;
    unsigned capacity_;
};

/// The capacity after the insertions (+1) and removals (-1) that the assignments make one after another.
unsigned replaySteps(const Columns& a, LinearLayout layout, NumberView positions, std::span<const signed char> steps)
{
    CapacityReplay replay(a);
    for (std::size_t t = 0; t < steps.size(); ++t) {
        layout.cover(layout.placeOf(positions[t]));
        if (steps[t] > 0) {
            replay.insert(1, layout);
        } else if (steps[t] < 0) {
            replay.remove(1);
        }
    }
    return replay.capacity();
}

} // namespace

void LinearPlan::add(const Patch& patch)
{
    const unsigned dropped = patch.end - patch.begin;
    insertions_ += patch.length - std::min(patch.length, dropped);
    if (patch.length > 0 || dropped > 0) {
        patches_.push_back(patch);
    }
}

/// The capacity where each position is assigned once: in ascending order, or from the last to the first.
void LinearPlan::replay(const IndexRange& range)
{
    if (a_.nnz() + insertions_ <= a_.nzmax) {
        return;
    }
    LinearLayout layout = layout_;
    layout.cover(layout.placeOf(range.first)); // from the last to the first, this makes it as large as it becomes
    CapacityReplay replay(a_);
    for (std::size_t i = 0; i < patches_.size(); ++i) {
        const Patch& patch = patches_[range.stride < 0 ? patches_.size() - 1 - i : i];
        const unsigned dropped = patch.end - patch.begin;
        if (patch.length < dropped) {
            replay.remove(dropped - patch.length);
            continue;
        }
        const unsigned reach = patch.row + patch.length;
        unsigned left = patch.length - dropped;
        if (left > 0 && layout.covers({reach - 1, patch.column})) {
            replay.insert(left, layout);
            continue;
        }
        for (; left > 0; --left) { // what lies beyond the target is not stored: it comes last
            layout.cover({reach - left, patch.column});
            replay.insert(1, layout);
        }
    }
    capacity_ = replay.capacity();
}

LinearPlan LinearPlan::forRun(const Columns& a, const LinearLayout& layout, const RightSide& b, const IndexRange& range)
{
    LinearPlan plan(a, layout);
    const IndexRange run = range.ascending();
    const Place from = layout.placeOf(run.first);
    const Place to = layout.placeOf(run.last);
    for (unsigned column = from.column, t = 0;; ++column) {
        const unsigned first = column == from.column ? from.row : 0;
        const unsigned last = column == to.column ? to.row : layout.lastRow();
        const unsigned length = last - first + 1;
        const unsigned begin = findSlot(a, {first, column}).position;
        const Slot end = findSlot(a, {last, column});
        plan.add({.column = column,
                  .begin = begin,
                  .end = end.position + (end.stored ? 1U : 0U),
                  .length = b.isNothing() ? 0 : length,
                  .row = first,
                  .source = b.source(t)});
        if (column == to.column) {
            break;
        }
        t += length;
    }
    plan.replay(range);
    return plan;
}

LinearPlan LinearPlan::forSparseValues(const Columns& a, const LinearLayout& layout, const RightSide& b,
                                       const IndexRange& range)
{
    LinearPlan plan(a, layout);
    const IndexRange ascending = range.ascending();
    const Subscript present = ascending.below(std::uint64_t{a.m} * a.n);
    HitList hits(std::min(countOf(present), a.nnz()));
    findHits(a, present, hits);
    const unsigned brought = b.b.nnz();
    const auto places = Block<unsigned>::make(brought); // of the values, in the order of the assignment
    EntryWalk(b.b).write(brought, places.get(), brought);
    unsigned read = 0; // values, from the one on that goes to the lowest position
    const auto source = [&] { return range.stride < 0 ? brought - 1 - read : read; };
    const auto nextOrdinal = [&] {
        const unsigned place = read == brought ? range.size : places[source()];
        return range.stride < 0 && read < brought ? range.size - 1 - place : place;
    };
    const auto assign = [&](unsigned ordinal, Place place, Slot slot) {
        const bool comes = nextOrdinal() == ordinal;
        plan.add({.column = place.column,
                  .begin = slot.position,
                  .end = slot.position + (slot.stored ? 1U : 0U),
                  .length = comes && !b.isZero(source()) ? 1U : 0U,
                  .row = place.row,
                  .source = comes ? source() : 0});
        read += comes ? 1U : 0U;
    };
    const auto insertBelow = [&](unsigned end) {
        for (unsigned i = nextOrdinal(); i < end; i = nextOrdinal()) {
            const Place place = layout.placeOf(ascending[i]);
            assign(i, place, findSlot(a, place));
        }
    };
    for (unsigned h = 0; h < hits.count(); ++h) {
        const unsigned ordinal = hits.ordinals()[h];
        insertBelow(ordinal);
        assign(ordinal, layout.placeOf(ascending[ordinal]), {hits.sources()[h], true});
    }
    insertBelow(range.size);
    plan.replay(range);
    return plan;
}

LinearPlan LinearPlan::forPositions(const Columns& a, const LinearLayout& layout, const RightSide& b,
                                    const Ordered& ordered, NumberView ascending, NumberView numbers, bool onlyStores)
{
    LinearPlan plan(a, layout);
    const unsigned count = ordered.count();
    const unsigned last = layout.placeOf(ascending[count - std::size_t{1}]).column;
    if (onlyStores && ascending.list != nullptr && count > a.jc[last + std::size_t{1}] + std::uint64_t{last}) {
        plan.addByGaps(ascending.list, count);
    } else {
        plan.patches_.reserve(count);
        findSlots(a, layout, ascending, count, [&](unsigned i, Place place, Slot slot) {
            plan.add({.column = place.column,
                      .begin = slot.position,
                      .end = slot.position + (slot.stored ? 1U : 0U),
                      .length = 1,
                      .row = place.row,
                      .source = i});
        });
    }
    if (onlyStores) {
        CapacityReplay replay(a);
        replay.insert(plan.insertions_, layout);
        plan.capacity_ = replay.capacity();
    } else {
        plan.changeInTurn(b, ordered, ascending, numbers);
    }
    return plan;
}

/// Positions in A, each once: for each entry, and at the end of each column, those that come before it.
[[gnu::noinline]] void LinearPlan::addByGaps(const unsigned* ascending, unsigned count)
{
    for (unsigned i = 0, column = layout_.placeOf(ascending[0]).column; i < count; ++column) {
        const std::uint64_t base = std::uint64_t{column} * a_.m;
        const unsigned end = a_.jc[column + std::size_t{1}];
        const auto rowOf = [&](unsigned number) { return static_cast<unsigned>(ascending[number] - base); };
        for (unsigned e = a_.jc[column]; e <= end && i < count; ++e) {
            const auto bound = static_cast<unsigned>(
                std::min<std::uint64_t>(base + (e < end ? a_.ir[e] : a_.m), std::numeric_limits<std::uint32_t>::max()));
            const unsigned next = gallopNear(ascending, i, count, bound);
            add({.column = column, .begin = e, .end = e, .length = next - i, .row = rowOf(i), .source = i});
            i = next;
            if (e < end && i < count && ascending[i] == bound) {
                add({.column = column, .begin = e, .end = e + 1, .length = 1, .row = a_.ir[e], .source = i++});
            }
        }
    }
}

/// Lets zeros remove what is stored, and the last of repeated positions win; the capacity follows the changes in the
/// order of the assignment.
void LinearPlan::changeInTurn(const RightSide& b, const Ordered& ordered, NumberView ascending, NumberView numbers)
{
    const unsigned count = ordered.count();
    const bool mayGrow = a_.nnz() + std::uint64_t{count} > a_.nzmax;
    const auto steps = mayGrow ? Block<signed char>::make(count) : Block<signed char>();
    bool stored = false; // whether the present position is, after the assignments seen so far
    for (unsigned i = 0; i < count; ++i) {
        Patch& patch = patches_[i];
        const unsigned position = ascending[i];
        if (i == 0 || ascending[i - std::size_t{1}] != position) {
            stored = patch.end != patch.begin;
        }
        const unsigned t = ordered.source(i);
        const bool comes = !b.isZero(t);
        if (mayGrow) {
            steps[t] = static_cast<signed char>(static_cast<int>(comes) - static_cast<int>(stored));
        }
        stored = comes;
        patch.length = comes ? 1 : 0;
        if (i + 1 < count && ascending[i + std::size_t{1}] == position) {
            patch.end = patch.begin;
            patch.length = 0;
        }
    }
    if (mayGrow) {
        capacity_ = replaySteps(a_, layout_, numbers, {steps.get(), count});
    }
}

} // namespace zqsp
