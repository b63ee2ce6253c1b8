#include "assign/linear_batch.hpp"

#include "assign/element.hpp"
#include "assign/linear_layout.hpp"
#include "core/counts.hpp"
#include "core/relay.hpp"
#include "core/search.hpp"
#include "core/sort.hpp"
#include "core/values.hpp"
#include "delete/deleted_set.hpp"
#include "reference/linear_hits.hpp"
#include "subscript/runs.hpp"

#include <algorithm>
#include <limits>

namespace zqsp {

namespace {

/// The capacity that a full m-by-n target is given for one more entry: ten more, as far as the matrix and the signed
/// 32-bit range go, else one more. Raises the out-of-memory error where there is none.
unsigned growCapacity(unsigned nzmax, unsigned m, unsigned n)
{
    constexpr unsigned kStep = 10;
    constexpr unsigned kMost = std::numeric_limits<std::int32_t>::max();
    unsigned elements = 0;
    const bool countable = kxCheckMN_nothrow(m, n, 1, &elements);
    const unsigned cap = countable ? elements : std::numeric_limits<std::uint32_t>::max();
    if (nzmax < kMost - kStep) {
        return std::min(nzmax + kStep, cap);
    }
    if (nzmax < kMost) {
        return std::min(nzmax + 1, cap);
    }
    if (!countable) {
        raiseOutOfMemory();
    }
    return cap;
}

/// The values to assign, one for each position or one for all.
class AssignedValues
{
  public:
    AssignedValues(const Columns& source, bool isScalar)
        : b(source),
          isScalar_(isScalar),
          scalarIsZero_(isScalar && withStorage(source, [](auto values) { return values.isZero(0); }))
    {
    }

    const Columns& b;

    /// Which value of b goes to position t.
    [[nodiscard]] unsigned source(unsigned t) const { return isScalar_ ? 0 : t; }

    /// f(isZero) with the zero test of b's storage, by t.
    template <typename F>
    decltype(auto) withZeroTest(F&& f) const
    {
        return withStorage(b, [&](auto values) {
            return f([&, values](unsigned t) { return isScalar_ ? scalarIsZero_ : values.isZero(t); });
        });
    }

    [[nodiscard]] bool areAllZero() const { return scalarIsZero_; } // of a scalar; values are not looked through

    [[nodiscard]] bool anyZero(unsigned count) const
    {
        if (isScalar_) {
            return scalarIsZero_;
        }
        return withZeroTest([count](auto isZero) {
            bool any = false;
            for (unsigned t = 0; t < count && !any; ++t) {
                any = isZero(t);
            }
            return any;
        });
    }

    /// Whether b brings an imaginary part that is stored.
    [[nodiscard]] bool areComplex() const { return b.pi != nullptr && !scalarIsZero_; }

  private:
    bool isScalar_;
    bool scalarIsZero_;
};

/// What finally happens at one position: an entry is inserted, overwritten or (length 0) removed.
struct ElementPatch : Patch
{
    unsigned row;
    unsigned source; ///< value of b
};

/// How the assignment of many positions changes the target, known before anything moves.
class BatchPlan
{
  public:
    explicit BatchPlan(unsigned count) : patches_(Block<ElementPatch>::make(count)) {}

    void add(const ElementPatch& patch) { patches_[size_++] = patch; }
    [[nodiscard]] std::span<const ElementPatch> patches() const { return {patches_.get(), size_}; }

    unsigned capacity = 0;

  private:
    Block<ElementPatch> patches_; // at most one for each assignment
    unsigned size_ = 0;
};

/// The positions in the order of their assignment, as a list.
IndexList listOf(const Subscript& positions)
{
    if (const auto* list = std::get_if<IndexList>(&positions)) {
        return {list->begin(), list->count(), list->order()};
    }
    auto indices = Block<unsigned>::make(countOf(positions));
    unsigned* end = indices.get();
    std::visit([&](const auto& form) { form.forEach([&](unsigned position) { *end++ = position; }); }, positions);
    return {std::move(indices), countOf(positions), orderOf(positions)};
}

Block<Key> sortedByPosition(const IndexList& positions)
{
    const unsigned count = positions.count();
    auto keys = Block<Key>::make(count);
    for (unsigned t = 0; t < count; ++t) {
        keys[t] = makeKey(positions[t], t);
    }
    if (positions.order() != Order::kAscending) {
        KeySorter(count, positions.highest()).sort(keys.get(), count);
    }
    return keys;
}

/// The capacity after the insertions (+1) and removals (-1) that the assignments make one after another.
unsigned replayCapacity(const Columns& a, LinearLayout layout, const IndexList& positions, const signed char* changes)
{
    unsigned stored = a.nnz();
    unsigned capacity = a.nzmax;
    for (unsigned t = 0; t < positions.count(); ++t) {
        layout.cover(positions[t]);
        if (changes[t] > 0) {
            if (stored == capacity) {
                capacity = growCapacity(capacity, layout.m(), layout.n());
            }
            ++stored;
        } else if (changes[t] < 0) {
            --stored;
        }
    }
    return capacity;
}

/// Whether a position lies in a column that the target has.
bool isInside(const Columns& a, const LinearLayout& layout, unsigned position)
{
    return layout.placeOf(position).column < a.n;
}

/// slotOf(i, slot) for ascending keys. Where they outnumber the entries, one gallops from each to the next, mostly no
/// step; elsewhere their places are searched together, as a gallop would have to wait for the one before (measured,
/// the one takes four fifths of the time of the other, the other a third of the one).
template <typename F>
void findSlots(const Columns& a, const LinearLayout& layout, std::span<const Key> keys, F&& slotOf)
{
    const auto placeOf = [&](std::size_t i) { return layout.placeOf(majorOf(keys[i])); };
    const auto keyIsInside = [&](Key key) { return isInside(a, layout, majorOf(key)); };
    const auto inside =
        static_cast<unsigned>(std::partition_point(keys.begin(), keys.end(), keyIsInside) - keys.begin());
    if (inside > a.nnz()) {
        unsigned entry = 0;
        for (unsigned i = 0; i < inside; ++i) {
            const Place place = placeOf(i);
            const unsigned end = a.jc[place.column + 1];
            entry = gallop(a.ir, std::max(entry, a.jc[place.column]), end, place.row);
            slotOf(i, Slot{entry, entry < end && a.ir[entry] == place.row});
        }
    } else {
        searchPlaces(a, inside, placeOf, slotOf);
    }
    for (unsigned i = inside; i < keys.size(); ++i) {
        slotOf(i, Slot{a.nnz(), false});
    }
}

BatchPlan planBatch(const Columns& a, const LinearLayout& layout, const AssignedValues& values,
                    const IndexList& positions)
{
    const unsigned count = positions.count();
    const Block<Key> keys = sortedByPosition(positions);
    const auto changes = Block<signed char>::zeroed(count);
    BatchPlan plan(count);
    std::uint64_t insertions = 0;
    values.withZeroTest([&](auto isZero) {
        bool stored = false; // whether the present position is, after the assignments seen so far
        findSlots(a, layout, {keys.get(), count}, [&](unsigned i, Slot slot) {
            const unsigned position = majorOf(keys[i]);
            const unsigned t = minorOf(keys[i]);
            if (i == 0 || majorOf(keys[i - 1]) != position) {
                stored = slot.stored;
            }
            const bool stays = !isZero(t);
            changes[t] = static_cast<signed char>(static_cast<int>(stays) - static_cast<int>(stored));
            insertions += stays && !stored ? 1U : 0U;
            stored = stays;
            const bool isLast = i + 1 == count || majorOf(keys[i + 1]) != position;
            if (isLast && (stored || slot.stored)) {
                const Place place = layout.placeOf(position);
                plan.add({{place.column, slot.position, slot.position + (slot.stored ? 1U : 0U), stored ? 1U : 0U},
                          place.row,
                          values.source(t)});
            }
        });
    });
    plan.capacity = a.nnz() + insertions <= a.nzmax ? a.nzmax : replayCapacity(a, layout, positions, changes.get());
    return plan;
}

/// Where every position is stored and no value is zero, the entries are overwritten in the order of the assignments:
/// nothing is sorted, and the last of repeated positions wins by being last. False, with nothing changed, elsewhere.
/// (Inlined in its caller, it measures a quarter slower: the search wants the registers for itself.)
[[gnu::noinline]] bool overwriteInOrder(kxArray* A, const LinearLayout& layout, const AssignedValues& values,
                                        const IndexList& positions)
{
    constexpr unsigned kBlock = 256; // a miss ends the search
    const Columns a(A);
    const unsigned count = positions.count();
    if (!isInside(a, layout, positions.highest()) || values.anyZero(count)) {
        return false;
    }
    const auto entries = Block<unsigned>::make(count);
    for (unsigned done = 0, size = 0; done < count; done += size) {
        size = std::min(kBlock, count - done);
        bool allStored = true;
        searchPlaces(
            a, size, [&](unsigned t) { return layout.placeOf(positions[done + t]); },
            [&](unsigned t, Slot slot) {
                entries[done + t] = slot.position;
                allStored &= slot.stored;
            });
        if (!allStored) {
            return false;
        }
    }
    Relay relay(A, {.capacity = a.nzmax, .columns = a.n, .imaginaryPart = values.areComplex()});
    relay.commitGrowth();
    const Columns after(A);
    withStorage(after, after, values.b, [&](auto to, auto, auto from) {
        for (unsigned t = 0; t < count; ++t) {
            to.copy(entries[t], from, values.source(t));
        }
    });
    return true;
}

/// A(K) = 0 inside of A: what is stored at the positions goes, nothing comes. No position is sorted, only the entries
/// that are found; and where positions outnumber the entries, it is these that are looked for.
void removeStored(kxArray* A, const Subscript& positions)
{
    const Columns a(A);
    const HitList hits = findHits(a, positions);
    if (hits.count() == 0) {
        return;
    }
    auto entries = Block<unsigned>::make(hits.count());
    unsigned count = 0;
    hits.forEach([&](Hit hit) { entries[count++] = hit.source; });
    const Order order = orderOf(positions) == Order::kAscending ? Order::kAscending : Order::kUnsorted;
    const DeletedSet removed(IndexList(std::move(entries), count, order), a.nnz());
    const auto patches = Block<Patch>::make(count);
    std::size_t size = 0;
    unsigned column = 0;
    forEachRun(removed.positions(), [&](unsigned first, unsigned length) {
        for (unsigned e = first, end = first + length; e < end; e = patches[size++].end) {
            column = gallop(a.jc, column + 1, a.n, e + 1) - 1;
            patches[size] = {column, e, std::min(end, a.jc[column + 1]), 0};
        }
    });
    Relay relay(A, {.capacity = a.nzmax, .columns = a.n});
    relay.commit(std::span<const Patch>(patches.get(), size), [](const Patch&, unsigned) {});
}

void assignOne(kxArray* A, const LinearLayout& layout, const AssignedValues& values, unsigned position)
{
    const Columns a(A);
    const Place place = layout.placeOf(position);
    const bool isZero = values.anyZero(1);
    const bool mayGrow = !isZero && a.nnz() == a.nzmax;
    storeElement(A, place.row, place.column, layout.m(), layout.n(), values.b, isZero,
                 mayGrow ? growCapacity(a.nzmax, layout.m(), layout.n()) : a.nzmax);
}

} // namespace

void assignPositions(kxArray* A, unsigned m, unsigned n, const Columns& b, bool isScalar, const Subscript& positions)
{
    const AssignedValues values(b, isScalar);
    const unsigned highest = highestOf(positions);
    if (values.areAllZero() && countOf(positions) > 1 && highest < std::uint64_t{m} * n) {
        removeStored(A, positions);
        return;
    }
    const IndexList list = listOf(positions);
    const LinearLayout initial(m, n, list[0]);
    LinearLayout layout = initial;
    layout.cover(highest);
    if (list.count() == 1) {
        assignOne(A, layout, values, list[0]);
        return;
    }
    if (overwriteInOrder(A, initial, values, list)) {
        return;
    }
    const Columns a(A);
    const BatchPlan plan = planBatch(a, initial, values, list);
    const std::span<const ElementPatch> patches = plan.patches();
    Relay relay(
        A, {.capacity = plan.capacity, .columns = std::max(layout.n(), a.n), .imaginaryPart = values.areComplex()});
    const Columns after = relay.after();
    withStorage(after, after, b, [&](auto to, auto, auto from) {
        relay.commit(patches, [&](const ElementPatch& patch, unsigned at) {
            if (patch.length > 0) {
                after.ir[at] = patch.row;
                to.copy(at, from, patch.source);
            }
        });
    });
    kxSetM(A, layout.m());
    kxSetN(A, layout.n());
}

} // namespace zqsp
