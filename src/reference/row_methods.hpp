// The ways of taking rows out of columns. gatherRegion() chooses. The search lives in row_search.cpp, what passes over
// entries or cuts out runs in row_table.cpp; rows in any order or repeated are then put there by row_order.cpp. Rows
// ascend or are in no order: what descends is gathered from its end, and turned round.
#ifndef ZQSP_REFERENCE_ROW_METHODS_HPP
#define ZQSP_REFERENCE_ROW_METHODS_HPP

#include "core/columns.hpp"
#include "core/owners.hpp"
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
    kTable   ///< look each entry up in a table
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

/// Neighbouring rows (an ascending run, or none): what a long column holds of them is one block, found by two searches;
/// short ones are passed over. No workspace.
ArrayOwner gatherByInterval(const Columns& a, const IndexRange& rows, const Subscript& columns, Capacity capacity);

/// Each row is looked for in each column, one after the other in the order of the subscripts, which leaves nothing to
/// sort: once at least, and at most kMostLookedFor times. The capacity is exact. No workspace.
constexpr unsigned kMostLookedFor = 256;
ArrayOwner gatherFew(const Columns& a, const Subscript& rows, const Subscript& columns);

/// Rows and the entries of each column merged by galloping along the longer of the two. Workspace: for an unsorted list
/// two words for each row (four while it is sorted), for a mask one; nothing in proportion to m.
ArrayOwner gatherBySearch(const Columns& a, const Ordered& rows, const Subscript& columns, Capacity capacity);

/// Each entry looked up in a set of the rows, of m / 4 bytes, in which the new row is the rank: all that is to be done
/// where rows ascend and do not repeat. Others are brought into order, or repeated, afterwards. `sifts`: whether few
/// entries lie in the rows; their values are looked at when they are found.
ArrayOwner gatherByTable(const Columns& a, const Subscript& rows, const Subscript& columns, bool sifts);

} // namespace zqsp

#endif
