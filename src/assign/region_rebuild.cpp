#include "assign/region_rebuild.hpp"

#include "core/row_selection.hpp"
#include "core/search.hpp"
#include "core/values.hpp"

#include <algorithm>
#include <array>

namespace zqsp {

namespace {

constexpr unsigned kBlock = 1024; // entries, and columns, at a time: these stay in the nearest caches

/// What stays of some columns, before what comes is set in.
class Aside
{
  public:
    explicit Aside(const Columns& a)
        : capacity_(longestColumn(a) + kKernelSlack),
          ir_(Block<unsigned>::make(capacity_)),
          pr_(Block<std::byte>::make(capacity_ * std::size_t{a.elementSize}))
    {
        if (a.pi != nullptr) {
            pi_ = Block<std::byte>::make(capacity_ * std::size_t{a.elementSize});
        }
    }

    /// As columns of the kind of `a`; the column starts mean nothing.
    [[nodiscard]] Columns viewLike(Columns a) const
    {
        a.nzmax = static_cast<unsigned>(std::min<std::uint64_t>(capacity_, std::numeric_limits<unsigned>::max()));
        a.ir = ir_.get();
        a.pr = pr_.get();
        a.pi = pi_.get();
        return a;
    }

  private:
    static std::uint64_t longestColumn(const Columns& a)
    {
        unsigned longest = kBlock;
        for (unsigned j = 0; j < a.n; ++j) {
            longest = std::max(longest, a.length(j));
        }
        return longest;
    }

    std::uint64_t capacity_;
    Block<unsigned> ir_;
    Block<std::byte> pr_;
    Block<std::byte> pi_;
};

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
            withStorage(after_, before_, b_.b, [&](auto to, auto, auto from) {
                rows.visit([&](auto known) { setIn(column, end, kept, to, from, known); });
            });
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
    template <typename To, typename From, typename Rows>
    void setIn(unsigned column, unsigned endColumn, unsigned kept, To to, From from, Rows rows)
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

void rebuildColumns(Relay& relay, const Region& region, const RightSide& b, const RowSet& others)
{
    const Aside aside(relay.before());
    const Numbers rows(region.rows.form());
    relay.commitAnew([&](const Columns& after) { Rebuild(relay.before(), after, region, b, others, aside).run(rows); });
}

} // namespace zqsp
