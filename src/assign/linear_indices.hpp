// The subscript of A(K) = B as a vector of positions.
#ifndef ZQSP_ASSIGN_LINEAR_INDICES_HPP
#define ZQSP_ASSIGN_LINEAR_INDICES_HPP

#include "core/owners.hpp"

#include <zqspmatrix.h>

namespace zqsp {

/// The 1-based values of a linear subscript, not yet validated: an assignment reports a wrong number of elements before
/// it looks at the values.
class LinearIndices
{
  public:
    /// Any subscript but the bare colon. Raises the runtime's subscript error 1 for a complex one, and for a sparse
    /// numeric one that holds zeros. A full double subscript is viewed, any other is converted.
    explicit LinearIndices(const kxArray* K);

    [[nodiscard]] unsigned count() const { return count_; }
    /// Whether a value, valid or not, exceeds `limit`.
    [[nodiscard]] bool anyAbove(double limit) const;
    /// Validates the values in order and gives the 0-based positions; the first failing value decides the status:
    /// spIndexNotPositiveInteger or spIndexBelowOne. Raises the runtime's size error for a finite value above the
    /// maximum number of elements.
    spStatus toPositions(Block<unsigned>& positions) const;

  private:
    Operand converted_;
    Block<double> fromMask_;
    const double* values_ = nullptr;
    unsigned count_ = 0;
};

} // namespace zqsp

#endif
