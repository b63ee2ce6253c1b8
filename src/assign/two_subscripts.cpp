// A(I,J) = B, A(:,J) = B and A(I,:) = B: one driver, to which the colon is the lack of a subscript.
#include "assign/region.hpp"
#include "assign/store_element.hpp"
#include "core/entry_moves.hpp"
#include "core/errors.hpp"
#include "core/target.hpp"
#include "subscript/convert.hpp"

#include <zqspmatrix.h>

#include <algorithm>

namespace zqsp {

namespace {

/// The subscripts that an export is given. Where one is null, all of that dimension is named, and an empty square
/// target takes its extent from B.
struct Named
{
    const kxArray* I;
    const kxArray* J;

    [[nodiscard]] bool areBoth() const { return I != nullptr && J != nullptr; }
};

/// Raises "pmaxsize" where a target with sparse content cannot grow to cover column `highest` (0-based).
void checkColumnGrowth(const kxArray* A, unsigned highest)
{
    if (highest > (kxGetMaxNumberOfElements() - 2) / 4 && !isUnset(A) && highest >= kxGetN(A)) {
        raiseMaxSize();
    }
}

spStatus shapeMismatch(const kxArray* B)
{
    return hasFlag(B, kxFLAG_EMPTY_LITERAL) ? spEmptyAssignDisallowed : spAssignDimMismatch;
}

/// B in the region's order: transposed where it is a vector that lies across the region, and with its rows and columns
/// in the ascending order of the targets where the subscripts are not, repeats resolved.
void alignWithRegion(Operand& B, const Region& region, unsigned namedRows, unsigned namedColumns)
{
    if (rowsOf(B.get()) != namedRows || kxGetN(B.get()) != namedColumns) {
        B.become(kxTranspose(B.get()));
    }
    if (region.rows.isReversed()) {
        ArrayOwner turned(kxCreateDeepCopy(B.get())); // (A colon reference would refuse columns beyond the maximum.)
        turnRows(Columns(turned.get()));
        B.become(turned.release());
    }
    const unsigned* const rows = region.rows.sources();
    const unsigned* columns = region.columns.sources();
    Block<unsigned> reversed;
    if (region.columns.isReversed()) {
        reversed = Block<unsigned>::make(namedColumns);
        region.columns.forEach([&](unsigned i, unsigned) { reversed[i] = region.columns.source(i); });
        columns = reversed.get();
    }
    if (rows != nullptr || columns != nullptr) {
        B.become(kxSparseReference(B.get(), rows, region.rows.count(), columns, region.columns.count()));
    }
}

/// Whether B is full, but can be written as it is: it lies in the region's order, and every value becomes an entry.
bool isReadWhereItIs(const kxArray* B, const Region& region)
{
    const auto isInOrder = [](const Ordered& numbers) { return numbers.sources() == nullptr && !numbers.isReversed(); };
    return !isSparse(B) && classOf(B) == kxDOUBLE_CLASS && !hasFlag(B, kxFLAG_COLON_OBJECT) && isInOrder(region.rows) &&
           isInOrder(region.columns) && !RightSide::matrix(B).anyZero(static_cast<unsigned>(elementsOf(B)));
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

void fillTarget(Target& target, const Region& region, const RightSide& b, unsigned freshCapacity)
{
    if (!isUnset(target.get())) {
        fillRegion(target.own(), region, b);
        return;
    }
    const unsigned entries = checkedCount(region.entriesOf(b));
    if (entries > region.mostEntries) {
        raiseMaxSize();
    }
    ArrayOwner fresh(kxCreateSparseNumericMatrix(region.m, region.n, std::max(entries, freshCapacity), b.b.classId,
                                                 b.b.complexity()));
    fillRegion(fresh.get(), region, b);
    target.become(std::move(fresh));
}

/// The most entries that the target columns may hold where a region of several columns is written into a matrix of
/// moderate height: the bound of a table of entries by row, which the runtime's maximum sizes.
std::uint64_t mostEntriesIn(unsigned m, unsigned columnCount, const kxArray* B)
{
    constexpr unsigned kModerateHeight = 0x200000;
    if (m > kModerateHeight || columnCount < 2) {
        return Region::kNoBound;
    }
    const unsigned most = kxGetMaxNumberOfElements();
    if (columnCount > most / 4) {
        raiseMaxSize();
    }
    return most / std::max(kxGetElementSize(B), 4U);
}

/// Writes B into the region, which it has been found to fit, and grows the target to cover the region.
/// `namedRows`, `namedColumns`: the region's extent as matched, repeats included; where one of them is 0, the target
/// only grows. The target is unchanged where this raises.
void writeRegion(Target& target, Operand& B, const Named& named, Region region, unsigned namedRows,
                 unsigned namedColumns)
{
    const bool isScalar = kxIsScalar(B.get());
    const bool isEmpty = namedRows == 0 || namedColumns == 0;
    const bool writesNothing = isEmpty || (isScalar && isZeroScalar(B.get()));
    const bool isFull = !isScalar && !isEmpty && isReadWhereItIs(B.get(), region);
    if (!isScalar && !isEmpty && !isFull) {
        B.become(kxMustBeSparse(B.get()));
    }
    unsigned freshCapacity = 0; // of a target without sparse content, unless it gets more entries
    if (named.I == nullptr) {
        freshCapacity = kxGetNumNonZeroEl(B.get()) * (isScalar ? namedColumns : 1);
    } else if (named.J != nullptr && writesNothing) {
        freshCapacity = 1;
    } else if (named.J != nullptr) {
        region.mostEntries = mostEntriesIn(region.m, namedColumns, B.get());
    }
    if (isEmpty || (writesNothing && isUnset(target.get()))) {
        growOnly(target, region, B.get(), freshCapacity);
        return;
    }
    if (!isScalar) {
        alignWithRegion(B, region, namedRows, namedColumns);
    }
    const RightSide b = isScalar ? RightSide::scalar(B.get())
                        : isFull ? RightSide::full(B.get())
                                 : RightSide::matrix(B.get());
    fillTarget(target, region, b, freshCapacity);
}

unsigned oneStepMore(unsigned nzmax, unsigned /*m*/, unsigned /*n*/)
{
    return checkedCount(std::uint64_t{nzmax} + kCapacityStep);
}

/// Stores a scalar at one element of a sparse A, `before`, which grows to m rows and to cover the column.
[[gnu::noinline]] void storeScalar(kxArray* A, const Columns& before, Place place, unsigned m, const kxArray* B)
{
    checkColumnGrowth(A, place.column);
    storeElement(A, before, place, std::max(m, before.m), std::max(place.column + 1, before.n), RightSide::scalar(B),
                 oneStepMore);
}

/// A(i,j) = v of plain numbers, where nothing needs a conversion or a copy; false for anything else. A stored element
/// is overwritten where it lies: most of such calls do no more.
bool assignNumber(kxArray* A, const kxArray* B, const kxArray* I, const kxArray* J)
{
    const unsigned most = kxGetMaxNumberOfElements();
    const unsigned row = plainIndex(I, most);
    const unsigned column = row != kNoIndex ? plainIndex(J, most) : kNoIndex;
    if (column == kNoIndex || !isPlainNumber(B) || B->class_id != kxDOUBLE_CLASS || A->class_id != kxDOUBLE_CLASS ||
        !isSparse(A) || A->pr == B->pr || A->pr == I->pr || A->pr == J->pr) {
        return false;
    }
    const unsigned* const dims = A->get_dimensions();
    const Columns before(A, dims[0], dims[1]);
    const double value = *static_cast<const double*>(B->pr);
    if (column < before.n && value != 0 && before.pi == nullptr) {
        if (const Slot slot = findStored(before, {row, column}); slot.stored) {
            RealValues(before).pr[slot.position] = value;
            return true;
        }
    }
    storeScalar(A, before, {row, column}, row + 1, B);
    return true;
}

/// Stores a scalar at one element, growing the target to m rows and to cover the column.
void assignElement(Target& target, Place place, unsigned m, const kxArray* B)
{
    if (!isUnset(target.get())) {
        kxArray* const A = target.own();
        storeScalar(A, Columns(A), place, m, B);
        return;
    }
    const RightSide b = RightSide::scalar(B);
    ArrayOwner fresh(kxCreateSparseNumericMatrix(m, place.column + 1, 1, classOf(B), kxREAL));
    storeElement(fresh.get(), Columns(fresh.get()), place, m, place.column + 1, b, oneStepMore);
    target.become(std::move(fresh));
}

/// One number each: a real array of a class that could be complex, with one stored element.
bool isScalarSubscript(const kxArray* subscript)
{
    return hasFlag(subscript, kxFLAG_MAY_BE_COMPLEX) && subscript->pi == nullptr && kxGetNumNonZeroEl(subscript) == 1;
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

spStatus assignByScalarSubscripts(Target& target, const kxArray* B, const Named& named)
{
    unsigned rowCount = 1;
    unsigned columnCount = 1;
    if (kxMatch2DIndicesForIndexedAssignment(&rowCount, &columnCount, rowsOf(B), kxGetN(B), false, nullptr) == 0) {
        return shapeMismatch(B);
    }
    unsigned row = 0;
    unsigned column = 0;
    if (const spStatus status = convertScalarSubscript(named.I, row); status != spOK) {
        return status;
    }
    if (const spStatus status = convertScalarSubscript(named.J, column); status != spOK) {
        return status;
    }
    assignElement(target, {row, column}, row + 1, B);
    return spOK;
}

/// No whole row or column is named: B must be nothing, or a scalar that goes nowhere.
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

/// Numbers of a dimension, which the target will have then: `extent` now, and enough to cover what is named.
unsigned grown(unsigned extent, unsigned count, const Ordered& numbers)
{
    return count > 0 ? std::max(numbers.highest() + 1, extent) : extent;
}

/// `rowForm`, `columnForm`: the subscripts, converted; all of a dimension without one.
spStatus assignConverted(Target& target, Operand& B, const Named& named, Subscript rowForm, Subscript columnForm)
{
    const kxArray* const A = target.get();
    const bool isScalar = kxIsScalar(B.get());
    unsigned rowCount = countOf(rowForm);
    unsigned columnCount = countOf(columnForm);
    if (!named.areBoth() && (named.I != nullptr ? rowCount : columnCount) == 0) {
        return assignNothing(target, B.get());
    }
    bool isOpen = !named.areBoth() && kxIsEmpty(A) && rowsOf(A) == kxGetN(A) && !kxIsEmpty(B.get());
    if (kxMatch2DIndicesForIndexedAssignment(&rowCount, &columnCount, rowsOf(B.get()), kxGetN(B.get()),
                                             isOpen && named.I == nullptr,
                                             named.J == nullptr ? &isOpen : nullptr) == 0) {
        return named.areBoth() ? shapeMismatch(B.get()) : spAssignDimMismatch;
    }
    if (named.areBoth() && isSparse(A) && overwriteFew(target, B.get(), rowForm, columnForm)) {
        return spOK;
    }
    if (named.I == nullptr) {
        rowForm = IndexRange::all(rowCount);
        if (isScalar) {
            makeTruthsOne(B);
        }
    } else if (named.J == nullptr) {
        columnForm = IndexRange::all(columnCount);
    }
    const Ordered rows(std::move(rowForm), Repeats::kLast);
    const Ordered columns(std::move(columnForm), Repeats::kLast);
    const unsigned m = grown(rowsOf(A), rowCount, rows);
    const unsigned n = grown(isUnset(A) ? 0 : kxGetN(A), columnCount, columns); // a fresh one has what is named
    if (named.areBoth() && rowCount == 1 && columnCount == 1) {
        assignElement(target, {rows.lowest(), columns.lowest()}, m, B.get());
        return spOK;
    }
    if (named.J != nullptr && columnCount > 0) {
        checkColumnGrowth(A, n - 1);
    }
    writeRegion(target, B, named, {rows, columns, m, n}, rowCount, columnCount);
    return spOK;
}

/// B: a matrix of the target's class.
spStatus assignMatrix(Target& target, Operand& B, const Named& named)
{
    const kxArray* const A = target.get();
    Subscript rows = IndexRange::all(rowsOf(A));
    if (named.I != nullptr) {
        if (const spStatus status = convertSubscript(named.I, Extent::forAssignment(rowsOf(A)), rows); status != spOK) {
            return status;
        }
    }
    Subscript columns = IndexRange::all(kxGetN(A));
    if (named.J != nullptr) {
        if (const spStatus status = convertSubscript(named.J, Extent::forAssignment(kxGetN(A)), columns);
            status != spOK) {
            return status;
        }
    }
    return assignConverted(target, B, named, std::move(rows), std::move(columns));
}

spStatus assignRegion(Target& target, const kxArray* originalB, const Named& named)
{
    Operand B(originalB);
    if (!isDeletionMarker(originalB)) {
        B.become(kxMustBe(originalB, targetClass(target.get(), originalB)));
    }
    if (!squeezeToMatrix(B)) {
        return spAssignDimMismatch;
    }
    if (isScalarSubscript(named.I) && isScalarSubscript(named.J)) {
        return assignByScalarSubscripts(target, B.get(), named);
    }
    return assignMatrix(target, B, named);
}

/// Whole rows or columns. B becomes sparse before its class changes, unless it is a scalar. A target without a class
/// that is assigned as a whole becomes what B is by then.
spStatus assignLines(Target& target, const kxArray* originalB, const Named& named)
{
    const kxArray* const A = target.get();
    Operand B(originalB);
    if (!squeezeToMatrix(B)) {
        return spAssignDimMismatch;
    }
    const bool takesAll = classOf(A) == kxUNKNOWN_CLASS && isColon(named.I != nullptr ? named.I : named.J);
    const bool isConverted = takesAll || targetClass(A, B.get()) != classOf(B.get());
    if (!kxIsScalar(B.get()) && isConverted &&
        (takesAll || !kxIsEmpty(B.get()))) { // column starts of what is empty serve nobody
        B.become(kxMustBeSparse(B.get()));
    }
    if (takesAll) {
        target.become(ArrayOwner(kxDuplicateArray(B.get())));
        return spOK;
    }
    B.become(kxMustBe(B.get(), targetClass(A, B.get())));
    return assignMatrix(target, B, named);
}

} // namespace

} // namespace zqsp

spStatus spAss4(kxArray* A, const kxArray* B, const kxArray* J)
{
    using namespace zqsp;
    checkOperands(A, B, J);
    const auto assign = [=](Target& target) { return assignLines(target, B, {nullptr, J}); };
    return assigned(A, isDeletionMarker(B) ? spDeleteColumns(A, J) : onTarget(assign, A, B, J));
}

spStatus spAss5(kxArray* A, const kxArray* B, const kxArray* I)
{
    using namespace zqsp;
    checkOperands(A, B, I);
    const auto assign = [=](Target& target) { return assignLines(target, B, {I, nullptr}); };
    return assigned(A, isDeletionMarker(B) ? spDeleteRows(A, I) : onTarget(assign, A, B, I));
}

spStatus spAss6(kxArray* A, const kxArray* B, const kxArray* I, const kxArray* J)
{
    using namespace zqsp;
    checkOperands(A, B, I, J);
    if (assignNumber(A, B, I, J)) {
        return assigned(A, spOK);
    }
    if (classOf(A) == kxUNKNOWN_CLASS && isColon(I) && isColon(J)) {
        // A target without a class takes B whole, whatever its shape.
        replaceContent(A, ArrayOwner(kxDuplicateArray(B)));
        return assigned(A, spOK);
    }
    const auto assign = [=](Target& target) { return assignRegion(target, B, {I, J}); };
    return assigned(A, onTarget(assign, A, B, I, J));
}
