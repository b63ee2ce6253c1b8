#include "assign/linear_plan.hpp"

#include "assign/linear_capacity.hpp"
#include "core/search.hpp"
#include "lookup/find_hits.hpp"

#include <algorithm>

namespace zqsp {

namespace {

/// slotOf(i, slot) for ascending positions. Where they outnumber the entries, each is reached by a step or none from
/// the one before; elsewhere their places are searched together, as a walk would have to wait for the one before.
template <typename F>
[[gnu::always_inline]] inline void findSlots(const Columns& a, const LinearLayout& layout, NumberView positions,
                                             unsigned count, F&& slotOf)
{
    const auto placeOf = [&](std::size_t i) { return layout.placeOf(positions[i]); };
    const struct
    {
        const LinearLayout& layout;
        const NumberView& positions;
        unsigned operator[](std::size_t i) const { return layout.placeOf(positions[i]).column; }
    } columns{layout, positions};
    const unsigned inside = lowerBound(columns, 0, count, a.n);
    if (inside > a.nnz()) {
        unsigned entry = 0;
        for (unsigned i = 0; i < inside; ++i) {
            const Place place = placeOf(i);
            entry = std::max(entry, a.jc[place.column]);
            const unsigned end = a.jc[place.column + std::size_t{1}];
            while (entry < end && a.ir[entry] < place.row) {
                ++entry;
            }
            slotOf(i, Slot{entry, entry < end && a.ir[entry] == place.row});
        }
    } else {
        searchPlaces(a, inside, placeOf, slotOf);
    }
    for (unsigned i = inside; i < count; ++i) {
        slotOf(i, Slot{a.nnz(), false});
    }
}

/// The capacity after the insertions (+1) and removals (-1) that the assignments make one after another.
unsigned replayChanges(const Columns& a, LinearLayout layout, NumberView positions, unsigned count,
                       const signed char* changes)
{
    CapacityReplay replay(a);
    for (unsigned t = 0; t < count; ++t) {
        layout.cover(positions[t]);
        if (changes[t] > 0) {
            replay.insert(1, layout.m(), layout.n());
        } else if (changes[t] < 0) {
            replay.remove(1);
        }
    }
    return replay.capacity();
}

} // namespace

void LinearPlan::add(const ElementPatch& patch)
{
    const unsigned dropped = patch.end - patch.begin;
    insertions_ += patch.length - std::min(patch.length, dropped);
    if (patch.length > 0 || dropped > 0) {
        patches_.add(patch);
    }
}

/// The capacity where each position is assigned once: in ascending order, or from the last to the first.
void LinearPlan::replay(bool isReversed, unsigned firstAssigned)
{
    if (a_.nnz() + insertions_ <= a_.nzmax) {
        return;
    }
    LinearLayout layout = layout_;
    const unsigned m = layout.m();
    const unsigned n = layout.n();
    layout.cover(firstAssigned);
    CapacityReplay replay(a_);
    const std::span<const ElementPatch> patches = patches_.elements();
    for (std::size_t i = 0; i < patches.size(); ++i) {
        const ElementPatch& patch = patches[isReversed ? patches.size() - 1 - i : i];
        const unsigned dropped = patch.end - patch.begin;
        if (patch.length < dropped) {
            replay.remove(dropped - patch.length);
            continue;
        }
        const unsigned inserted = patch.length - dropped;
        if (isReversed) { // the first one has made the target as large as it becomes
            replay.insert(inserted, layout.m(), layout.n());
            continue;
        }
        const unsigned reach = patch.row + patch.length; // what lies beyond the target is not stored
        const unsigned beyond = patch.column >= n ? patch.length : std::min(patch.length, reach - std::min(reach, m));
        replay.insert(inserted - beyond, layout.m(), layout.n());
        for (unsigned left = beyond; left > 0; --left) {
            layout.cover(Place{reach - left, patch.column});
            replay.insert(1, layout.m(), layout.n());
        }
    }
    capacity_ = replay.capacity();
}

LinearPlan LinearPlan::forRun(const Columns& a, const LinearLayout& layout, const AssignedValues& values,
                              const IndexRange& range)
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
        plan.add({{column, begin, end.position + (end.stored ? 1U : 0U), values.areAllZero() ? 0 : length},
                  first,
                  values.source(t)});
        if (column == to.column) {
            break;
        }
        t += length;
    }
    plan.replay(range.stride < 0, range.first);
    return plan;
}

LinearPlan LinearPlan::forSparseValues(const Columns& a, const LinearLayout& layout, const Columns& b,
                                       const IndexRange& range)
{
    LinearPlan plan(a, layout);
    const bool isReversed = range.stride < 0;
    const IndexRange ascending = range.ascending();
    const Subscript present = ascending.below(std::uint64_t{a.m} * a.n);
    HitList hits(countOf(present));
    findHits(a, present, hits);
    withStorage(b, [&](auto values) {
        unsigned column = isReversed ? b.n - 1 : 0;
        unsigned read = 0; // entries of b
        const auto left = [&] { return read < b.nnz(); };
        const auto next = [&] { return isReversed ? b.nnz() - 1 - read : read; };
        const auto ordinal = [&] { // of the next one among the ascending positions
            const unsigned e = next();
            for (; isReversed && b.jc[column] > e; --column) {
            }
            for (; !isReversed && b.jc[column + std::size_t{1}] <= e; ++column) {
            }
            const unsigned t = column * b.m + b.ir[e];
            return isReversed ? range.size - 1 - t : t;
        };
        const auto assign = [&](unsigned i, unsigned at, bool isStored, bool comes) {
            const Place place = layout.placeOf(ascending[i]);
            const unsigned source = comes ? next() : 0;
            plan.add({{place.column, at, at + (isStored ? 1U : 0U), comes && !values.isZero(source) ? 1U : 0U},
                      place.row,
                      source});
            read += comes ? 1U : 0U;
        };
        const auto insertBelow = [&](unsigned end) {
            for (unsigned i = 0; left() && (i = ordinal()) < end;) {
                assign(i, findSlot(a, layout.placeOf(ascending[i])).position, false, true);
            }
        };
        hits.forEachPart([&](const Hits& some) {
            for (unsigned h = 0; h < some.count; ++h) {
                insertBelow(some.ordinals[h]);
                assign(some.ordinals[h], some.sources[h], true, left() && ordinal() == some.ordinals[h]);
            }
        });
        insertBelow(range.size);
    });
    plan.replay(isReversed, range.first);
    return plan;
}

LinearPlan LinearPlan::forPositions(const Columns& a, const LinearLayout& layout, const AssignedValues& values,
                                    NumberView positions, const Ordered& ordered)
{
    LinearPlan plan(a, layout);
    const unsigned count = ordered.count();
    const bool mayRepeat = std::holds_alternative<IndexList>(ordered.form());
    const bool isRange = std::holds_alternative<IndexRange>(ordered.form());
    const Numbers looked = mayRepeat || isRange ? Numbers(ordered.form()) : Numbers();
    const NumberView sorted =
        mayRepeat || isRange ? NumberView(looked) : positions; // masks ascend, and are written out by now
    const bool mayGrow = mayRepeat && a.nnz() + std::uint64_t{count} > a.nzmax;
    const auto changes = mayGrow ? Block<signed char>::zeroed(count) : Block<signed char>();
    if (!isRange) {
        plan.patches_.reserve(count);
    }
    values.withZeroTest([&](auto isZero) {
        bool stored = false; // whether the present position is, after the assignments seen so far
        findSlots(a, layout, sorted, count, [&](unsigned i, Slot slot) {
            const unsigned position = sorted[i];
            const unsigned t = ordered.source(i);
            if (i == 0 || sorted[i - std::size_t{1}] != position) {
                stored = slot.stored;
            }
            const bool stays = !isZero(t);
            if (mayGrow) {
                changes[t] = static_cast<signed char>(static_cast<int>(stays) - static_cast<int>(stored));
            }
            stored = stays;
            const bool isLast = i + 1 == count || sorted[i + std::size_t{1}] != position;
            if (isLast && (stored || slot.stored)) {
                const Place place = layout.placeOf(position);
                const ElementPatch patch = {
                    {place.column, slot.position, slot.position + (slot.stored ? 1U : 0U), stored ? 1U : 0U},
                    place.row,
                    values.source(t)};
                plan.add(patch);
            }
        });
    });
    if (mayGrow) {
        plan.capacity_ = replayChanges(a, layout, positions, count, changes.get());
    } else {
        plan.replay(ordered.isReversed(), positions[0]);
    }
    return plan;
}

PositionPlan::PositionPlan(const Columns& a, const LinearLayout& layout, const AssignedValues& values,
                           NumberView positions, const Ordered& ordered)
    : layout_(layout),
      values_(values),
      positions_(positions),
      ordered_(ordered),
      count_(ordered.count()),
      begins_(Block<unsigned>::make(count_)),
      stored_(Block<unsigned char>::make(count_))
{
    unsigned insertions = 0;
    findSlots(a, layout, positions, count_, [&, begins = begins_.get(), stored = stored_.get()](unsigned i, Slot slot) {
        begins[i] = slot.position;
        stored[i] = slot.stored ? 1 : 0;
        insertions += slot.stored ? 0U : 1U;
    });
    CapacityReplay replay(a);
    replay.insert(insertions, layout.m(), layout.n());
    capacity_ = replay.capacity();
}

} // namespace zqsp
