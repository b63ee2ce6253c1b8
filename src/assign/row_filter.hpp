// Which entries of a column lie in the rows that an assignment names.
#ifndef ZQSP_ASSIGN_ROW_FILTER_HPP
#define ZQSP_ASSIGN_ROW_FILTER_HPP

#include "assign/target_indices.hpp"
#include "core/columns.hpp"
#include "core/search.hpp"

#include <cstdint>

namespace zqsp {

/// The entries begin .. end-1.
struct EntrySpan
{
    unsigned begin;
    unsigned end;

    [[nodiscard]] unsigned length() const { return end - begin; }
};

/// Tells the rows of a column that are targets from those that are not.
class RowFilter
{
  public:
    /// A table with one bit for each row from the lowest to the highest target is made where it is small beside the
    /// entries of the target columns; else each row is searched in the list, so that a few rows far apart in a huge
    /// matrix do not cost its height. Raises on exhausted memory.
    RowFilter(const Columns& a, const TargetIndices& rows, const TargetIndices& columns);

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
        const unsigned first = beginsInside ? begin : lowerBoundOfSame(a.ir, begin, end, lowest_);
        if (lowest_ == highest_) {
            return {first, first + (first < end && a.ir[first] == lowest_ ? 1U : 0U)};
        }
        const bool endsInside = first == end || a.ir[end - 1] <= highest_;
        return {first, endsInside ? end : lowerBoundOfSame(a.ir, first, end, highest_ + 1)};
    }

    /// Whether there is a table: rows that are no neighbours, and no few in a high matrix.
    [[nodiscard]] bool hasTable() const { return static_cast<bool>(bits_); }

    /// f(isTarget), isTarget(row) telling whether a row within the span of the targets is one of them: how that is
    /// found out is decided once for the loops of f.
    template <typename F>
    [[gnu::always_inline]] auto withTest(F&& f) const
    {
        if (rows_.isRun()) {
            return f([](unsigned) { return true; });
        }
        if (bits_) {
            return f([bits = bits_.get(), lowest = lowest_](unsigned row) {
                const unsigned bit = row - lowest;
                return (bits[bit / 64] >> (bit % 64) & 1U) != 0;
            });
        }
        return f([this](unsigned row) { return findRow(rows_.list(), 0, rows_.count(), row).stored; });
    }

    /// Entries of a span that do not lie in target rows.
    [[nodiscard]] unsigned countOthers(const Columns& a, EntrySpan span) const
    {
        return withTest([ir = a.ir, span](auto isTarget) {
            unsigned others = 0;
            for (unsigned e = span.begin; e < span.end; ++e) {
                others += isTarget(ir[e]) ? 0U : 1U;
            }
            return others;
        });
    }

  private:
    const TargetIndices& rows_;
    unsigned lowest_;
    unsigned highest_;
    bool coversAll_;
    Block<std::uint64_t> bits_;
};

} // namespace zqsp

#endif
