// The gatherers of the reference exports: each builds a new sparse array from columns and rows of another.
// Results are as the runtime delivers them: an all-zero imaginary part is the exports' to drop.
#ifndef ZQSP_REFERENCE_GATHER_HPP
#define ZQSP_REFERENCE_GATHER_HPP

#include "core/columns.hpp"
#include "core/owners.hpp"
#include "subscript/forms.hpp"

namespace zqsp {

/// An empty m-by-n array of A's class and complexity with room for `nzmax` entries, its column starts all 0.
inline ArrayOwner createLike(const Columns& a, unsigned m, unsigned n, unsigned nzmax)
{
    return ArrayOwner(kxCreateSparseNumericMatrix(m, n, nzmax, a.classId, a.complexity()));
}

/// Gives the blocks of a result another size, unless a few entries less are all there is to it. Raises on exhausted
/// memory.
void setCapacity(kxArray* array, unsigned capacity);

/// The columns first .. first+count-1 with room for their entries, which are still to be written.
ArrayOwner createNeighbours(const Columns& a, unsigned first, unsigned count);

/// A(:,columns): all rows of the selected columns, in subscript order. nzmax is the exact count. Cost: columns +
/// entries written.
ArrayOwner gatherColumns(const Columns& a, const Subscript& columns);

/// Whether selecting `k` rows counts as done with a map from old to new rows (true) or as searching each column for
/// each row (false). The rule is part of the interface, since it decides the capacity of the result: exact with a map,
/// an upper bound with a search. (What is really done is gatherRegion()'s to choose.)
bool useRowMap(const Columns& a, unsigned k);

/// A(:,first:first+count-1), one block.
ArrayOwner gatherNeighbours(const Columns& a, unsigned first, unsigned count);

/// A(rows, columns). Rows come out sorted within each column, whatever the order and repeats of the subscripts.
/// Cost: entries of the visited columns + entries written (+ a pass over a set of all rows, where that is less), or,
/// for each visited column, the shorter of its entries and the rows times the logarithm of the longer.
ArrayOwner gatherRegion(const Columns& a, const Subscript& rows, const Subscript& columns);

} // namespace zqsp

#endif
