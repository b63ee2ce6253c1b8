// Selecting the entries of columns by their rows.
#ifndef ZQSP_CORE_ROW_SELECTION_HPP
#define ZQSP_CORE_ROW_SELECTION_HPP

#include "core/columns.hpp"
#include "core/row_set.hpp"
#include "kernels/kernels.hpp"

namespace zqsp {

inline Entries entriesOf(const Columns& a)
{
    return {a.ir, a.pr, a.pi, a.elementSize, a.nzmax};
}

/// How many of the entries begin .. end-1 lie in selected rows.
inline unsigned countSelected(const Columns& a, unsigned begin, unsigned end, const RowChoice& choice)
{
    return kernels().countSelected(a.ir + begin, end - begin, choice);
}

/// Moves the entries of the columns first .. first+count-1 that lie in selected rows, in their order and with their new
/// rows, to the entries `at` and behind of another array, or of the same one, `at` then being at or before the first of
/// them. ends[i] becomes the position behind the last one of column first+i; `ends` may be the column starts of `from`.
/// Returns the last of them. `to` must be of the class and complexity of `from`.
inline unsigned moveSelected(const Columns& from, unsigned first, unsigned count, const RowChoice& choice,
                             const Columns& to, unsigned at, unsigned* ends)
{
    return kernels().moveSelected(entriesOf(from), from.jc + first, count, choice, entriesOf(to), at, ends);
}

} // namespace zqsp

#endif
