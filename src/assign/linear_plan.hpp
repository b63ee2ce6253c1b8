// How A(K) = B changes the target, known before anything moves.
#ifndef ZQSP_ASSIGN_LINEAR_PLAN_HPP
#define ZQSP_ASSIGN_LINEAR_PLAN_HPP

#include "assign/linear_growth.hpp"
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

/// The patches of a progression of positions, in ascending order, and the capacity that their assignment leaves.
class LinearPlan
{
  public:
    /// Neighbouring positions, ascending or (of a scalar) descending; all values are zero, or none. A patch for each
    /// column, whatever is stored there.
    static LinearPlan forRun(const Columns& a, const LinearLayout& layout, const AssignedValues& values,
                             const IndexRange& range);
    /// Values that are the entries of a sparse matrix, read column by column; all others are zero. Cost: entries of the
    /// target and of the matrix, and the matrix's columns.
    static LinearPlan forSparseValues(const Columns& a, const LinearLayout& layout, const AssignedValues& values,
                                      const IndexRange& range);

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

/// The same for any positions: a patch for each, of which only the place among the entries and what happens there is
/// kept. (Of a repeated position, all but the last patch change nothing.)
class PositionPlan
{
  public:
    /// `positions`: in the order of the assignment; `ascending`: the numbers of `ordered`, which has them all unless
    /// the assignment only inserts and overwrites (`isPlain`): no value is zero then, and all positions lie inside of
    /// the target. What is given must outlive the plan. Raises on exhausted memory.
    PositionPlan(const Columns& a, const LinearLayout& layout, const AssignedValues& values, NumberView positions,
                 NumberView ascending, const Ordered& ordered, bool isPlain);

    [[nodiscard]] std::size_t size() const { return count_; }
    /// (Inlined by force: of most patches only a part is asked.)
    [[nodiscard, gnu::always_inline]] ElementPatch operator[](std::size_t i) const
    {
        const Place place = layout_.placeOf(ascending_[i]);
        const unsigned begin = begins_[i];
        const unsigned change = changes_[i];
        return {{place.column, begin, begin + (change & kDrops), change / kComes},
                place.row,
                values_.source(ordered_.source(static_cast<unsigned>(i)))};
    }
    [[nodiscard]] const PositionPlan& patches() const { return *this; }
    [[nodiscard]] unsigned capacity() const { return capacity_; }

  private:
    static constexpr unsigned char kDrops = 1; ///< what is stored goes
    static constexpr unsigned char kComes = 2; ///< an entry comes

    void changeInTurn(const Columns& a, NumberView positions);

    LinearLayout layout_;
    const AssignedValues& values_;
    NumberView ascending_;
    const Ordered& ordered_;
    unsigned count_;
    Block<unsigned> begins_;
    Block<unsigned char> changes_;
    unsigned capacity_;
};

} // namespace zqsp

#endif
