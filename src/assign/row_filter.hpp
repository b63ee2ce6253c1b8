// Which entries of a column lie in the rows that an assignment names.
#ifndef ZQSP_ASSIGN_ROW_FILTER_HPP
#define ZQSP_ASSIGN_ROW_FILTER_HPP

#include "core/row_selection.hpp"
#include "core/search.hpp"
#include "subscript/ordered.hpp"

#include <algorithm>
#include <cstdint>
#include <limits>
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

/// Whether clearing `rows` rows of `columns` columns with `looks` entries is best done in one pass over these: not
/// where the columns are so long, and the rows so few, that each is searched.
constexpr bool clearsInOnePass(std::uint64_t looks, std::uint64_t rows, std::uint64_t columns)
{
    constexpr unsigned kShortColumn = 64; // passed over as fast as searched for the outermost rows
    constexpr unsigned kEntriesPerRow = 16;
    return looks / columns < std::max<std::uint64_t>(kShortColumn, kEntriesPerRow * rows);
}

/// Whether columns that are a run are best filled by a rebuild: where most of `entries` lie in them, and are looked at
/// one by one in any case.
constexpr bool rebuildPays(std::uint64_t entries, std::uint64_t looks, std::uint64_t rows, std::uint64_t columns)
{
    return looks > entries / 2 && clearsInOnePass(looks, rows, columns);
}

/// Whether writing most of `total` entries anew, once, into fresh blocks of the present capacity beats putting them
/// together aside: unless most of the blocks would be spare, or their bytes, which 32 bits are to count, too many.
constexpr bool freshBlocksPay(unsigned capacity, unsigned elementSize, unsigned total)
{
    const std::uint64_t bytes = std::uint64_t{capacity} * std::max<std::size_t>(elementSize, sizeof(unsigned));
    return capacity / 2 <= total && bytes <= std::numeric_limits<std::uint32_t>::max();
}

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

    /// f(isTarget), isTarget(row) telling whether a row within the span of the targets is one of them: how that is
    /// found out is decided once for the loops of f.
    template <typename F>
    [[gnu::always_inline]] auto withTest(F&& f) const
    {
        if (rows_.isRun()) {
            return f([](unsigned) { return true; });
        }
        if (others_) {
            return f([others = others_->words()](unsigned row) { return !others[row / RowWord::kBits].has(row); });
        }
        return f([this](unsigned row) { return rows_.has(row); });
    }

    /// Whether every row is a target.
    [[nodiscard]] bool coversAll() const { return coversAll_; }
    /// Entries of the target columns; not counted for a run of rows.
    [[nodiscard]] std::uint64_t looks() const { return looks_; }
    /// The set of all other rows; null where there is none.
    [[nodiscard]] const RowSet* others() const { return others_ ? &*others_ : nullptr; }

    /// Entries of a span that do not lie in target rows.
    [[nodiscard]] unsigned countOthers(const Columns& a, EntrySpan span) const
    {
        constexpr unsigned kLong = 64; // worth a call
        if (others_ && span.length() >= kLong) {
            return countSelected(a, span.begin, span.end, others_->unmoved());
        }
        return withTest([ir = a.ir, span](auto isTarget) {
            unsigned others = 0;
            for (unsigned e = span.begin; e < span.end; ++e) {
                others += isTarget(ir[e]) ? 0U : 1U;
            }
            return others;
        });
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
