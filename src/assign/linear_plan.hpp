// How A(K) = B changes the target, known before anything moves: the places, the values, and the patches.
#ifndef ZQSP_ASSIGN_LINEAR_PLAN_HPP
#define ZQSP_ASSIGN_LINEAR_PLAN_HPP

#include "assign/right_side.hpp"
#include "core/fast_divisor.hpp"
#include "core/owners.hpp"
#include "core/relay.hpp"
#include "lookup/place_search.hpp"
#include "subscript/ordered.hpp"

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

/// The patches of a progression of positions, in ascending order, and the capacity that their assignment leaves. What
/// finally happens at neighbouring rows of a column is a patch: from the first of them on, all are stored (`length` is
/// their number), with the values of b from `source` on or the one of a scalar; or what is stored is removed.
class LinearPlan
{
  public:
    /// Neighbouring positions, ascending or (of a scalar) descending; all values are zero, or none. A patch for each
    /// column, whatever is stored there.
    static LinearPlan forRun(const Columns& a, const LinearLayout& layout, const RightSide& b, const IndexRange& range);
    /// Values that are the entries of a sparse matrix, read column by column; all others are zero. Cost: entries of the
    /// target and of the matrix, and the matrix's columns.
    static LinearPlan forSparseValues(const Columns& a, const LinearLayout& layout, const RightSide& b,
                                      const IndexRange& range);

    [[nodiscard]] std::span<const Patch> patches() const { return patches_; }
    [[nodiscard]] unsigned capacity() const { return capacity_; }

  private:
    LinearPlan(const Columns& a, const LinearLayout& layout) : a_(a), layout_(layout), capacity_(a.nzmax) {}

    void add(const Patch& patch);
    void replay(const IndexRange& range);

    const Columns& a_;
    const LinearLayout& layout_;
    List<Patch> patches_;
    std::uint64_t insertions_ = 0;
    unsigned capacity_;
};

/// The same for any positions: a patch for each, of which only the place among the entries and what happens there is
/// kept. (Of a repeated position, all but the last patch change nothing.)
class PositionPlan
{
  public:
    /// `positions`: in the order of the assignment; `ascending`: the numbers of `ordered`, which has them all unless
    /// the assignment only inserts and overwrites (`isPlain`): no value is zero then, and all positions lie inside of
    /// the target. What is given must outlive the plan. Raises on exhausted memory.
    PositionPlan(const Columns& a, const LinearLayout& layout, const RightSide& b, NumberView positions,
                 NumberView ascending, const Ordered& ordered, bool isPlain);

    [[nodiscard]] std::size_t size() const { return count_; }
    /// (Inlined by force: of most patches only a part is asked.)
    [[nodiscard, gnu::always_inline]] Patch operator[](std::size_t i) const
    {
        const Place place = layout_.placeOf(ascending_[i]);
        const unsigned begin = begins_[i];
        const unsigned change = changes_[i];
        return {.column = place.column,
                .begin = begin,
                .end = begin + (change & kDrops),
                .length = change / kComes,
                .row = place.row,
                .source = b_.source(ordered_.source(static_cast<unsigned>(i)))};
    }
    [[nodiscard]] const PositionPlan& patches() const { return *this; }
    [[nodiscard]] unsigned capacity() const { return capacity_; }

  private:
    static constexpr unsigned char kDrops = 1; ///< what is stored goes
    static constexpr unsigned char kComes = 2; ///< an entry comes

    void changeInTurn(const Columns& a, NumberView positions);

    LinearLayout layout_;
    const RightSide& b_;
    NumberView ascending_;
    const Ordered& ordered_;
    unsigned count_;
    Block<unsigned> begins_;
    Block<unsigned char> changes_;
    unsigned capacity_;
};

} // namespace zqsp

#endif
