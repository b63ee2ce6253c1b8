// The ways of taking rows out of columns. gatherRegion() chooses; each method lives in a file of its name.
// Rows ascend or are in no order: what descends is gathered from its end, and turned round.
#ifndef ZQSP_REFERENCE_ROW_METHODS_HPP
#define ZQSP_REFERENCE_ROW_METHODS_HPP

#include "core/columns.hpp"
#include "core/owners.hpp"
#include "core/row_set.hpp"
#include "subscript/forms.hpp"
#include "subscript/ordered.hpp"

#include <cstdint>

namespace zqsp {

/// The capacity of a result.
enum class Capacity
{
    kExact,   ///< the entries it has
    kSearched ///< searchCapacity(): an upper bound
};

/// For each visited column with stored entries, these and the `repeats` of the row list, but no more than the `k` rows
/// of the result.
unsigned searchCapacity(const Columns& a, const Subscript& columns, unsigned k, unsigned repeats);

/// The methods, by what they do with the rows.
enum class RowMethod
{
    kSearch, ///< search each column for them, or them for each entry: whichever are fewer
    kSift,   ///< pass over all entries, few of which lie in them
    kFew,    ///< look each entry up in a table, and put aside what lies in them: uniform/rows.mask5
    kTable   ///< look each entry up in a table, to count what lies in them, and again to place it
};

/// What the choice of a method looks at.
struct RowCounts
{
    std::uint64_t entries; ///< of the visited columns, about
    unsigned selected;
    unsigned listed; ///< the same, where a range, which is not walked by the search, counts for none
    unsigned extent;
};
[[gnu::visibility("default")]] RowMethod chooseRowMethod(Capacity capacity, const RowCounts& counts);

/// By a given method; of these only the search leaves a choice of the capacity.
[[gnu::visibility("default")]] ArrayOwner gatherBy(RowMethod method, const Columns& a, const Subscript& rows,
                                                   const Subscript& columns, Capacity capacity);

/// Neighbouring rows (an ascending run, or none): what a column holds of them is one block, found by two searches. No
/// workspace.
ArrayOwner gatherByInterval(const Columns& a, const IndexRange& rows, const Subscript& columns, Capacity capacity);

/// Rows and the entries of each column merged by galloping along the longer of the two. Workspace: for an unsorted list
/// two words for each row (four while it is sorted), for a mask one; nothing in proportion to m.
ArrayOwner gatherBySearch(const Columns& a, const Ordered& rows, const Subscript& columns, Capacity capacity);

/// Few rows of many: one pass over the entries finds all that will be written, and a search among the rows places it.
/// Workspace: m / 4 bytes, two words for each row of an unsorted list and each entry of the result.
ArrayOwner gatherBySifting(const Columns& a, const Ordered& rows, const Subscript& columns);

/// Each entry looked up in a set of the rows, of m / 4 bytes, in which the new row is the rank: all that is to be done
/// where rows ascend and do not repeat; else gatherByMap() follows.
ArrayOwner gatherByTable(const Columns& a, const Subscript& rows, const Subscript& columns);

/// The same where few entries are selected. Workspace: these, up to twice, or some thousand more.
ArrayOwner gatherFewByTable(const Columns& a, const Subscript& rows, const Subscript& columns);

/// The entries of the visited columns that lie in `rows`, each as often as its column is visited. Neighbouring columns
/// are counted as one.
std::uint64_t countInRows(const Columns& a, const Subscript& columns, const RowSet& rows);

/// Puts the rows of an array into the opposite order.
void turnRows(const Columns& a);

/// Rows in any order, `selected` being the set of them: what is selected of a few columns at a time is looked up in a
/// map from ranks to new rows, and sorted. Workspace: a word or two for each row, and one column, or some thousand
/// entries.
ArrayOwner gatherByMap(const Columns& a, const IndexList& rows, const RowSet& selected, const Subscript& columns);

} // namespace zqsp

#endif
