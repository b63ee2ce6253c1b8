#include "assign/write_region.hpp"

#include "core/errors.hpp"
#include "core/relay.hpp"
#include "core/values.hpp"
#include "lookup/place_search.hpp"

#include <zqspmatrix.h>

#include <algorithm>
#include <array>

namespace zqsp {

void checkColumnGrowth(const kxArray* A, unsigned highest)
{
    if (!isUnset(A) && highest >= kxGetN(A) && highest > (kxGetMaxNumberOfElements() - 2) / 4) {
        raiseMaxSize();
    }
}

namespace {

/// A copy of B whose rows come from the last to the first.
ArrayOwner upsideDown(const kxArray* B)
{
    ArrayOwner turned(kxCreateDeepCopy(B));
    const Columns from(B);
    const Columns to(turned.get());
    withStorage(to, [&](auto values) {
        const decltype(values) source(from);
        for (unsigned j = 0; j < from.n; ++j) {
            unsigned at = from.jc[j + std::size_t{1}];
            for (unsigned e = from.jc[j]; at > from.jc[j]; ++e) {
                to.ir[--at] = from.m - 1 - from.ir[e];
                values.copy(at, source, e);
            }
        }
    });
    return turned;
}

/// B in the region's order.
void alignWithRegion(Operand& B, const Region& region, unsigned namedRows, unsigned namedColumns)
{
    if (rowsOf(B.get()) != namedRows || kxGetN(B.get()) != namedColumns) {
        B.become(kxTranspose(B.get()));
    }
    B.become(kxMustBeSparse(B.get()));
    if (region.rows.isReversed()) {
        B.become(upsideDown(B.get()).release());
    }
    const unsigned* const rows = region.rows.sources();
    const unsigned* columns = region.columns.sources();
    Block<unsigned> reversed;
    if (region.columns.isReversed()) {
        reversed = Block<unsigned>::make(namedColumns);
        region.columns.forEach([&](unsigned i, unsigned) { reversed[i] = region.columns.source(i); });
        columns = reversed.get();
    }
    if (rows == nullptr && columns != nullptr) {
        B.become(kxSparseReference(B.get(), nullptr, 0, columns, region.columns.count()));
    } else if (rows != nullptr) {
        B.become(kxSparseReference(B.get(), rows, region.rows.count(), columns, region.columns.count()));
    }
}

/// Grows a target without writing anything into it.
void growOnly(Target& target, const Region& region, const kxArray* B, unsigned freshCapacity)
{
    const kxArray* const A = target.get();
    if (isUnset(A)) {
        target.become(
            ArrayOwner(kxCreateSparseNumericMatrix(region.m, region.n, freshCapacity, classOf(B), complexityOf(B))));
    } else if (region.m != rowsOf(A) || region.n > kxGetN(A)) {
        growColumns(target.own(), region.n);
        kxSetM(target.own(), region.m);
    }
}

void fillTarget(Target& target, const Region& region, const RightSide& b, unsigned freshCapacity,
                const FillLimits& limits)
{
    if (!isUnset(target.get())) {
        fillRegion(target.own(), region, b, limits);
        return;
    }
    const unsigned entries = checkedCount(region.entriesOf(b));
    if (entries > limits.mostEntries) {
        raiseMaxSize();
    }
    ArrayOwner fresh(kxCreateSparseNumericMatrix(region.m, region.n, std::max(entries, freshCapacity), b.b.classId,
                                                 b.b.complexity()));
    fillRegion(fresh.get(), region, b);
    target.become(std::move(fresh));
}

} // namespace

void writeRegion(Target& target, const Region& region, unsigned namedRows, unsigned namedColumns, Operand& B,
                 unsigned freshCapacity, const FillLimits& limits)
{
    const bool isEmpty = namedRows == 0 || namedColumns == 0;
    const bool isScalar = kxIsScalar(B.get());
    if (isEmpty || (isScalar && isUnset(target.get()) && isZeroScalar(B.get()))) {
        growOnly(target, region, B.get(), freshCapacity);
        return;
    }
    if (!isScalar) {
        alignWithRegion(B, region, namedRows, namedColumns);
    }
    const RightSide b = isScalar ? RightSide::scalar(B.get()) : RightSide::matrix(B.get());
    fillTarget(target, region, b, freshCapacity, limits);
}

} // namespace zqsp
