// Writing a region of a sparse target: the one engine behind A(I,J) = B, A(:,J) = B, A(I,:) = B and A(:) = scalar.
#ifndef ZQSP_ASSIGN_REGION_HPP
#define ZQSP_ASSIGN_REGION_HPP

#include "assign/right_side.hpp"
#include "subscript/ordered.hpp"

#include <cstdint>
#include <limits>

namespace zqsp {

/// The elements of `rows` x `columns` in a target of (then) m rows and n columns. Neither is empty.
struct Region
{
    const Ordered& rows;
    const Ordered& columns;
    unsigned m;
    unsigned n; ///< columns of the target after the assignment, not less than now

    /// Stored entries that `b` brings into the region.
    [[nodiscard]] std::uint64_t entriesOf(const RightSide& b) const
    {
        return b.isNothing() ? 0 : b.isScalar() ? std::uint64_t{rows.count()} * columns.count() : b.b.nnz();
    }
};

/// Bounds on a filling that are not the target's own.
struct FillLimits
{
    /// The capacity afterwards; 0: the exact count where the present capacity does not suffice.
    unsigned capacity = 0;
    /// "pmaxsize" is raised where the target columns would hold more entries than this.
    std::uint64_t mostEntries = std::numeric_limits<std::uint64_t>::max();
};

/// Fills the region with `b`, whose row i and column j belong to the i-th target row and the j-th target column.
/// Entries of A in the region where b stores nothing are dropped; A grows to m rows and n columns.
/// A must be sparse and of b's class; it is unchanged where this raises.
/// Cost: for each target column the lesser of its entries between the outermost target rows and the rows times a
/// logarithm, + entries that have to move + entries of b (+ rows x columns for a scalar).
void fillRegion(kxArray* A, const Region& region, const RightSide& b, const FillLimits& limits = {});

} // namespace zqsp

#endif
