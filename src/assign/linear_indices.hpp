// The subscript of A(K) = B as positions.
#ifndef ZQSP_ASSIGN_LINEAR_INDICES_HPP
#define ZQSP_ASSIGN_LINEAR_INDICES_HPP

#include "core/owners.hpp"
#include "subscript/convert.hpp"

#include <zqspmatrix.h>

namespace zqsp {

/// The values of a linear subscript, not all of them valid as yet: an assignment reports a wrong number of elements
/// before it looks at the values.
class LinearIndices
{
  public:
    /// Any subscript but the bare colon. Raises the runtime's subscript error 1 for a complex one, and for a sparse
    /// numeric one that holds zeros. The subscript must outlive the object and the positions.
    explicit LinearIndices(const kxArray* K);

    [[nodiscard]] unsigned count() const { return count_; }
    /// Whether a value, valid or not, exceeds `limit`.
    [[nodiscard]] bool anyAbove(double limit) const;
    /// Validates the values in order and hands over the 0-based positions; the first failing value decides the status:
    /// spIndexNotPositiveInteger or spIndexBelowOne. Raises the runtime's size error for a finite value above the
    /// maximum number of elements.
    spStatus takePositions(Subscript& positions);

  private:
    bool convertAsReference(const kxArray* K, SubscriptKind kind);

    unsigned count_ = 0;
    Subscript positions_; // where the common conversion finds nothing wrong: valid in all respects
    bool areValid_ = false;
    unsigned highest_ = 0;
    Operand converted_; // elsewhere the values as doubles, 1-based
    Block<double> fromMask_;
    const double* values_ = nullptr;
};

} // namespace zqsp

#endif
