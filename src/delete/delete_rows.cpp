#include "core/fresh_array.hpp"
#include "core/operand_check.hpp"
#include "core/values.hpp"
#include "delete/deletion_target.hpp"
#include "subscript/convert.hpp"

#include <zqspmatrix.h>

namespace zqsp {

namespace {

/// One forward pass over all entries, in place. newRow(r) is the new number of row r, or NOT_SELECTED for a deleted
/// row. An entry is written before it is known to be kept: at worst it is written over by the next one, and there is
/// no branch to mispredict.
template <typename NewRow>
void compactRows(const Columns& a, NewRow newRow)
{
    withStorage(a, [&](auto values) {
        unsigned* const ir = a.ir;
        unsigned kept = 0;
        unsigned e = 0;
        for (unsigned j = 0; j < a.n; ++j) {
            const unsigned end = a.jc[j + 1];
            a.jc[j] = kept;
            for (; e < end; ++e) {
                const unsigned row = newRow(ir[e]);
                ir[kept] = row;
                values.copy(kept, values, e);
                kept += row != NOT_SELECTED ? 1U : 0U;
            }
        }
        a.jc[a.n] = kept;
    });
}

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
        const unsigned first = range->ascending().first;
        const unsigned count = range->count();
        compactRows(a, [first, count](unsigned row) {
            return row < first ? row : (row - first < count ? NOT_SELECTED : row - count);
        });
        kxSetM(A, a.m - count);
        return spOK;
    }
    const auto map = Block<unsigned>::zeroed(a.m);
    const unsigned kept = numberKeptRows(rows, a.m, map.get());
    compactRows(a, [newRow = map.get()](unsigned row) { return newRow[row]; });
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
