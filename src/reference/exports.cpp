// The two-subscript reference exports: convert, gather, drop an all-zero imaginary part.
#include "core/values.hpp"
#include "lookup/place_search.hpp"
#include "reference/gather.hpp"
#include "subscript/convert.hpp"

#include <zqspmatrix.h>

#include <algorithm>

using namespace zqsp;

namespace {

spStatus finish(ArrayOwner array, kxArray** result)
{
    if (isComplex(array.get())) {
        kxFreeImagIfZero(array.get());
    }
    *result = array.release();
    return spOK;
}

/// Whether two subscripts hold the same index data, so that one conversion serves both.
bool sameIndexData(const kxArray* a, const kxArray* b)
{
    return hasFlag(a, kxFLAG_MAY_BE_COMPLEX) && hasFlag(b, kxFLAG_MAY_BE_COMPLEX) && a->pr == b->pr && a->pi == b->pi &&
           a->pr != nullptr;
}

/// A(row,column). (The walks of gatherRegion() over columns would cost more than what they find.)
ArrayOwner gatherElement(const Columns& a, unsigned row, unsigned column)
{
    const Slot slot = findStored(a, {row, column});
    if (!slot.stored) {
        const bool hasRoom = a.length(column) > 0 && !useRowMap(a, 1);
        return createLike(a, 1, 1, hasRoom ? 1 : 0);
    }
    ArrayOwner result = createLike(a, 1, 1, 1);
    result->ir[0] = 0;
    result->jc[1] = 1;
    Columns out = a;
    out.pr = static_cast<std::byte*>(result->pr);
    out.pi = static_cast<std::byte*>(result->pi);
    withStorage(a, [&](auto from) { decltype(from)(out).copy(0, from, slot.position); });
    return result;
}

/// A(I,J) of anything else, A being checked. (Apart from spRef6(), whose registers it would take.)
[[gnu::noinline]] spStatus referRegion(const kxArray* A, const kxArray* I, const kxArray* J, kxArray** result)
{
    checkOperands(I, J);
    if (isColon(I)) {
        return spRef4(A, J, result);
    }
    const Columns a(A);
    Subscript rows;
    spStatus status = convertSubscript(I, Extent::forReference(a.m), rows);
    if (status != spOK) {
        return status;
    }
    if (sameIndexData(I, J) && a.m <= a.n) {
        return finish(gatherRegion(a, rows, rows), result);
    }
    Subscript columns;
    status = convertSubscript(J, Extent::forReference(a.n), columns);
    return status != spOK ? status : finish(gatherRegion(a, rows, columns), result);
}

/// A(:,J) of any other J than one number, likewise.
[[gnu::noinline]] spStatus referColumns(const kxArray* A, const kxArray* J, kxArray** result)
{
    if (isColon(J)) {
        return finish(ArrayOwner(kxDuplicateArray(A)), result);
    }
    const Columns a(A);
    Subscript columns;
    const spStatus status = convertSubscript(J, Extent::forReference(a.n), columns);
    return status != spOK ? status : finish(gatherColumns(a, columns), result);
}

} // namespace

spStatus spRef4(const kxArray* A, const kxArray* J, kxArray** result)
{
    checkOperands(A, J);
    const unsigned* const dims = A->get_dimensions();
    const unsigned column = plainIndex(J, std::min(dims[1], kxGetMaxNumberOfElements()));
    if (column == kNoIndex) {
        return referColumns(A, J, result);
    }
    return finish(gatherNeighbours(Columns(A, dims[0], dims[1]), column, 1), result);
}

spStatus spRef5(const kxArray* A, const kxArray* I, kxArray** result)
{
    checkOperands(A, I);
    if (isColon(I)) {
        return finish(ArrayOwner(kxDuplicateArray(A)), result);
    }
    const Columns a(A);
    Subscript rows;
    const spStatus status = convertSubscript(I, Extent::forReference(a.m), rows);
    return status != spOK ? status : finish(gatherRegion(a, rows, IndexRange::all(a.n)), result);
}

spStatus spRef6(const kxArray* A, const kxArray* I, const kxArray* J, kxArray** result)
{
    checkOperands(A);
    const unsigned* const dims = A->get_dimensions();
    const unsigned most = kxGetMaxNumberOfElements();
    const unsigned row = plainIndex(I, std::min(dims[0], most));
    const unsigned column = row != kNoIndex ? plainIndex(J, std::min(dims[1], most)) : kNoIndex;
    if (column == kNoIndex) {
        return referRegion(A, I, J, result);
    }
    return finish(gatherElement(Columns(A, dims[0], dims[1]), row, column), result);
}
