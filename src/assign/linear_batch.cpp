#include "assign/linear_batch.hpp"

#include "assign/element.hpp"
#include "assign/linear_capacity.hpp"
#include "assign/linear_plan.hpp"
#include "assign/linear_stored.hpp"
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
        relay.commit(plan.patches(), [&](const ElementPatch& patch, unsigned at) {
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
    if (!isPlain) {
        carryOut(A, grown, values, LinearPlan::forPositions(a, initial, values, numbers, ordered));
        return;
    }
    const bool isMask = !std::holds_alternative<IndexList>(ordered.form()) &&
                        !std::holds_alternative<IndexRange>(ordered.form()); // is written out by now
    const Numbers ascending = isMask ? Numbers() : Numbers(ordered.form());
    carryOut(A, grown, values,
             PositionPlan(a, initial, values, isMask ? NumberView(numbers) : NumberView(ascending), ordered));
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
    carryOut(A, grown, AssignedValues(b, false), LinearPlan::forSparseValues(a, initial, b, range));
}

} // namespace zqsp
