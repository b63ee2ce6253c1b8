#include "core/errors.hpp"
#include "core/operand_check.hpp"
#include "core/values.hpp"
#include "lookup/entry_positions.hpp"
#include "reference/gather.hpp"

#include <zqspmatrix.h>

using namespace zqsp;

spStatus spRef2(const kxArray* A, kxArray** result)
{
    checkOperands(A);
    const Columns a(A);
    unsigned length = 0;
    if (!kxCheckMNForIndexing_nothrow(a.m, a.n, &length)) {
        raiseTooLargeForLinearIndex();
    }
    const unsigned nnz = a.nnz();
    ArrayOwner column = createLike(a, length, 1, nnz);
    const Columns out(column.get());
    // Column-major order of A is the order of the one column: values keep their places.
    withStorage(a, [&](auto from) { decltype(from)(out).copyRun(0, from, 0, nnz); });
    out.jc[1] = nnz;
    EntryWalk(a).write(nnz, out.ir, nnz);
    *result = column.release();
    return spOK;
}
