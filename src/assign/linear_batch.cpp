#include "assign/linear_batch.hpp"

#include "assign/linear_plan.hpp"
#include "assign/write_region.hpp"
#include "core/search.hpp"
#include "lookup/find_hits.hpp"
#include "subscript/runs.hpp"

#include <algorithm>

namespace zqsp {

namespace {

/// `grown`: the target, then.
template <typename Plan>
void carryOut(kxArray* A, const LinearLayout& grown, const AssignedValues& values, const Plan& plan)
{
    Relay relay(
        A,
        {.capacity = plan.capacity(), .columns = std::max(grown.n(), kxGetN(A)), .imaginaryPart = values.areComplex()});
    const Columns after = relay.after();
    const unsigned step = values.isScalar() ? 0 : 1;
    withStorage(after, after, values.b, [&](auto to, auto, auto from) {
        relay.commit(plan.patches(), [&](const Patch& patch, unsigned at) {
            for (unsigned k = 0; k < patch.length; ++k) {
                after.ir[at + k] = patch.row + k;
                to.copy(at + k, from, patch.source + std::size_t{k} * step);
            }
        });
    });
    kxSetM(A, grown.m());
    kxSetN(A, grown.n());
}

void assignOne(kxArray* A, const LinearLayout& grown, const AssignedValues& values, unsigned position)
{
    const Place place = grown.placeOf(position);
    storeElement(A, place.row, place.column, grown.m(), grown.n(), values.b, values.anyZero(1), growCapacity);
}

/// Values for any positions, whose numbers are known.
void assignListed(kxArray* A, const LinearLayout& initial, const LinearLayout& grown, const AssignedValues& values,
                  const Numbers& numbers, const Subscript& positions)
{
    const Columns a(A);
    const bool isInside = grown.m() == a.m && grown.n() == a.n;
    const bool isPlain = isInside && !values.anyZero(countOf(positions));
    const Ordered ordered(borrowed(positions), isPlain ? Repeats::kLast : Repeats::kAll);
    const bool isMask = !std::holds_alternative<IndexList>(ordered.form()) &&
                        !std::holds_alternative<IndexRange>(ordered.form()); // is written out by now
    const Numbers ascending = isMask ? Numbers() : Numbers(ordered.form());
    carryOut(A, grown, values,
             PositionPlan(a, initial, values, numbers, isMask ? NumberView(numbers) : NumberView(ascending), ordered,
                          isPlain));
}

/// Where every position is stored and no value is zero, the entries are overwritten in the order of the assignments:
/// nothing is sorted, and the last of repeated positions wins by being last. `numbers`: those of `positions`. False,
/// with nothing changed, elsewhere.
bool overwriteInOrder(kxArray* A, const LinearLayout& layout, const AssignedValues& values, NumberView numbers,
                      const Subscript& positions)
{
    constexpr unsigned kBlock = 256; // a miss ends the search
    const Columns a(A);
    const unsigned count = countOf(positions);
    if (layout.placeOf(highestOf(positions)).column >= a.n || values.anyZero(count)) {
        return false;
    }
    const auto entries = Block<unsigned>::make(count);
    for (unsigned done = 0, size = 0; done < count; done += size) {
        size = std::min(kBlock, count - done);
        bool allStored = true;
        searchPlaces(
            a, size, [&](unsigned t) { return layout.placeOf(numbers[std::size_t{done} + t]); },
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

/// A(K) = 0: what is stored at the positions, all inside of A, goes, nothing comes; A becomes as large as `grown`. No
/// position is sorted, only the entries that are found; and where positions outnumber the entries, it is these that are
/// looked for.
void removeStored(kxArray* A, const LinearLayout& grown, const Subscript& positions)
{
    const Columns a(A);
    HitList hits(countOf(positions));
    findHits(a, positions, hits);
    auto entries = Block<unsigned>::make(hits.count());
    unsigned count = 0;
    hits.forEachPart([&](const Hits& some) {
        std::copy_n(some.sources, some.count, entries.get() + count);
        count += some.count;
    });
    const bool areSorted = orderOf(positions) != Order::kUnsorted; // they come from the lowest position on
    const Ordered removed(IndexList(std::move(entries), count, areSorted ? Order::kAscending : Order::kUnsorted),
                          Repeats::kNone);
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
    relay.commit(std::span<const Patch>(patches.get(), size), [](const Patch&, unsigned) {});
    kxSetM(A, grown.m());
    kxSetN(A, grown.n());
}

} // namespace

void assignPositions(kxArray* A, unsigned m, unsigned n, const Columns& b, bool isScalar, const Subscript& positions)
{
    const Columns a(A);
    const AssignedValues values(b, isScalar);
    const unsigned count = countOf(positions);
    const auto* range = std::get_if<IndexRange>(&positions);
    const bool isRun = range != nullptr && range->ascending().isRun() && (isScalar || range->isRun());
    const bool isEven = isScalar || !isRun || !values.anyZero(count);
    const std::uint64_t elements = std::uint64_t{m} * n;
    const unsigned first = firstOf(positions);
    const LinearLayout initial(m, n, first);
    LinearLayout grown = initial;
    grown.cover(highestOf(positions));
    if (count == 1) {
        assignOne(A, grown, values, first);
    } else if (isRun && isEven) {
        carryOut(A, grown, values, LinearPlan::forRun(a, initial, values, *range));
    } else if (values.areAllZero() && range != nullptr) {
        removeStored(A, grown, range->ascending().below(elements));
    } else if (values.areAllZero() && highestOf(positions) < elements) {
        removeStored(A, grown, positions);
    } else {
        const Numbers numbers(positions);
        if (range != nullptr || !overwriteInOrder(A, initial, values, numbers, positions)) {
            assignListed(A, initial, grown, values, numbers, positions);
        }
    }
}

void assignSparse(kxArray* A, unsigned m, unsigned n, const Columns& b, const IndexRange& range)
{
    const LinearLayout initial(m, n, range.first);
    LinearLayout grown = initial;
    grown.cover(range.highest());
    const Columns a(A);
    const AssignedValues values(b, false);
    carryOut(A, grown, values, LinearPlan::forSparseValues(a, initial, values, range));
}

} // namespace zqsp
