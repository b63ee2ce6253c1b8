#include "assign/region_methods.hpp"
#include "core/counts.hpp"
#include "core/row_selection.hpp"
#include "core/search.hpp"
#include "core/values.hpp"

#include <algorithm>

namespace zqsp {

namespace {

constexpr unsigned kBlock = 1024; // entries, and columns, at a time: these stay in the nearest caches

std::uint64_t longestColumn(const Columns& a)
{
    unsigned longest = 0;
    for (unsigned j = 0; j < a.n; ++j) {
        longest = std::max(longest, a.length(j));
    }
    return longest;
}

/// Where `row` belongs among the rows from..end-1, behind which kComparedRows more can be read.
unsigned placeAmong(const unsigned* rows, unsigned from, unsigned end, unsigned row)
{
    return end - from <= kComparedRows ? from + rankAmong(rows + from, end - from, row)
                                       : gallopNear(rows, from, end, row);
}

class Rebuild
{
  public:
    Rebuild(const Columns& before, const Columns& after, const Region& region, const RightSide& b, const RowSet& others,
            const Aside& aside)
        : before_(before),
          after_(after),
          first_(region.columns.lowest()),
          end_(first_ + region.columns.count()),
          rowCount_(region.rows.count()),
          b_(b),
          others_(others.unmoved()),
          aside_(aside.viewLike(before))
    {
    }

    void run(NumberView rows)
    {
        unsigned* const jc = after_.jc; // holds the old starts, from column to column the new ones
        const unsigned entries = jc[after_.n];
        unsigned next = jc[first_];
        at_ = next;
        copyEntries(after_, 0, before_, 0, next);
        for (unsigned column = first_, end = 0; column < end_; column = end) {
            end = endOfBlock(column, next);
            jc[column] = next;
            next = jc[end];
            const unsigned kept = kernels().moveSelected(entriesOf(before_), jc + column, end - column, others_,
                                                         entriesOf(aside_), 0, jc + column + 1);
            jc[column] = at_;
            withStorage(after_, before_, b_.b,
                        [&](auto to, auto, auto from) { setIn(column, end, kept, to, from, rows); });
        }
        copyEntries(after_, at_, before_, next, entries - next);
        for (unsigned j = end_; j < after_.n; ++j) {
            jc[j + std::size_t{1}] += at_ - next;
        }
    }

  private:
    /// The columns from `column` on whose entries, `begin` being the first, fit aside: at least one.
    [[nodiscard]] unsigned endOfBlock(unsigned column, unsigned begin) const
    {
        unsigned end = column + 1;
        while (end < end_ && end - column < kBlock && after_.jc[end + std::size_t{1}] - begin <= kBlock) {
            ++end;
        }
        return end;
    }

    /// Appends `kept` entries that stay, and between them what comes into the columns of a block. The column starts,
    /// which count what stays, are those of the result then.
    template <typename Values>
    void setIn(unsigned column, unsigned endColumn, unsigned kept, Values to, Values from, NumberView rows)
    {
        const unsigned* const asideRows = aside_.ir;
        const unsigned* const bStarts = b_.isScalar() ? nullptr : b_.b.jc - first_;
        const unsigned* const bRows = b_.b.ir;
        unsigned* const ends = after_.jc + 1;
        unsigned* const newRows = after_.ir;
        unsigned copied = 0; // of what stays
        unsigned at = at_;
        const auto copyUpTo = [&](unsigned end) {
            if (end > copied) {
                appendEntries(after_, at, aside_, copied, end - copied);
                at += end - copied;
                copied = end;
            }
        };
        for (unsigned place = 0; column < endColumn; ++column) {
            const unsigned end = ends[column];
            const unsigned sourceEnd = bStarts == nullptr ? rowCount_ : bStarts[column + std::size_t{1}];
            for (unsigned source = bStarts == nullptr ? 0 : bStarts[column]; source < sourceEnd; ++source) {
                const unsigned row = rows[bStarts == nullptr ? source : bRows[source]];
                place = placeAmong(asideRows, place, end, row);
                copyUpTo(place);
                newRows[at] = row;
                to.copy(at++, from, bStarts == nullptr ? 0 : source);
            }
            place = end;
            ends[column] = at + (end - copied);
        }
        copyUpTo(kept);
        at_ = at;
    }

    const Columns& before_;
    const Columns& after_;
    unsigned first_;
    unsigned end_;
    unsigned rowCount_;
    const RightSide& b_;
    UnmovedRows others_;
    Columns aside_;
    unsigned at_ = 0; // entries of the result so far
};

} // namespace

bool fillByRebuild(kxArray* A, const Region& region, const RightSide& b, const RowFilter& filter,
                   const FillLimits& limits)
{
    const Columns a(A);
    if (filter.others() == nullptr || !region.columns.isRun() ||
        !rebuildPays(a.nnz(), filter.looks(), region.rows.count(), region.columns.count())) {
        return false;
    }
    const unsigned begin = a.jc[std::min(region.columns.lowest(), a.n)];
    const unsigned end = a.jc[std::min(region.columns.highest() + 1, a.n)];
    const std::uint64_t inColumns =
        std::uint64_t{countSelected(a, begin, end, filter.others()->unmoved())} + region.entriesOf(b);
    const unsigned total = checkedCount(inColumns + (a.nnz() - (end - begin)));
    if (!freshBlocksPay(a.nzmax, a.elementSize, total)) {
        return false;
    }
    if (inColumns > limits.mostEntries) {
        raiseMaxSize();
    }
    Relay relay(A, needsOf(a, region, b, limits, total, true));
    const std::uint64_t longest = std::max<std::uint64_t>(longestColumn(a), kBlock);
    const Aside aside(longest + kKernelSlack, a.elementSize, a.pi != nullptr);
    const Numbers rows(region.rows.form());
    relay.commitAnew(
        [&](const Columns& after) { Rebuild(relay.before(), after, region, b, *filter.others(), aside).run(rows); });
    return true;
}

} // namespace zqsp
