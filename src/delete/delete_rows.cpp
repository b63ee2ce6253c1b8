#include "core/fresh_array.hpp"
#include "core/operand_check.hpp"
#include "core/row_selection.hpp"
#include "delete/deletion_target.hpp"
#include "subscript/convert.hpp"
#include "subscript/row_sets.hpp"

#include <zqspmatrix.h>

namespace zqsp {

namespace {

spStatus deleteRows(kxArray* A, const kxArray* I)
{
    const Columns a(A);
    Subscript rows;
    const spStatus status = convertSubscript(I, Extent::forDeletion(a.m), rows);
    if (status != spOK || countOf(rows) == 0) {
        return status;
    }
    const auto* range = std::get_if<IndexRange>(&rows);
    if (range != nullptr && range->ascending().isRun()) {
        moveSelected(a, 0, a.n, RowGap{range->ascending().first, range->count()}, a, 0, a.jc + 1);
        kxSetM(A, a.m - range->count());
        return spOK;
    }
    const RowSet kept = othersThan(rows, a.m);
    moveSelected(a, 0, a.n, kept.ranked(), a, 0, a.jc + 1);
    kxSetM(A, kept.count());
    return spOK;
}

} // namespace

} // namespace zqsp

spStatus spDeleteRows(kxArray* A, const kxArray* I)
{
    using namespace zqsp;
    checkOperands(A, I);
    if (I->is_colon_index()) {
        becomeEmptySparse(A, 0, kxGetN(A), 1, classOf(A), kxREAL);
        return spOK;
    }
    return onDeletionTarget(A, I, [I](kxArray* target) { return deleteRows(target, I); });
}
