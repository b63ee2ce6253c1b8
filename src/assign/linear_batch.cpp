// A(K) = B for many positions, by their plan; or where only values change, or entries go.
#include "assign/linear_plan.hpp"
#include "assign/store_element.hpp"
#include "core/search.hpp"
#include "lookup/find_hits.hpp"
#include "subscript/walk.hpp"

#include <algorithm>

namespace zqsp {

namespace {

/// `grown`: the target, then. Patches count from one of the positions to the next, and so from value to value; of a
/// run, from row to row.
void carryOut(kxArray* A, const LinearLayout& grown, const RightSide& b, const LinearPlan& plan, NumberView values,
              NumberView positions = {.stride = 1})
{
    Relay relay(
        A, {.capacity = plan.capacity(), .columns = std::max(grown.n(), kxGetN(A)), .imaginaryPart = b.isComplex()});
    const Columns after = relay.after();
    withStorage(after, after, b.b, [&](auto to, auto, auto from) {
        relay.commit(plan.patches(), [&](const Patch& patch, unsigned at) {
            const unsigned first = patch.row - positions[patch.source];
            for (unsigned i = patch.source; i < patch.source + patch.length; ++i, ++at) {
                after.ir[at] = first + positions[i];
                to.copy(at, from, values[i]);
            }
        });
    });
    kxSetM(A, grown.m());
    kxSetN(A, grown.n());
}

void assignOne(kxArray* A, const LinearLayout& grown, const RightSide& b, unsigned position)
{
    storeElement(A, Columns(A), grown.placeOf(position), grown.m(), grown.n(), b, growCapacity);
}

/// Where every position is stored and no value is zero, the entries are overwritten in the order of the assignments:
/// nothing is sorted, and the last of repeated positions wins by being last. `numbers`: those of `positions`. False,
/// with nothing changed, elsewhere. (Not inlined: its searches need all registers.)
[[gnu::noinline]] bool overwriteInOrder(kxArray* A, const LinearLayout& layout, const RightSide& b, NumberView numbers,
                                        const Subscript& positions)
{
    constexpr unsigned kBlock = 256; // a miss ends the search
    const Columns a(A);
    const unsigned count = countOf(positions);
    if (layout.placeOf(highestOf(positions)).column >= a.n || b.anyZero(count)) {
        return false;
    }
    const auto entries = Block<unsigned>::make(count);
    for (unsigned done = 0, size = 0; done < count; done += size) {
        size = std::min(kBlock, count - done);
        bool allStored = true;
        searchPlaces<true>(
            a, size, [&](unsigned t) { return layout.placeOf(numbers[std::size_t{done} + t]); },
            [&](unsigned t, Slot slot) {
                entries[done + t] = slot.position;
                allStored &= slot.stored;
            });
        if (!allStored) {
            return false;
        }
    }
    Relay relay(A, {.capacity = a.nzmax, .columns = a.n, .imaginaryPart = b.isComplex()});
    relay.commitGrowth();
    const Columns after(A);
    withStorage(after, after, b.b, [&](auto to, auto, auto from) {
        for (unsigned t = 0; t < count; ++t) {
            to.copy(entries[t], from, b.source(t));
        }
    });
    return true;
}

/// A(K) = 0: what is stored at the positions, all inside of A, goes, nothing comes; A becomes as large as `grown`. No
/// position is sorted, only the entries that are found; and where positions outnumber the entries, it is these that are
/// looked for.
void removeStored(kxArray* A, const LinearLayout& grown, const Subscript& named)
{
    const Columns a(A);
    Subscript positions = borrowed(named);
    turnIfDescending(positions);
    HitList hits(std::min(countOf(positions), a.nnz()));
    findHits(a, positions, hits);
    constexpr unsigned kMarksPerEntry = 32; // gone through while an entry is sorted (uniform/set-linear.zero 2.1, 2.9)
    const unsigned count = hits.count();
    const bool isMarked = orderOf(positions) == Order::kUnsorted && count > 0 && a.nnz() / kMarksPerEntry <= count;
    const auto marks = isMarked ? Block<unsigned char>::zeroed(a.nnz()) : Block<unsigned char>();
    unsigned marked = 0; // up to the last mark
    for (unsigned i = 0; i < (isMarked ? count : 0); ++i) {
        marks[hits.sources()[i]] = 1;
        marked = std::max(marked, hits.sources()[i] + 1);
    }
    const Ordered removed(isMarked ? Subscript(LogicalMask{marks.get(), marked, countTrue(marks.get(), 0, marked)})
                                   : Subscript(IndexList(hits.sources(), count, orderOf(positions))),
                          Repeats::kLast);
    const auto patches = Block<Patch>::make(count);
    std::size_t size = 0;
    unsigned column = 0;
    forEachRun(removed.form(), [&](unsigned first, unsigned length) {
        for (unsigned e = first, end = first + length; e < end; e = patches[size++].end) {
            column = gallop(a.jc, column + 1, a.n, e + 1) - 1;
            patches[size] = {column, e, std::min(end, a.jc[column + std::size_t{1}]), 0};
        }
    });
    Relay relay(A, {.capacity = a.nzmax, .columns = std::max(grown.n(), a.n)});
    relay.commit({patches.get(), size}, [](const Patch&, unsigned) {});
    kxSetM(A, grown.m());
    kxSetN(A, grown.n());
}

} // namespace

void assignPositions(kxArray* A, unsigned m, unsigned n, const RightSide& b, const Subscript& positions)
{
    const Columns a(A);
    const unsigned count = countOf(positions);
    const auto* range = std::get_if<IndexRange>(&positions);
    const bool isRun = range != nullptr && range->ascending().isRun() && (!b.isMatrix() || range->isRun());
    const bool isEven = !b.isMatrix() || !isRun || !b.anyZero(count);
    const std::uint64_t elements = std::uint64_t{m} * n;
    const unsigned first = firstOf(positions);
    const LinearLayout initial(m, n, first);
    LinearLayout grown = initial;
    grown.cover(grown.placeOf(highestOf(positions)));
    const NumberView values{.stride = b.isMatrix() ? 1U : 0U};
    if (count == 1) {
        assignOne(A, grown, b, first);
    } else if (isRun && isEven) {
        carryOut(A, grown, b, LinearPlan::forRun(a, initial, b, *range), values);
    } else if (b.isNothing() && range != nullptr) {
        removeStored(A, grown, range->ascending().below(elements));
    } else if (b.isNothing() && highestOf(positions) < elements) {
        removeStored(A, grown, positions);
    } else {
        const Numbers numbers(positions);
        if (range != nullptr || !overwriteInOrder(A, initial, b, numbers, positions)) {
            const bool isInside = grown.m() == a.m && grown.n() == a.n;
            const bool onlyStores = isInside && !b.anyZero(count); // what else there is depends on the order
            const Ordered ordered(borrowed(positions), onlyStores ? Repeats::kLast : Repeats::kAll);
            const bool isInOrder = ordered.sources() == nullptr && !ordered.isReversed();
            const Numbers sorted = isInOrder ? Numbers() : Numbers(ordered.form());
            const NumberView& ascending = isInOrder ? numbers : sorted;
            const auto plan = LinearPlan::forPositions(a, initial, b, ordered, ascending, numbers, onlyStores);
            carryOut(A, grown, b, plan, b.isMatrix() ? ordered.sourceNumbers() : NumberView(), ascending);
        }
    }
}

void assignSparse(kxArray* A, unsigned m, unsigned n, const RightSide& b, const IndexRange& range)
{
    const LinearLayout initial(m, n, range.first);
    LinearLayout grown = initial;
    grown.cover(grown.placeOf(range.highest()));
    const Columns a(A);
    carryOut(A, grown, b, LinearPlan::forSparseValues(a, initial, b, range), {.stride = 1});
}

} // namespace zqsp
