#include "assign/write_region.hpp"

#include "core/counts.hpp"
#include "core/fresh_array.hpp"
#include "core/relay.hpp"

#include <zqspmatrix.h>

#include <algorithm>

namespace zqsp {

void checkColumnGrowth(const kxArray* A, unsigned highest)
{
    if (!isUnset(A) && highest >= kxGetN(A) && highest > (kxGetMaxNumberOfElements() - 2) / 4) {
        raiseMaxSize();
    }
}

namespace {

/// B in the region's order.
void alignWithRegion(Operand& B, const Region& region, unsigned namedRows, unsigned namedColumns)
{
    if (rowsOf(B.get()) != namedRows || kxGetN(B.get()) != namedColumns) {
        B.become(kxTranspose(B.get()));
    }
    B.become(kxMustBeSparse(B.get()));
    const unsigned* rows = region.rows.sources();
    const unsigned* columns = region.columns.sources();
    if (rows == nullptr && columns != nullptr) {
        B.become(kxSparseReference(B.get(), nullptr, 0, columns, region.columns.count()));
    } else if (rows != nullptr) {
        B.become(kxSparseReference(B.get(), rows, region.rows.count(), columns, region.columns.count()));
    }
}

/// Grows a target without writing anything into it.
void growOnly(kxArray* A, const Region& region, const kxArray* B, unsigned freshCapacity)
{
    if (isUnset(A)) {
        becomeEmptySparse(A, region.m, region.n, freshCapacity, classOf(B), complexityOf(B));
        return;
    }
    growColumns(A, region.n);
    kxSetM(A, region.m);
}

void fillTarget(kxArray* A, const Region& region, const RightSide& b, unsigned freshCapacity, const FillLimits& limits)
{
    if (!isUnset(A)) {
        fillRegion(A, region, b, limits);
        return;
    }
    const unsigned entries = checkedCount(region.entriesOf(b));
    ArrayOwner fresh(kxCreateSparseNumericMatrix(region.m, region.n, std::max(entries, freshCapacity), b.b.classId,
                                                 b.b.complexity()));
    fillRegion(fresh.get(), region, b, limits);
    kxSetArrayScope(fresh.get(), kxTEMPORARY_SCOPE);
    fresh.moveOnto(A);
}

} // namespace

void writeRegion(kxArray* A, const Region& region, unsigned namedRows, unsigned namedColumns, Operand& B,
                 unsigned freshCapacity, const FillLimits& limits)
{
    if (namedRows == 0 || namedColumns == 0) {
        growOnly(A, region, B.get(), freshCapacity);
    } else if (!kxIsScalar(B.get())) {
        alignWithRegion(B, region, namedRows, namedColumns);
        fillTarget(A, region, RightSide::matrix(B.get()), freshCapacity, limits);
    } else if (!isZeroScalar(B.get())) {
        fillTarget(A, region, RightSide::scalar(B.get()), freshCapacity, limits);
    } else if (isUnset(A)) {
        growOnly(A, region, B.get(), freshCapacity);
    } else {
        clearRegion(A, region);
    }
}

} // namespace zqsp
