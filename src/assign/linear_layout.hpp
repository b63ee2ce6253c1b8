// Where linear positions lie in a target that grows while they are assigned.
#ifndef ZQSP_ASSIGN_LINEAR_LAYOUT_HPP
#define ZQSP_ASSIGN_LINEAR_LAYOUT_HPP

#include "core/fast_divisor.hpp"
#include "lookup/place_search.hpp"

#include <algorithm>

namespace zqsp {

/// The orientation of a target is settled by the first position assigned to it: a column grows downwards; a row, a
/// scalar and an empty target grow to the right; a true matrix does not grow. (Of empty targets only 0-by-1 is a
/// column, unless its first position is 0: that makes it a scalar, and so a row.)
class LinearLayout
{
  public:
    /// `m`, `n`: the target as it is; `first`: the first position, 0-based.
    LinearLayout(unsigned m, unsigned n, unsigned first)
        : isColumn_(n == 1 && (m == 0 ? first > 0 : m > 1)),
          isMatrix_(!isColumn_ && m >= 2 && n >= 1),
          m_(m == 0 || n == 0 ? 0 : m),
          n_(m == 0 || n == 0 ? 0 : n),
          byRows_(isMatrix_ ? m : 1)
    {
    }

    [[nodiscard, gnu::always_inline]] Place placeOf(unsigned position) const
    {
        if (isMatrix_) {
            const unsigned column = byRows_.quotient(position);
            return {position - column * m_, column};
        }
        return isColumn_ ? Place{position, 0} : Place{0, position};
    }

    /// Grows the dimensions to cover a position.
    void cover(unsigned position)
    {
        if (!isMatrix_) {
            cover(placeOf(position));
        }
    }
    void cover(Place place)
    {
        m_ = std::max(m_, place.row + 1);
        n_ = std::max(n_, place.column + 1);
    }
    /// Where a run of positions goes over to the next column; a column's never does.
    [[nodiscard]] unsigned lastRow() const { return isMatrix_ ? m_ - 1 : 0; }
    [[nodiscard]] unsigned m() const { return m_; }
    [[nodiscard]] unsigned n() const { return n_; }

  private:
    bool isColumn_;
    bool isMatrix_;
    unsigned m_;
    unsigned n_;
    FastDivisor byRows_;
};

} // namespace zqsp

#endif
