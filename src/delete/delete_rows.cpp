#include "core/operand_check.hpp"
#include "core/row_selection.hpp"
#include "core/target.hpp"
#include "subscript/convert.hpp"
#include "subscript/row_sets.hpp"

#include <zqspmatrix.h>

namespace zqsp {

namespace {

spStatus deleteRows(Target& target, const kxArray* I)
{
    Subscript rows;
    const spStatus status = convertSubscript(I, Extent::forDeletion(rowsOf(target.get())), rows);
    if (status != spOK || countOf(rows) == 0) {
        return status;
    }
    kxArray* const A = target.own();
    const Columns a(A);
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
    return onTarget(A, {I}, [I](Target& target) { return deleteRows(target, I); });
}
