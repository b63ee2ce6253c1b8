// Writing a region of a sparse target: the one engine behind A(I,J) = B, A(:,J) = B and A(I,:) = B. It goes in one
// pass, or by patches.
#ifndef ZQSP_ASSIGN_REGION_HPP
#define ZQSP_ASSIGN_REGION_HPP

#include "assign/right_side.hpp"
#include "core/relay.hpp"
#include "core/row_set.hpp"
#include "lookup/place_search.hpp"
#include "subscript/ordered.hpp"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <limits>
#include <optional>

namespace zqsp {

/// The elements of `rows` x `columns` in a target of (then) m rows and n columns. Neither is empty.
struct Region
{
    static constexpr std::uint64_t kNoBound = std::numeric_limits<std::uint64_t>::max();

    const Ordered& rows;
    const Ordered& columns;
    unsigned m;
    unsigned n; ///< columns of the target after the assignment, not less than now
    /// "pmaxsize" is raised where the target columns would hold more entries than this.
    std::uint64_t mostEntries = kNoBound;

    /// Stored entries that `b` brings into the region.
    [[nodiscard]] std::uint64_t entriesOf(const RightSide& b) const
    {
        return b.isNothing() ? 0 : b.isDense() ? std::uint64_t{rows.count()} * columns.count() : b.b.nnz();
    }
};

/// Fills the region with `b`, whose row i and column j belong to the i-th target row and the j-th target column.
/// Entries of A in the region where b stores nothing are dropped; A grows to m rows and n columns.
/// A must be sparse and of b's class; it is unchanged where this raises.
/// Cost: for each target column the lesser of its entries between the outermost target rows and the rows times a
/// logarithm, + entries that have to move + entries of b (+ rows x columns for a scalar).
void fillRegion(kxArray* A, const Region& region, const RightSide& b);

/// The entries begin .. end-1.
struct EntrySpan
{
    unsigned begin;
    unsigned end;

    [[nodiscard]] unsigned length() const { return end - begin; }
};

/// Where `row` belongs among the entries at .. end-1 of a column. In a short one the rows are compared at once: in
/// which half the row lies, no branch foresees there (uniform/set-rows.one 1.3, 2.2; tall/set-rows.tenth 2.8, 3.6).
inline unsigned placeAmong(const Columns& a, unsigned at, unsigned end, unsigned row)
{
    return end - at <= kComparedRows && canCompare(a, at) ? at + rankAmong(a.ir + at, end - at, row)
                                                          : gallopNear(a.ir, at, end, row);
}

/// Whether a set of `rows` rows pays: its two bits for each of `m` rows have to be cleared, and `marks` rows to be
/// added one by one, before it saves a search among the rows for each of `looks` entries. (In nanoseconds, about. A
/// range or a mask answers sooner than a list, which is searched; the set answers sooner than each.) A few rows far
/// apart in a huge matrix do not cost its height.
constexpr bool setOfRowsPays(unsigned m, unsigned marks, std::uint64_t looks, unsigned rows)
{
    constexpr unsigned kRowsCleared = 64;
    constexpr unsigned kProbe = 4;
    return std::uint64_t{m} / kRowsCleared + marks <= looks * kProbe * static_cast<unsigned>(std::bit_width(rows));
}

/// Tells the rows of a column that are targets from those that are not.
class RowFilter
{
  public:
    /// `m`: the target's rows, then. Where a set of rows pays, and there is memory for it, each row is looked up in it;
    /// else a range divides, a mask is asked, and a list searched.
    RowFilter(const Columns& a, const Ordered& rows, const Ordered& columns, unsigned m);

    /// The entries of a column between the lowest and the highest target row; of a short one, where the rows are no
    /// run, all. A column that A does not have yet is empty and lies behind all others.
    [[nodiscard]] EntrySpan spanIn(const Columns& a, unsigned column) const
    {
        if (column >= a.n) {
            return {a.nnz(), a.nnz()};
        }
        const unsigned begin = a.jc[column];
        const unsigned end = a.jc[column + 1];
        if (coversAll_ || (isScattered_ && end - begin <= kComparedRows)) { // asked in less time than cut
            return {begin, end};
        }
        const unsigned first = firstNotBelow(a, begin, end, lowest_);
        if (lowest_ == highest_) {
            return {first, first + (first < end && a.ir[first] == lowest_ ? 1U : 0U)};
        }
        return {first, firstNotBelow(a, first, end, highest_ + 1)};
    }

    /// Writes the entries of a span that lie in target rows to `found`, which has room for one more than the span.
    /// Returns their end.
    unsigned* find(const Columns& a, EntrySpan span, unsigned* found) const
    {
        const auto select = [&](auto isTarget) {
            for (unsigned e = span.begin; e < span.end; ++e) { // no branch foresees which it is
                *found = e;
                found += isTarget(a.ir[e]) ? 1 : 0;
            }
            return found;
        };
        return others_
                   ? select([words = others_->words()](unsigned row) { return !words[row / RowWord::kBits].has(row); })
                   : select([this](unsigned row) { return rows_.has(row); });
    }
    /// Whether every row is a target.
    [[nodiscard]] bool coversAll() const { return coversAll_; }
    /// Entries of the target columns; not counted for a run of rows.
    [[nodiscard]] std::uint64_t looks() const { return looks_; }
    /// The most entries of one of them; likewise.
    [[nodiscard]] unsigned longest() const { return longest_; }
    /// The set of all other rows; null where there is none.
    [[nodiscard]] const RowSet* others() const { return others_ ? &*others_ : nullptr; }

  private:
    /// (Of one row in one column after another the probes go much the same way: a predicted branch is ahead of a gallop
    /// that waits for each. tall/set-rows.one 0.39, 0.51.)
    static unsigned firstNotBelow(const Columns& a, unsigned begin, unsigned end, unsigned row)
    {
        return end - begin <= kComparedRows && canCompare(a, begin)
                   ? begin + rankAmong(a.ir + begin, end - begin, row)
                   : static_cast<unsigned>(std::lower_bound(a.ir + begin, a.ir + end, row) - a.ir);
    }

    const Ordered& rows_;
    unsigned lowest_;
    unsigned highest_;
    bool coversAll_;
    bool isScattered_; // the rows are no run
    std::uint64_t looks_ = 0;
    unsigned longest_ = 0;
    std::optional<RowSet> others_;
};

/// Whether `looks` entries of the target columns are best all looked at: not where the columns are so long, and the
/// rows so few, that each is searched.
constexpr bool looksAtAllEntries(std::uint64_t looks, std::uint64_t rows, std::uint64_t columns)
{
    constexpr unsigned kShortColumn = 64; // passed over as fast as searched for the outermost rows
    constexpr unsigned kEntriesPerRow = 16;
    return looks / columns < std::max<std::uint64_t>(kShortColumn, kEntriesPerRow * rows);
}

/// Whether all `entries` are best written anew where `looks` of them lie in target columns, rather than moved between
/// the places that change (uniform/set-rows.tenth 2.6, tall/set-region.tenth 0.80).
constexpr bool rewritingPays(std::uint64_t entries, std::uint64_t looks, std::uint64_t columns)
{
    constexpr unsigned kLongColumn = 64; // without it tall/set-region.tenth 0.98, with short ones uniform-complex 3.0
    return looks > entries / (looks / columns >= kLongColumn ? 16 : 2);
}

/// Whether writing most of `total` entries anew, once, into fresh blocks of the present capacity beats putting them
/// together aside: unless most of the blocks would be spare, or their bytes, which 32 bits are to count, too many.
constexpr bool freshBlocksPay(unsigned capacity, unsigned elementSize, unsigned total)
{
    const std::uint64_t bytes = std::uint64_t{capacity} * std::max<std::size_t>(elementSize, sizeof(unsigned));
    return capacity / 2 <= total && bytes <= std::numeric_limits<std::uint32_t>::max();
}

// Each is fillRegion(), in a target with the region's columns or fewer.

/// One forward pass without a list of patches, from run to run of target columns: what stays of these comes to its
/// place by a kernel, or, where b brings something, into fresh blocks with that set in; then the columns up to the next
/// run. False, with nothing changed, where it does not pay.
bool fillInOnePass(kxArray* A, const Region& region, const RightSide& b, const RowFilter& filter);

/// What neither loses nor gains an entry has no patch and stays, or moves as a whole: one row of a wide matrix is not a
/// rewriting of it all.
void fillByPatches(kxArray* A, const Region& region, const RightSide& b, const RowFilter& filter);

} // namespace zqsp

#endif
