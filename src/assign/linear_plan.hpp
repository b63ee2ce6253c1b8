// A(K) = B for many positions, in one pass over the target: how it changes, known before anything moves.
#ifndef ZQSP_ASSIGN_LINEAR_PLAN_HPP
#define ZQSP_ASSIGN_LINEAR_PLAN_HPP

#include "assign/right_side.hpp"
#include "core/fast_divisor.hpp"
#include "core/relay.hpp"
#include "lookup/place_search.hpp"
#include "subscript/ordered.hpp"

#include <algorithm>
#include <cstdint>

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
    [[nodiscard]] bool covers(Place place) const { return place.row < m_ && place.column < n_; }
    /// Grows the dimensions to cover a place.
    void cover(Place place)
    {
        m_ = std::max(m_, place.row + 1);
        n_ = std::max(n_, place.column + 1);
    }
    /// The row behind which positions go on in the next column.
    [[nodiscard]] unsigned lastRow() const { return isMatrix_ ? m_ - 1 : isColumn_ ? UINT32_MAX : 0; }
    [[nodiscard]] unsigned m() const { return m_; }
    [[nodiscard]] unsigned n() const { return n_; }

  private:
    bool isColumn_;
    bool isMatrix_;
    unsigned m_;
    unsigned n_;
    FastDivisor byRows_;
};

/// The patches of an assignment, in ascending order, and the capacity that it leaves. What finally happens at
/// neighbouring rows of a column is a patch: from the first of them on, all are stored (`length` is their number), with
/// the values of b from `source` on or the one of a scalar; or what is stored is removed. What is given must outlive
/// the plan; making it raises on exhausted memory.
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
    /// Any positions, `numbers` as they are named, and in ascending order, whose numbers are the sources of patches. A
    /// patch for each; of a repeated position, all but the last patch change nothing. `onlyStores`: all are in A, each
    /// once, and no value is zero; where they are many, there is a patch for each that is stored, and for all others
    /// that no entry lies between.
    static LinearPlan forPositions(const Columns& a, const LinearLayout& layout, const RightSide& b,
                                   const Ordered& ordered, NumberView ascending, NumberView numbers, bool onlyStores);

    [[nodiscard]] Patches patches() const { return patches_; }
    [[nodiscard]] unsigned capacity() const { return capacity_; }

  private:
    LinearPlan(const Columns& a, const LinearLayout& layout) : a_(a), layout_(layout), capacity_(a.nzmax) {}

    void add(const Patch& patch);
    void addByGaps(const unsigned* ascending, unsigned count);
    void replay(const IndexRange& range);
    void changeInTurn(const RightSide& b, const Ordered& ordered, NumberView ascending, NumberView numbers);

    const Columns& a_;
    const LinearLayout& layout_;
    List<Patch> patches_;
    std::uint64_t insertions_ = 0;
    unsigned capacity_;
};

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
