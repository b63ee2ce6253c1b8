// A(I,J) = B.
#include "assign/assignment_target.hpp"
#include "assign/element.hpp"
#include "assign/write_region.hpp"
#include "core/counts.hpp"
#include "core/fresh_array.hpp"
#include "core/operand_check.hpp"
#include "subscript/convert.hpp"

#include <zqspmatrix.h>

#include <algorithm>

namespace zqsp {

namespace {

/// One number each: a real array of a class that could be complex, with one stored element.
bool isScalarSubscript(const kxArray* subscript)
{
    return hasFlag(subscript, kxFLAG_MAY_BE_COMPLEX) && subscript->pi == nullptr && kxGetNumNonZeroEl(subscript) == 1;
}

spStatus shapeMismatch(const kxArray* B)
{
    return hasFlag(B, kxFLAG_EMPTY_LITERAL) ? spEmptyAssignDisallowed : spAssignDimMismatch;
}

bool fits(unsigned& rowCount, unsigned& columnCount, const kxArray* B)
{
    return kxMatch2DIndicesForIndexedAssignment(&rowCount, &columnCount, rowsOf(B), kxGetN(B), false, nullptr) != 0;
}

spStatus convertScalarSubscript(const kxArray* subscript, unsigned& index)
{
    const double value = kxGetScalar(subscript);
    const ValueRules rules = ValueRules::forElements();
    if (!rules.accepts(value)) {
        return rules.answerTo(value);
    }
    index = static_cast<unsigned>(value) - 1;
    return spOK;
}

/// Stores a scalar at one element, growing A to m rows and to cover the column. A full matrix grows by ten entries, a
/// deliberate small step.
void assignElement(kxArray* A, unsigned row, unsigned column, unsigned m, const kxArray* B)
{
    constexpr std::uint64_t kCapacityStep = 10;
    checkColumnGrowth(A, column);
    const bool isZero = isZeroScalar(B);
    const Columns b(B);
    if (!isUnset(A)) {
        storeElement(A, row, column, std::max(m, rowsOf(A)), std::max(column + 1, kxGetN(A)), b, isZero,
                     checkedCount(A->nzmax + kCapacityStep));
        return;
    }
    ArrayOwner fresh(kxCreateSparseNumericMatrix(m, column + 1, 1, classOf(B), kxREAL));
    storeElement(fresh.get(), row, column, m, column + 1, b, isZero, 1);
    kxSetArrayScope(fresh.get(), kxTEMPORARY_SCOPE);
    fresh.moveOnto(A);
}

spStatus assignByScalarSubscripts(kxArray* A, const kxArray* B, const kxArray* I, const kxArray* J)
{
    unsigned rowCount = 1;
    unsigned columnCount = 1;
    if (!fits(rowCount, columnCount, B)) {
        return shapeMismatch(B);
    }
    unsigned row = 0;
    unsigned column = 0;
    if (const spStatus status = convertScalarSubscript(I, row); status != spOK) {
        return status;
    }
    if (const spStatus status = convertScalarSubscript(J, column); status != spOK) {
        return status;
    }
    assignElement(A, row, column, row + 1, B);
    return spOK;
}

/// The most entries that the target columns may hold where a region of several columns is written into a matrix of
/// moderate height: the bound of a table of entries by row, which the runtime's maximum sizes.
FillLimits fillLimits(unsigned m, unsigned columnCount, const kxArray* B)
{
    constexpr unsigned kModerateHeight = 0x200000;
    if (m > kModerateHeight || columnCount < 2) {
        return {};
    }
    const unsigned most = kxGetMaxNumberOfElements();
    if (columnCount > most / 4) {
        raiseMaxSize();
    }
    return {.mostEntries = most / std::max(kxGetElementSize(B), 4U)};
}

spStatus assignConverted(kxArray* A, Operand& B, Subscript rowForm, Subscript columnForm)
{
    unsigned rowCount = countOf(rowForm);
    unsigned columnCount = countOf(columnForm);
    if (!fits(rowCount, columnCount, B.get())) {
        return shapeMismatch(B.get());
    }
    const bool isScalar = kxIsScalar(B.get());
    const TargetIndices rows(std::move(rowForm), !isScalar);
    const TargetIndices columns(std::move(columnForm), !isScalar);
    const unsigned m = rowCount > 0 ? std::max(rows.highest() + 1, rowsOf(A)) : rowsOf(A);
    const unsigned oldN = isUnset(A) ? 0 : kxGetN(A); // a fresh target has the columns that are named
    const unsigned n = columnCount > 0 ? std::max(columns.highest() + 1, oldN) : oldN;
    if (rowCount == 1 && columnCount == 1) {
        assignElement(A, rows.first(), columns.first(), m, B.get());
        return spOK;
    }
    if (columnCount > 0) {
        checkColumnGrowth(A, n - 1);
    }
    const bool writesNothing = rowCount == 0 || columnCount == 0 || (isScalar && isZeroScalar(B.get()));
    const FillLimits limits = writesNothing ? FillLimits() : fillLimits(m, columnCount, B.get());
    writeRegion(A, {rows, columns, m, n}, rowCount, columnCount, B, writesNothing ? 1 : 0, limits);
    return spOK;
}

spStatus assign(kxArray* A, const kxArray* originalB, const kxArray* I, const kxArray* J)
{
    Operand B(originalB);
    if (!isDeletionMarker(originalB)) {
        B.become(kxMustBe(originalB, targetClass(A, originalB)));
    }
    if (B->ndims > 2) {
        ArrayOwner squeezed = squeezeToMatrix(B.get());
        if (squeezed.get() == nullptr) {
            return spAssignDimMismatch;
        }
        B.become(squeezed.release());
    }
    if (isScalarSubscript(I) && isScalarSubscript(J)) {
        return assignByScalarSubscripts(A, B.get(), I, J);
    }
    Subscript rows;
    if (const spStatus status = convertSubscript(I, Extent::forAssignment(rowsOf(A)), rows); status != spOK) {
        return status;
    }
    Subscript columns;
    if (const spStatus status = convertSubscript(J, Extent::forAssignment(kxGetN(A)), columns); status != spOK) {
        return status;
    }
    return assignConverted(A, B, std::move(rows), std::move(columns));
}

} // namespace

} // namespace zqsp

spStatus spAss6(kxArray* A, const kxArray* B, const kxArray* I, const kxArray* J)
{
    using namespace zqsp;
    checkOperands(A, B, I, J);
    if (classOf(A) == kxUNKNOWN_CLASS && isColon(I) && isColon(J)) {
        // A target without a class takes B whole, whatever its shape.
        ArrayOwner copy(kxDuplicateArray(B));
        kxSetArrayScope(copy.get(), kxTEMPORARY_SCOPE);
        copy.moveOnto(A);
        kxFreeImagIfZero(A);
        return spOK;
    }
    return onAssignmentTarget(A, {B, I, J}, [=](kxArray* target) { return assign(target, B, I, J); });
}
