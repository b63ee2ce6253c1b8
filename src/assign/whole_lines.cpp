// A(:,J) = B and A(I,:) = B: their common entry, and a worker each.
#include "assign/write_region.hpp"
#include "core/errors.hpp"
#include "subscript/convert.hpp"

#include <zqspmatrix.h>

#include <algorithm>

namespace zqsp {

namespace {

using Worker = spStatus (*)(Target& target, const kxArray* subscript, Operand& B);

/// Nothing is selected: B must be nothing, or a scalar that goes nowhere.
spStatus assignNothing(Target& target, const kxArray* B)
{
    if (!kxIsEmpty(B) && !kxIsScalar(B)) {
        return spAssignDimMismatch;
    }
    if (isUnset(target.get())) {
        target.become(ArrayOwner(kxCreateSparseNumericMatrix(0, 0, 1, classOf(B), kxREAL)));
    }
    return spOK;
}

/// An empty square target takes the extent that its subscript leaves open from B.
bool extentFollowsB(const kxArray* A, const kxArray* B)
{
    return kxIsEmpty(A) && rowsOf(A) == kxGetN(A) && !kxIsEmpty(B);
}

spStatus assignColumns(Target& target, const kxArray* J, Operand& B)
{
    const kxArray* const A = target.get();
    Subscript form;
    const spStatus status = convertSubscript(J, Extent::forAssignment(kxGetN(A)), form);
    if (status != spOK) {
        return status;
    }
    unsigned count = countOf(form);
    if (count == 0) {
        return assignNothing(target, B.get());
    }
    unsigned m = rowsOf(A);
    if (kxMatch2DIndicesForIndexedAssignment(&m, &count, rowsOf(B.get()), kxGetN(B.get()), extentFollowsB(A, B.get()),
                                             nullptr) == 0) {
        return spAssignDimMismatch;
    }
    if (kxIsScalar(B.get())) {
        makeTruthsOne(B);
    }
    const Ordered columns(std::move(form), repeatsFor(B.get()));
    checkColumnGrowth(A, columns.highest());
    const std::uint64_t stored = kxGetNumNonZeroEl(B.get());
    const unsigned freshCapacity = checkedCount(kxIsScalar(B.get()) ? stored * count : stored);
    const Ordered rows(IndexRange::all(m), Repeats::kLast);
    const unsigned oldN = isUnset(A) ? 0 : kxGetN(A); // a fresh target has the columns that are named
    writeRegion(target, {rows, columns, m, std::max(columns.highest() + 1, oldN)}, m, count, B, freshCapacity);
    return spOK;
}

spStatus assignRows(Target& target, const kxArray* I, Operand& B)
{
    const kxArray* const A = target.get();
    Subscript form;
    const spStatus status = convertSubscript(I, Extent::forAssignment(rowsOf(A)), form);
    if (status != spOK) {
        return status;
    }
    unsigned count = countOf(form);
    if (count == 0) {
        return assignNothing(target, B.get());
    }
    unsigned n = kxGetN(A);
    bool columnsFollowB = extentFollowsB(A, B.get());
    if (kxMatch2DIndicesForIndexedAssignment(&count, &n, rowsOf(B.get()), kxGetN(B.get()), false, &columnsFollowB) ==
        0) {
        return spAssignDimMismatch;
    }
    const Ordered rows(std::move(form), repeatsFor(B.get()));
    const Ordered columns(IndexRange::all(n), Repeats::kLast);
    writeRegion(target, {rows, columns, std::max(rows.highest() + 1, rowsOf(A)), n}, count, n, B, 0);
    return spOK;
}

/// B as the workers take it: a matrix, sparse unless it is a scalar, and of the target's class. A target without a
/// class that is assigned as a whole becomes what B is by then.
spStatus prepareAndAssign(Target& target, const kxArray* originalB, const kxArray* subscript, Worker worker)
{
    const kxArray* const A = target.get();
    Operand B(originalB);
    if (!squeezeToMatrix(B)) {
        return spAssignDimMismatch;
    }
    const bool takesAll = classOf(A) == kxUNKNOWN_CLASS && isColon(subscript);
    if (!kxIsScalar(B.get()) && (takesAll || !kxIsEmpty(B.get()))) { // column starts of what is empty serve nobody
        B.become(kxMustBeSparse(B.get()));
    }
    if (takesAll) {
        target.become(ArrayOwner(kxDuplicateArray(B.get())));
        return spOK;
    }
    B.become(kxMustBe(B.get(), targetClass(A, B.get())));
    return worker(target, subscript, B);
}

} // namespace

} // namespace zqsp

spStatus spAss4(kxArray* A, const kxArray* B, const kxArray* J)
{
    using namespace zqsp;
    checkOperands(A, B, J);
    const auto assign = [=](Target& target) { return prepareAndAssign(target, B, J, assignColumns); };
    return assigned(A, isDeletionMarker(B) ? spDeleteColumns(A, J) : onTarget(A, {B, J}, assign));
}

spStatus spAss5(kxArray* A, const kxArray* B, const kxArray* I)
{
    using namespace zqsp;
    checkOperands(A, B, I);
    const auto assign = [=](Target& target) { return prepareAndAssign(target, B, I, assignRows); };
    return assigned(A, isDeletionMarker(B) ? spDeleteRows(A, I) : onTarget(A, {B, I}, assign));
}
