// A(:,J) = B and A(I,:) = B: their common entry, and a worker each.
#include "assign/assignment_target.hpp"
#include "assign/write_region.hpp"
#include "core/counts.hpp"
#include "core/fresh_array.hpp"
#include "core/operand_check.hpp"
#include "core/relay.hpp"
#include "subscript/convert.hpp"

#include <zqspmatrix.h>

#include <algorithm>

namespace zqsp {

namespace {

using Worker = spStatus (*)(kxArray* A, const kxArray* subscript, Operand& B);

/// Nothing is selected: B must be nothing, or a scalar that goes nowhere.
spStatus assignNothing(kxArray* A, const kxArray* B)
{
    if (!kxIsEmpty(B) && !kxIsScalar(B)) {
        return spAssignDimMismatch;
    }
    if (isUnset(A)) {
        becomeEmptySparse(A, 0, 0, 1, classOf(B), kxREAL);
    }
    return spOK;
}

/// An empty square target takes the extent that its subscript leaves open from B.
bool extentFollowsB(const kxArray* A, const kxArray* B)
{
    return kxIsEmpty(A) && rowsOf(A) == kxGetN(A) && !kxIsEmpty(B);
}

spStatus assignColumns(kxArray* A, const kxArray* J, Operand& B)
{
    Subscript form;
    const spStatus status = convertSubscript(J, Extent::forAssignment(kxGetN(A)), form);
    if (status != spOK) {
        return status;
    }
    unsigned count = countOf(form);
    if (count == 0) {
        return assignNothing(A, B.get());
    }
    unsigned m = rowsOf(A);
    if (kxMatch2DIndicesForIndexedAssignment(&m, &count, rowsOf(B.get()), kxGetN(B.get()), extentFollowsB(A, B.get()),
                                             nullptr) == 0) {
        return spAssignDimMismatch;
    }
    const TargetIndices columns(std::move(form), !kxIsScalar(B.get()));
    checkColumnGrowth(A, columns.highest());
    const std::uint64_t stored = kxGetNumNonZeroEl(B.get());
    const unsigned freshCapacity = checkedCount(kxIsScalar(B.get()) ? stored * count : stored);
    const TargetIndices rows(IndexRange::all(m), false);
    const unsigned oldN = isUnset(A) ? 0 : kxGetN(A); // a fresh target has the columns that are named
    writeRegion(A, {rows, columns, m, std::max(columns.highest() + 1, oldN)}, m, count, B, freshCapacity);
    return spOK;
}

spStatus assignRows(kxArray* A, const kxArray* I, Operand& B)
{
    Subscript form;
    const spStatus status = convertSubscript(I, Extent::forAssignment(rowsOf(A)), form);
    if (status != spOK) {
        return status;
    }
    unsigned count = countOf(form);
    if (count == 0) {
        return assignNothing(A, B.get());
    }
    unsigned n = kxGetN(A);
    bool columnsFollowB = extentFollowsB(A, B.get());
    if (kxMatch2DIndicesForIndexedAssignment(&count, &n, rowsOf(B.get()), kxGetN(B.get()), false, &columnsFollowB) ==
        0) {
        return spAssignDimMismatch;
    }
    const TargetIndices rows(std::move(form), !kxIsScalar(B.get()));
    const TargetIndices columns(IndexRange::all(n), false);
    writeRegion(A, {rows, columns, std::max(rows.highest() + 1, rowsOf(A)), n}, count, n, B, 0);
    return spOK;
}

/// B as the workers take it: a matrix, sparse unless it is a scalar, and of the target's class. A target without a
/// class that is assigned as a whole becomes what B is by then.
spStatus prepareAndAssign(kxArray* A, const kxArray* originalB, const kxArray* subscript, Worker worker)
{
    Operand B(originalB);
    if (originalB->ndims > 2) {
        ArrayOwner squeezed = squeezeToMatrix(originalB);
        if (squeezed.get() == nullptr) {
            return spAssignDimMismatch;
        }
        B.become(squeezed.release());
    }
    if (!kxIsScalar(B.get())) {
        B.become(kxMustBeSparse(B.get()));
    }
    if (classOf(A) == kxUNKNOWN_CLASS && isColon(subscript)) {
        ArrayOwner copy(kxDuplicateArray(B.get()));
        kxSetArrayScope(copy.get(), kxTEMPORARY_SCOPE);
        copy.moveOnto(A);
        return spOK;
    }
    B.become(kxMustBe(B.get(), targetClass(A, B.get())));
    return worker(A, subscript, B);
}

spStatus assignLines(kxArray* A, const kxArray* B, const kxArray* subscript, Worker worker)
{
    return onAssignmentTarget(A, {B, subscript},
                              [=](kxArray* target) { return prepareAndAssign(target, B, subscript, worker); });
}

spStatus deleteFrom(kxArray* A, const kxArray* subscript, spStatus (*remove)(kxArray*, const kxArray*))
{
    const spStatus status = remove(A, subscript);
    if (status == spOK) {
        kxFreeImagIfZero(A);
    }
    return status;
}

} // namespace

} // namespace zqsp

spStatus spAss4(kxArray* A, const kxArray* B, const kxArray* J)
{
    using namespace zqsp;
    checkOperands(A, B, J);
    return isDeletionMarker(B) ? deleteFrom(A, J, spDeleteColumns) : assignLines(A, B, J, assignColumns);
}

spStatus spAss5(kxArray* A, const kxArray* B, const kxArray* I)
{
    using namespace zqsp;
    checkOperands(A, B, I);
    return isDeletionMarker(B) ? deleteFrom(A, I, spDeleteRows) : assignLines(A, B, I, assignRows);
}
