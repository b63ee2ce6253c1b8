// A(K) = B where only stored entries are written or removed.
#ifndef ZQSP_ASSIGN_LINEAR_STORED_HPP
#define ZQSP_ASSIGN_LINEAR_STORED_HPP

#include "assign/linear_layout.hpp"
#include "assign/linear_values.hpp"
#include "subscript/ordered.hpp"

namespace zqsp {

/// Where every position is stored and no value is zero, the entries are overwritten in the order of the assignments:
/// nothing is sorted, and the last of repeated positions wins by being last. `numbers`: those of `positions`. False,
/// with nothing changed, elsewhere.
bool overwriteInOrder(kxArray* A, const LinearLayout& layout, const AssignedValues& values, NumberView numbers,
                      const Subscript& positions);

/// A(K) = 0: what is stored at the positions, all inside of A, goes, nothing comes; A becomes as large as `grown`. No
/// position is sorted, only the entries that are found; and where positions outnumber the entries, it is these that are
/// looked for.
void removeStored(kxArray* A, const LinearLayout& grown, const Subscript& positions);

} // namespace zqsp

#endif
