// The ways of filling a region: in one pass, or by patches; and which entries of a column the region has.
#ifndef ZQSP_ASSIGN_REGION_METHODS_HPP
#define ZQSP_ASSIGN_REGION_METHODS_HPP

#include "assign/region.hpp"
#include "core/entry_moves.hpp"
#include "core/relay.hpp"
#include "core/row_set.hpp"
#include "core/search.hpp"

#include <algorithm>
#include <bit>
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
    /// In a short column the rows are compared at once: in which half the row lies, no branch foresees there
    /// (uniform/set-rows.one 1.3, 2.2).
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

/// What the target needs in order to hold `total` entries, in fresh blocks or where it can in its own.
inline Needs needsOf(const Columns& a, const Region& region, const RightSide& b, const FillLimits& limits,
                     unsigned total, bool freshBlocks)
{
    return {.capacity = limits.capacity != 0 ? limits.capacity : std::max(total, a.nzmax),
            .columns = std::max(region.n, a.n),
            .imaginaryPart = b.isComplex(),
            .freshBlocks = freshBlocks};
}

// Each is fillRegion(), in a target with the region's columns or fewer.

/// One forward pass without a list of patches, from run to run of target columns: what stays of these comes to its
/// place by a kernel, or, where b brings something, into fresh blocks with that set in; then the columns up to the next
/// run. False, with nothing changed, where it does not pay.
bool fillInOnePass(kxArray* A, const Region& region, const RightSide& b, const RowFilter& filter,
                   const FillLimits& limits);

/// What neither loses nor gains an entry has no patch and stays, or moves as a whole: one row of a wide matrix is not a
/// rewriting of it all.
void fillByPatches(kxArray* A, const Region& region, const RightSide& b, const RowFilter& filter,
                   const FillLimits& limits);

} // namespace zqsp

#endif
