#include "assign/linear_batch.hpp"

#include "assign/element.hpp"
#include "core/counts.hpp"
#include "core/relay.hpp"
#include "core/search.hpp"
#include "core/sort.hpp"
#include "core/values.hpp"

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

    [[nodiscard]] bool anyZero(unsigned count) const
    {
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

Block<Key> sortedByPosition(const unsigned* positions, unsigned count)
{
    auto keys = Block<Key>::make(count);
    bool ascends = true;
    unsigned highest = 0;
    for (unsigned t = 0; t < count; ++t) {
        keys[t] = makeKey(positions[t], t);
        ascends &= positions[t] >= highest;
        highest = std::max(highest, positions[t]);
    }
    if (!ascends) {
        KeySorter(count, highest).sort(keys.get(), count);
    }
    return keys;
}

/// The capacity after the insertions (+1) and removals (-1) that the assignments make one after another.
unsigned replayCapacity(const Columns& a, LinearLayout layout, const unsigned* positions, const signed char* changes,
                        unsigned count)
{
    unsigned stored = a.nnz();
    unsigned capacity = a.nzmax;
    for (unsigned t = 0; t < count; ++t) {
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

/// slotOf(i, slot) for ascending keys, whose places are searched together where the target has their columns.
/// (Galloping from one to the next takes fewer steps, but each has to wait for the one before: measured, three times as
/// long.)
template <typename F>
void findSlots(const Columns& a, const LinearLayout& layout, std::span<const Key> keys, F&& slotOf)
{
    const auto placeOf = [&](std::size_t i) { return layout.placeOf(majorOf(keys[i])); };
    const auto keyIsInside = [&](Key key) { return isInside(a, layout, majorOf(key)); };
    const auto inside =
        static_cast<unsigned>(std::partition_point(keys.begin(), keys.end(), keyIsInside) - keys.begin());
    searchPlaces(a, inside, placeOf, slotOf);
    for (unsigned i = inside; i < keys.size(); ++i) {
        slotOf(i, Slot{a.nnz(), false});
    }
}

BatchPlan planBatch(const Columns& a, const LinearLayout& layout, const AssignedValues& values,
                    const unsigned* positions, unsigned count)
{
    const Block<Key> keys = sortedByPosition(positions, count);
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
    plan.capacity =
        a.nnz() + insertions <= a.nzmax ? a.nzmax : replayCapacity(a, layout, positions, changes.get(), count);
    return plan;
}

/// Where every position is stored and no value is zero, the entries are overwritten in the order of the assignments:
/// nothing is sorted, and the last of repeated positions wins by being last. False, with nothing changed, elsewhere.
bool overwriteInOrder(kxArray* A, const LinearLayout& layout, const AssignedValues& values, const unsigned* positions,
                      unsigned count)
{
    constexpr unsigned kBlock = 256; // a miss ends the search
    const Columns a(A);
    const auto positionIsInside = [&](unsigned position) { return isInside(a, layout, position); };
    if (values.anyZero(count) || !std::all_of(positions, positions + count, positionIsInside)) {
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

void assignPositions(kxArray* A, const LinearLayout& initial, const Columns& b, bool isScalar,
                     const unsigned* positions, unsigned count)
{
    const AssignedValues values(b, isScalar);
    LinearLayout layout = initial;
    for (unsigned t = 0; t < count; ++t) {
        layout.cover(positions[t]);
    }
    if (count == 1) {
        assignOne(A, layout, values, positions[0]);
        return;
    }
    if (overwriteInOrder(A, initial, values, positions, count)) {
        return;
    }
    const Columns a(A);
    const BatchPlan plan = planBatch(a, initial, values, positions, count);
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
