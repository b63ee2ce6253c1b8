#include "assign/linear_plan.hpp"

#include "assign/write_region.hpp"
#include "core/errors.hpp"
#include "core/search.hpp"
#include "lookup/find_hits.hpp"

#include <algorithm>
#include <limits>

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

/// The capacity that insertions and removals, one after another, leave.
class CapacityReplay
{
  public:
    explicit CapacityReplay(const Columns& a) : stored_(a.nnz()), capacity_(a.nzmax) {}

    /// So many insertions into a target of these dimensions.
    void insert(unsigned count, const LinearLayout& layout)
    {
        while (count > 0) {
            if (stored_ == capacity_) {
                capacity_ = growCapacity(capacity_, layout.m(), layout.n());
            }
            const unsigned fitting = std::min(count, capacity_ - stored_);
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
        layout.cover(positions[t]);
        if (steps[t] > 0) {
            replay.insert(1, layout);
        } else if (steps[t] < 0) {
            replay.remove(1);
        }
    }
    return replay.capacity();
}

} // namespace

unsigned growCapacity(unsigned nzmax, unsigned m, unsigned n)
{
    constexpr unsigned kMost = std::numeric_limits<std::int32_t>::max();
    unsigned elements = 0;
    const bool countable = kxCheckMN_nothrow(m, n, 1, &elements);
    const unsigned cap = countable ? elements : std::numeric_limits<std::uint32_t>::max();
    if (nzmax < kMost - kCapacityStep) {
        return std::min(nzmax + kCapacityStep, cap);
    }
    if (nzmax < kMost) {
        return std::min(nzmax + 1, cap);
    }
    if (!countable) {
        raiseOutOfMemory();
    }
    return cap;
}

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
    layout.cover(range.first); // from the last to the first, this makes the target as large as it becomes
    const unsigned m = layout.m();
    const unsigned n = layout.n();
    CapacityReplay replay(a_);
    const std::span<const Patch> patches = patches_;
    for (std::size_t i = 0; i < patches.size(); ++i) {
        const Patch& patch = patches[range.stride < 0 ? patches.size() - 1 - i : i];
        const unsigned dropped = patch.end - patch.begin;
        if (patch.length < dropped) {
            replay.remove(dropped - patch.length);
            continue;
        }
        const unsigned reach = patch.row + patch.length; // what lies beyond the target is not stored
        const unsigned beyond = patch.column >= n ? patch.length : std::min(patch.length, reach - std::min(reach, m));
        replay.insert(patch.length - dropped - beyond, layout);
        for (unsigned left = beyond; left > 0; --left) {
            layout.cover(Place{reach - left, patch.column});
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

PositionPlan::PositionPlan(const Columns& a, const LinearLayout& layout, const RightSide& b, NumberView positions,
                           NumberView ascending, const Ordered& ordered, bool isPlain)
    : layout_(layout),
      b_(b),
      ascending_(ascending),
      ordered_(ordered),
      count_(ordered.count()),
      begins_(Block<unsigned>::make(count_)),
      changes_(Block<unsigned char>::make(count_)),
      capacity_(a.nzmax)
{
    unsigned insertions = 0;
    findSlots(a, layout_, ascending_, count_, // what it needs is copied: bytes that are written may be anything
              [&insertions, begins = begins_.get(), changes = changes_.get()](unsigned i, Slot slot) {
                  begins[i] = slot.position;
                  changes[i] = slot.stored ? kComes | kDrops : kComes;
                  insertions += slot.stored ? 0U : 1U;
              });
    if (isPlain) {
        CapacityReplay replay(a);
        replay.insert(insertions, layout_);
        capacity_ = replay.capacity();
    } else {
        changeInTurn(a, positions);
    }
}

/// Lets zeros remove what is stored, and the last of repeated positions win; the capacity follows the changes in the
/// order of the assignment.
void PositionPlan::changeInTurn(const Columns& a, NumberView positions)
{
    const bool mayGrow = a.nnz() + std::uint64_t{count_} > a.nzmax;
    const auto steps = mayGrow ? Block<signed char>::make(count_) : Block<signed char>();
    bool stored = false; // whether the present position is, after the assignments seen so far
    for (unsigned i = 0; i < count_; ++i) {
        const unsigned position = ascending_[i];
        const unsigned char drops = changes_[i] & kDrops;
        if (i == 0 || ascending_[i - std::size_t{1}] != position) {
            stored = drops != 0;
        }
        const unsigned t = ordered_.source(i);
        const bool comes = !b_.isZero(t);
        if (mayGrow) {
            steps[t] = static_cast<signed char>(static_cast<int>(comes) - static_cast<int>(stored));
        }
        stored = comes;
        const bool isLast = i + 1 == count_ || ascending_[i + std::size_t{1}] != position;
        changes_[i] = isLast ? (comes ? kComes : 0) | drops : 0;
    }
    if (mayGrow) {
        capacity_ = replaySteps(a, layout_, positions, {steps.get(), count_});
    }
}

} // namespace zqsp
