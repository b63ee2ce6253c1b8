// The two-subscript reference exports: convert, gather, drop an all-zero imaginary part.
#include "reference/gather.hpp"
#include "subscript/convert.hpp"

#include <zqspmatrix.h>

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

} // namespace

spStatus spRef4(const kxArray* A, const kxArray* J, kxArray** result)
{
    checkOperands(A, J);
    if (isColon(J)) {
        return finish(ArrayOwner(kxDuplicateArray(A)), result);
    }
    const Columns a(A);
    Subscript columns;
    const spStatus status = convertSubscript(J, Extent::forReference(a.n), columns);
    return status != spOK ? status : finish(gatherColumns(a, columns), result);
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
    checkOperands(A, I, J);
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
