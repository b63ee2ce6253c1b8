// Converted subscripts as sets of rows.
#ifndef ZQSP_SUBSCRIPT_ROW_SETS_HPP
#define ZQSP_SUBSCRIPT_ROW_SETS_HPP

#include "core/row_set.hpp"
#include "subscript/forms.hpp"

#include <optional>

namespace zqsp {

/// What a subscript selects of the numbers below `extent`, order and repeats gone. Raises on
/// exhausted memory. O(extent / 32 + count).
RowSet selectedOf(const Subscript& subscript, unsigned extent);

/// All other numbers below `extent`.
RowSet othersThan(const Subscript& subscript, unsigned extent);

/// The same; none where memory is exhausted.
std::optional<RowSet> othersOrNone(const Subscript& subscript, unsigned extent);

} // namespace zqsp

#endif
