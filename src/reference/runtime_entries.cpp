// Reference for the runtime's own code, by ready-made lists and colon triples. Failures are raised here, and the
// result keeps the operand's complexity.
#include "reference/gather.hpp"
#include "subscript/colon_range.hpp"

#include <zqspmatrix.h>

#include <algorithm>

using namespace zqsp;

namespace {

/// A null list selects everything.
Subscript checkedList(const unsigned* indices, unsigned count, unsigned extent)
{
    if (indices == nullptr) {
        return IndexRange::all(extent);
    }
    if (std::any_of(indices, indices + count, [extent](unsigned index) { return index >= extent; })) {
        kxHandleSparseSubscriptError(spIndexOutOfRange);
    }
    return IndexList(indices, count, Order::kUnsorted);
}

IndexRange checkedRange(int first, int stride, int last, unsigned extent)
{
    IndexRange range;
    kxHandleSparseSubscriptError(convertIntegralRange(first, stride, last, Extent::forReference(extent), range));
    return range;
}

} // namespace

kxArray* kxSparseReference(const kxArray* A, const unsigned* rows, unsigned rowCount, const unsigned* cols,
                           unsigned colCount)
{
    checkOperands(A);
    const Columns a(A);
    const Subscript rowForm = checkedList(rows, rowCount, a.m);
    if (rows == nullptr) {
        // Without rows the columns are a list, and an absent list is an empty one.
        const Subscript columns = cols == nullptr ? Subscript() : checkedList(cols, colCount, a.n);
        return gatherColumns(a, columns).release();
    }
    return gatherRegion(a, rowForm, checkedList(cols, colCount, a.n)).release();
}

kxArray* kxSparseColonReference(const kxArray* A, int rowFirst, int rowStride, int rowLast, int colFirst, int colStride,
                                int colLast)
{
    checkOperands(A);
    const Columns a(A);
    const IndexRange rows = checkedRange(rowFirst, rowStride, rowLast, a.m);
    const IndexRange columns = checkedRange(colFirst, colStride, colLast, a.n);
    return gatherRegion(a, rows, columns).release();
}
