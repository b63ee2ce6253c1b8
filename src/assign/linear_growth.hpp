// What becomes of the dimensions and of the capacity of a target while linear positions are assigned.
#ifndef ZQSP_ASSIGN_LINEAR_GROWTH_HPP
#define ZQSP_ASSIGN_LINEAR_GROWTH_HPP

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

/// The capacity that a full m-by-n target is given for one more entry: a step more, as far as the matrix and the
/// signed 32-bit range go, else one more. Raises the out-of-memory error where there is none.
unsigned growCapacity(unsigned nzmax, unsigned m, unsigned n);

/// The capacity that insertions and removals, one after another, leave.
class CapacityReplay
{
  public:
    explicit CapacityReplay(const Columns& a) : stored_(a.nnz()), capacity_(a.nzmax) {}

    /// So many insertions into a target of these dimensions.
    void insert(unsigned count, const LinearLayout& layout);
    void remove(unsigned count) { stored_ -= count; }
    [[nodiscard]] unsigned capacity() const { return capacity_; }

  private:
    unsigned stored_;
    unsigned capacity_;
};

} // namespace zqsp

#endif
