// A(K) = B for many positions in one pass over the target.
#ifndef ZQSP_ASSIGN_LINEAR_BATCH_HPP
#define ZQSP_ASSIGN_LINEAR_BATCH_HPP

#include "assign/right_side.hpp"
#include "subscript/forms.hpp"

namespace zqsp {

/// Assigns value t of b (full, of A's class), or the one value of a scalar, to the t-th position as if one after
/// another: the last of repeated positions wins, zeros remove, dimensions grow, and nzmax is what insertion one at a
/// time, ten entries of growth each, leaves. A must be sparse, or have been of m rows and n columns before it was made
/// so, and there must be at least one position. Positions are 0-based, and inside A where A is a true matrix. A is
/// unchanged where this raises. Cost: count log count + nnz + n, or, where all positions are stored and no value is
/// zero, a search for each. A run of positions takes no memory for each, and zeros for no more than are stored.
void assignPositions(kxArray* A, unsigned m, unsigned n, const RightSide& b, const Subscript& positions);

/// The same for a sparse matrix, read column by column, and more than one position. Cost: entries of A and of b, their
/// columns.
void assignSparse(kxArray* A, unsigned m, unsigned n, const RightSide& b, const IndexRange& range);

} // namespace zqsp

#endif
