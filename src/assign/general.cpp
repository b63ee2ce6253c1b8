// A(I,J) = B.
#include "assign/write_region.hpp"
#include "core/errors.hpp"
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

unsigned oneStepMore(unsigned nzmax, unsigned /*m*/, unsigned /*n*/)
{
    return checkedCount(std::uint64_t{nzmax} + kCapacityStep);
}

/// Stores a scalar at one element, growing the target to m rows and to cover the column.
void assignElement(Target& target, unsigned row, unsigned column, unsigned m, const kxArray* B)
{
    checkColumnGrowth(target.get(), column);
    const RightSide b = RightSide::scalar(B);
    if (!isUnset(target.get())) {
        kxArray* const A = target.own();
        const unsigned* const dims = A->get_dimensions();
        storeElement(A, row, column, std::max(m, dims[0]), std::max(column + 1, dims[1]), b, oneStepMore);
        return;
    }
    ArrayOwner fresh(kxCreateSparseNumericMatrix(m, column + 1, 1, classOf(B), kxREAL));
    storeElement(fresh.get(), row, column, m, column + 1, b, oneStepMore);
    target.become(std::move(fresh));
}

spStatus assignByScalarSubscripts(Target& target, const kxArray* B, const kxArray* I, const kxArray* J)
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
    assignElement(target, row, column, row + 1, B);
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

spStatus assignConverted(Target& target, Operand& B, Subscript rowForm, Subscript columnForm)
{
    unsigned rowCount = countOf(rowForm);
    unsigned columnCount = countOf(columnForm);
    if (!fits(rowCount, columnCount, B.get())) {
        return shapeMismatch(B.get());
    }
    const Repeats repeats = repeatsFor(B.get());
    const Ordered rows(std::move(rowForm), repeats);
    const Ordered columns(std::move(columnForm), repeats);
    const kxArray* A = target.get();
    const unsigned m = rowCount > 0 ? std::max(rows.highest() + 1, rowsOf(A)) : rowsOf(A);
    const unsigned oldN = isUnset(A) ? 0 : kxGetN(A); // a fresh target has the columns that are named
    const unsigned n = columnCount > 0 ? std::max(columns.highest() + 1, oldN) : oldN;
    if (rowCount == 1 && columnCount == 1) {
        assignElement(target, rows.lowest(), columns.lowest(), m, B.get());
        return spOK;
    }
    if (columnCount > 0) {
        checkColumnGrowth(A, n - 1);
    }
    const bool writesNothing = rowCount == 0 || columnCount == 0 || (kxIsScalar(B.get()) && isZeroScalar(B.get()));
    const FillLimits limits = writesNothing ? FillLimits() : fillLimits(m, columnCount, B.get());
    writeRegion(target, {rows, columns, m, n}, rowCount, columnCount, B, writesNothing ? 1 : 0, limits);
    return spOK;
}

spStatus assign(Target& target, const kxArray* originalB, const kxArray* I, const kxArray* J)
{
    const kxArray* A = target.get();
    Operand B(originalB);
    if (!isDeletionMarker(originalB)) {
        B.become(kxMustBe(originalB, targetClass(A, originalB)));
    }
    if (!squeezeToMatrix(B)) {
        return spAssignDimMismatch;
    }
    if (isScalarSubscript(I) && isScalarSubscript(J)) {
        return assignByScalarSubscripts(target, B.get(), I, J);
    }
    Subscript rows;
    if (const spStatus status = convertSubscript(I, Extent::forAssignment(rowsOf(A)), rows); status != spOK) {
        return status;
    }
    Subscript columns;
    if (const spStatus status = convertSubscript(J, Extent::forAssignment(kxGetN(A)), columns); status != spOK) {
        return status;
    }
    return assignConverted(target, B, std::move(rows), std::move(columns));
}

} // namespace

} // namespace zqsp

spStatus spAss6(kxArray* A, const kxArray* B, const kxArray* I, const kxArray* J)
{
    using namespace zqsp;
    checkOperands(A, B, I, J);
    if (classOf(A) == kxUNKNOWN_CLASS && isColon(I) && isColon(J)) {
        // A target without a class takes B whole, whatever its shape.
        replaceContent(A, ArrayOwner(kxDuplicateArray(B)));
        return assigned(A, spOK);
    }
    return assigned(A, onTarget(A, {B, I, J}, [=](Target& target) { return assign(target, B, I, J); }));
}
