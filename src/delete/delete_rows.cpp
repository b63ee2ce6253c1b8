#include "core/fresh_array.hpp"
#include "core/operand_check.hpp"
#include "core/row_selection.hpp"
#include "delete/deletion_target.hpp"
#include "subscript/convert.hpp"

#include <zqspmatrix.h>

namespace zqsp {

namespace {

/// New row numbers of the rows that stay, in a map of m words. Returns their number.
unsigned numberKeptRows(const Subscript& deleted, unsigned m, unsigned* map)
{
    std::visit([map](const auto& form) { form.forEach([map](unsigned row) { map[row] = NOT_SELECTED; }); }, deleted);
    unsigned kept = 0;
    for (unsigned r = 0; r < m; ++r) {
        const bool stays = map[r] == 0;
        map[r] = stays ? kept : NOT_SELECTED;
        kept += stays ? 1U : 0U;
    }
    return kept;
}

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
        moveSelected(a, 0, a.n, RowChoice::Gap{range->ascending().first, range->count()}, a, 0, a.jc + 1);
        kxSetM(A, a.m - range->count());
        return spOK;
    }
    const auto map = Block<unsigned>::zeroed(a.m);
    const unsigned kept = numberKeptRows(rows, a.m, map.get());
    moveSelected(a, 0, a.n, RowChoice::Map{map.get()}, a, 0, a.jc + 1);
    kxSetM(A, kept);
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
