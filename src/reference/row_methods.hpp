// The ways of taking rows out of columns. gatherRegion() chooses; each method lives in a file of its name.
#ifndef ZQSP_REFERENCE_ROW_METHODS_HPP
#define ZQSP_REFERENCE_ROW_METHODS_HPP

#include "core/columns.hpp"
#include "core/owners.hpp"
#include "core/row_set.hpp"
#include "subscript/forms.hpp"

#include <cstdint>

namespace zqsp {

/// The capacity of a result whose rows are searched: for each visited column with stored entries, these and the
/// `repeats` of the row list, but no more than the `k` rows of the result.
unsigned searchCapacity(const Columns& a, const Subscript& columns, unsigned k, unsigned repeats);

/// Neighbouring rows (an ascending run, or none): what a column holds of them is one block, found by two searches.
/// `exact`: whether nzmax is the exact count or the capacity of a search. No workspace.
ArrayOwner gatherByInterval(const Columns& a, const IndexRange& rows, const Subscript& columns, bool exact);

/// The entries of the visited columns that lie in `rows`, each as often as its column is visited. Neighbouring columns
/// are counted as one, and no branch depends on what is selected.
std::uint64_t countInRows(const Columns& a, const Subscript& columns, const RowSet& rows);

/// Rows that ascend and do not repeat: the new row is the rank. nzmax is exact. No workspace.
ArrayOwner gatherByRank(const Columns& a, const RowSet& rows, const Subscript& columns);

/// Rows looked up in a map from old to new rows; `selected` are those of the subscript. nzmax is exact. Workspace:
/// m + 1 words, and the pairs of one column (and k words for repeated rows) where new rows have to be sorted.
ArrayOwner gatherByMap(const Columns& a, const Subscript& rows, const RowSet& selected, const Subscript& columns);

/// The same for few rows of many: one pass over the entries with a table of one bit for each row, small enough for the
/// nearest cache, finds all that will be written, and a search among the rows places it. nzmax is exact.
/// Workspace: m bits, two words for each row of the subscript and each entry of the result.
ArrayOwner gatherFewByTable(const Columns& a, const Subscript& rows, const Subscript& columns);

/// Rows and the entries of each column merged by galloping along the longer of the two. nzmax is an upper bound.
/// Workspace: for an unsorted list two words for each of its rows (four while it is sorted), for a mask one; nothing in
/// proportion to m.
ArrayOwner gatherBySearch(const Columns& a, const Subscript& rows, const Subscript& columns);

} // namespace zqsp

#endif
