#include "core/counts.hpp"
#include "core/row_selection.hpp"
#include "reference/column_visit.hpp"
#include "reference/gather.hpp"
#include "reference/row_methods.hpp"

namespace zqsp {

std::uint64_t countInRows(const Columns& a, const Subscript& columns, const RowSet& rows)
{
    std::uint64_t total = 0;
    if (rows.count() == a.m) { // nothing has to be looked up
        forEachRun(columns, [&](unsigned first, unsigned length) { total += a.jc[first + length] - a.jc[first]; });
        return total;
    }
    forEachColumnRun<Reading::kRows>(a, columns, [&](unsigned first, unsigned length) {
        total += countSelected(a, a.jc[first], a.jc[first + length], rows.ranked());
    });
    return total;
}

ArrayOwner gatherByRank(const Columns& a, const RowSet& rows, const Subscript& columns)
{
    const unsigned total = checkedCount(countInRows(a, columns, rows));
    ArrayOwner result = createLike(a, rows.count(), countOf(columns), total);
    const Columns out(result.get());
    unsigned written = 0;
    unsigned* ends = out.jc + 1;
    forEachColumnRun(a, columns, [&](unsigned first, unsigned length) {
        written = moveSelected(a, first, length, rows.ranked(), out, written, ends);
        ends += length;
    });
    return result;
}

} // namespace zqsp
