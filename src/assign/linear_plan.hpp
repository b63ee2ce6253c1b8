// How A(K) = B changes the target, known before anything moves.
#ifndef ZQSP_ASSIGN_LINEAR_PLAN_HPP
#define ZQSP_ASSIGN_LINEAR_PLAN_HPP

#include "assign/linear_layout.hpp"
#include "assign/linear_values.hpp"
#include "core/growing_list.hpp"
#include "core/relay.hpp"
#include "subscript/ordered.hpp"

namespace zqsp {

/// What finally happens at neighbouring rows of a column: all are stored (`length` is their number), or, the length
/// being 0, what is stored is removed.
struct ElementPatch : Patch
{
    unsigned row;    ///< the first one
    unsigned source; ///< its value of b; the others take those behind it, or a scalar's all the same
};

/// The patches of an assignment, in ascending order, and the capacity that it leaves.
class LinearPlan
{
  public:
    /// Neighbouring positions, ascending or (of a scalar) descending; all values are zero, or none. A patch for each
    /// column, whatever is stored there.
    static LinearPlan forRun(const Columns& a, const LinearLayout& layout, const AssignedValues& values,
                             const IndexRange& range);
    /// A progression, and values that are the entries of a sparse matrix, read column by column; all others are zero.
    /// Cost: entries of the target and of the matrix, and the matrix's columns.
    static LinearPlan forSparseValues(const Columns& a, const LinearLayout& layout, const Columns& b,
                                      const IndexRange& range);
    /// Any positions, where values may be zero or the target may grow. `positions`: in the order of the assignment, of
    /// which `ordered` has all.
    static LinearPlan forPositions(const Columns& a, const LinearLayout& layout, const AssignedValues& values,
                                   NumberView positions, const Ordered& ordered);

    [[nodiscard]] std::span<const ElementPatch> patches() const { return patches_.elements(); }
    [[nodiscard]] unsigned capacity() const { return capacity_; }

  private:
    LinearPlan(const Columns& a, const LinearLayout& layout) : a_(a), layout_(layout), capacity_(a.nzmax) {}

    void add(const ElementPatch& patch);
    void replay(bool isReversed, unsigned firstAssigned);

    const Columns& a_;
    const LinearLayout& layout_;
    GrowingList<ElementPatch> patches_;
    std::uint64_t insertions_ = 0;
    unsigned capacity_;
};

/// The same for positions inside the target, each once, and values none of which is zero: a patch for each position,
/// of which only the place among the entries is kept.
class PositionPlan
{
  public:
    /// `positions`: those of `ordered`, ascending. Both must outlive the plan, as must the rest.
    PositionPlan(const Columns& a, const LinearLayout& layout, const AssignedValues& values, NumberView positions,
                 const Ordered& ordered);

    [[nodiscard]] std::size_t size() const { return count_; }
    /// (Inlined by force: of most patches only a part is asked.)
    [[nodiscard, gnu::always_inline]] ElementPatch operator[](std::size_t i) const
    {
        const Place place = layout_.placeOf(positions_[i]);
        const unsigned begin = begins_[i];
        return {{place.column, begin, begin + stored_[i], 1},
                place.row,
                values_.source(ordered_.source(static_cast<unsigned>(i)))};
    }
    [[nodiscard]] unsigned capacity() const { return capacity_; }
    [[nodiscard]] const PositionPlan& patches() const { return *this; }

  private:
    LinearLayout layout_;
    const AssignedValues& values_;
    NumberView positions_;
    const Ordered& ordered_;
    unsigned count_;
    Block<unsigned> begins_;
    Block<unsigned char> stored_;
    unsigned capacity_;
};

} // namespace zqsp

#endif
