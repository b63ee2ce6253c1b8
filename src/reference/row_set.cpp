#include "core/counts.hpp"
#include "core/row_selection.hpp"
#include "reference/column_visit.hpp"
#include "reference/gather.hpp"
#include "reference/row_methods.hpp"
#include "subscript/row_sets.hpp"

namespace zqsp {

namespace {

/// The entries of the visited columns that lie in `rows`, each as often as its column is visited. Neighbouring columns
/// are counted as one.
std::uint64_t countInRows(const Columns& a, const Subscript& columns, const RowSet& rows)
{
    if (rows.count() == a.m) {
        return entriesIn(a, columns); // nothing has to be looked up
    }
    std::uint64_t total = 0;
    forEachColumnRun<Reading::kRows>(a, columns, [&](unsigned first, unsigned length) {
        total += countSelected(a, a.jc[first], a.jc[first + length], rows.ranked());
    });
    return total;
}

/// Rows that ascend and do not repeat: the new row is the rank.
ArrayOwner gatherBySet(const Columns& a, const RowSet& rows, unsigned total, const Subscript& columns)
{
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

} // namespace

ArrayOwner gatherByTable(const Columns& a, const Subscript& rows, const Subscript& columns)
{
    const RowSet selected = selectedOf(rows, a.m);
    const bool repeats = selected.count() < countOf(rows);
    const std::uint64_t total = repeats ? 0 : countInRows(a, columns, selected);
    return repeats || orderOf(rows) != Order::kAscending ? gatherByMap(a, rows, total, repeats, columns)
                                                         : gatherBySet(a, selected, checkedCount(total), columns);
}

} // namespace zqsp
