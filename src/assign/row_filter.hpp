// Which entries of a column lie in the rows that an assignment names.
#ifndef ZQSP_ASSIGN_ROW_FILTER_HPP
#define ZQSP_ASSIGN_ROW_FILTER_HPP

#include "core/row_selection.hpp"
#include "core/search.hpp"
#include "subscript/ordered.hpp"

#include <algorithm>
#include <cstdint>
#include <optional>

namespace zqsp {

/// The entries begin .. end-1.
struct EntrySpan
{
    unsigned begin;
    unsigned end;

    [[nodiscard]] unsigned length() const { return end - begin; }
};

/// Whether a set of rows pays: its two bits for each of `m` rows have to be cleared, and `marks` rows to be
/// added one by one, before it saves `costOfLook` for each of `looks` entries. (In nanoseconds, about.) A few rows far
/// apart in a huge matrix do not cost its height.
constexpr bool setOfRowsPays(unsigned m, unsigned marks, std::uint64_t looks, unsigned costOfLook)
{
    constexpr unsigned kRowsCleared = 64;
    return std::uint64_t{m} / kRowsCleared + marks <= looks * costOfLook;
}

/// The rows of a region that are no run, asked one by one: a set of the others, where there is one, or a search.
struct TargetRows
{
    const RowWord* others;
    const Ordered& rows;

    [[nodiscard]] bool has(unsigned row) const
    {
        return others != nullptr ? !others[row / RowWord::kBits].has(row) : rows.has(row);
    }
};

/// Tells the rows of a column that are targets from those that are not.
class RowFilter
{
  public:
    /// `m`: the target's rows, then. Where a set of rows pays, and there is memory for it, each row is looked up in it;
    /// else a range divides, a mask is asked, and a list searched.
    RowFilter(const Columns& a, const Ordered& rows, const Ordered& columns, unsigned m);

    /// The entries of a column between the lowest and the highest target row. A column that A does not have yet is
    /// empty and lies behind all others.
    [[nodiscard]] EntrySpan spanIn(const Columns& a, unsigned column) const
    {
        if (column >= a.n) {
            return {a.nnz(), a.nnz()};
        }
        const unsigned begin = a.jc[column];
        const unsigned end = a.jc[column + 1];
        if (coversAll_) {
            return {begin, end};
        }
        // Most columns begin at or behind the lowest target row and end at or before the highest where many rows are
        // targets: two branches that are predicted, instead of two searches that wait for their probes.
        const bool beginsInside = begin == end || a.ir[begin] >= lowest_;
        const unsigned first = beginsInside ? begin : firstNotBelow(a, begin, end, lowest_);
        if (lowest_ == highest_) {
            return {first, first + (first < end && a.ir[first] == lowest_ ? 1U : 0U)};
        }
        const bool endsInside = first == end || a.ir[end - 1] <= highest_;
        return {first, endsInside ? end : firstNotBelow(a, first, end, highest_ + 1)};
    }

    /// Meaningful where the target rows are no run.
    [[nodiscard]] TargetRows targets() const { return {others_ ? others_->words() : nullptr, rows_}; }
    /// Whether every row is a target.
    [[nodiscard]] bool coversAll() const { return coversAll_; }
    /// Entries of the target columns; not counted for a run of rows.
    [[nodiscard]] std::uint64_t looks() const { return looks_; }
    /// The set of all other rows; null where there is none.
    [[nodiscard]] const RowSet* others() const { return others_ ? &*others_ : nullptr; }

    /// Entries of a span that do not lie in target rows, which are no run.
    [[nodiscard]] unsigned countOthers(const Columns& a, EntrySpan span) const
    {
        constexpr unsigned kLong = 64; // worth a call
        if (others_ && span.length() >= kLong) {
            return countSelected(a, span.begin, span.end, others_->unmoved());
        }
        const TargetRows targets = this->targets();
        unsigned others = 0;
        for (unsigned e = span.begin; e < span.end; ++e) {
            others += targets.has(a.ir[e]) ? 0U : 1U;
        }
        return others;
    }

  private:
    /// In a short column the rows are compared at once: in which half the row lies, no branch foresees there.
    static unsigned firstNotBelow(const Columns& a, unsigned begin, unsigned end, unsigned row)
    {
        return end - begin <= kComparedRows && begin + std::uint64_t{kComparedRows} <= a.nzmax
                   ? begin + rankAmong(a.ir + begin, end - begin, row)
                   : lowerBoundOfSame(a.ir, begin, end, row);
    }

    const Ordered& rows_;
    unsigned lowest_;
    unsigned highest_;
    bool coversAll_;
    std::uint64_t looks_ = 0;
    std::optional<RowSet> others_;
};

} // namespace zqsp

#endif
