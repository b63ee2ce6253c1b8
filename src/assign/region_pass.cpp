#include "assign/region.hpp"

#include "core/errors.hpp"
#include "core/values.hpp"
#include "kernels/select_loop.hpp"
#include "subscript/walk.hpp"

namespace zqsp {

namespace {

constexpr unsigned kBlock = 1024; // entries, and columns, at a time: these stay in the nearest caches

/// What is set in, and where what stays is put together before it comes to its place.
struct Filling
{
    const RightSide& b;
    NumberView rows; ///< of the region
    unsigned rowCount;
    const Columns aside;
};

class Pass
{
  public:
    /// From one set of blocks to another, or within one. The column starts of `to` are the old ones. `others`: the rows
    /// that stay; null for none.
    Pass(const Columns& from, const Columns& to, const RowSet* others)
        : from_(from), to_(to), jc_(to.jc), others_(others), inPlace_(from.ir == to.ir)
    {
    }

    /// Within one set of blocks.
    void clear(const Ordered& columns)
    {
        // Inlined by force, as is what it calls: the counts stay in registers (uniform1/set-region.zero 0.035, 0.038).
        forEachRun(
            columns.form(), [this](unsigned first, unsigned length) __attribute__((always_inline)) {
                keepUpTo(first);
                const unsigned end = first + length;
                if (others_ != nullptr && length <= kFewColumns && jc_[end] - next_ <= kFewEntries) {
                    clearShort(end);
                } else {
                    at_ = select(end, to_, at_);
                }
            });
        keepUpTo(to_.n);
    }

    /// Into other blocks.
    void fill(const Ordered& columns, const Filling& filling)
    {
        forEachRun(columns.form(), [&](unsigned first, unsigned length) {
            keepUpTo(first);
            for (const unsigned end = first + length; column_ < end;) {
                const unsigned column = column_;
                const unsigned kept = select(endOfBlock(end), filling.aside, 0);
                if (to_.classId == kxDOUBLE_CLASS && to_.pi == nullptr) {
                    setIn(filling, column, kept, RealValues(to_), RealValues(filling.b.b));
                } else {
                    setIn(filling, column, kept, GenericValues(to_), GenericValues(filling.b.b));
                }
            }
        });
        keepUpTo(to_.n);
    }

  private:
    // The kernel costs more (uniform1/set-region.zero 0.034, 0.036); of many columns that hold next to nothing, less.
    static constexpr unsigned kFewEntries = 64;
    static constexpr unsigned kFewColumns = 4;

    /// Appends the columns before `end`.
    [[gnu::always_inline]] void keepUpTo(unsigned end)
    {
        const unsigned size = column_ < end ? jc_[end] - next_ : 0;
        const unsigned shift = at_ - next_;
        if (inPlace_) {
            moveDown(to_, at_, next_, size);
        } else {
            append(at_, from_, next_, size);
        }
        if (shift != 0 && column_ < end) {
            shiftStarts(jc_ + column_ + 1, jc_ + end + 1, shift);
        }
        column_ = end;
        at_ += size;
        next_ += size;
    }

    [[gnu::noinline]] void append(unsigned at, const Columns& source, unsigned from, unsigned count) const
    {
        appendEntries(to_, at, source, from, count);
    }

    /// The columns up to `most`, at least one, whose entries fit aside.
    [[nodiscard]] unsigned endOfBlock(unsigned most) const
    {
        unsigned end = column_ + 1;
        while (end < most && end - column_ < kBlock && jc_[end + std::size_t{1}] - next_ <= kBlock) {
            ++end;
        }
        return end;
    }

    /// Moves what stays of the columns before `end` to the entries `at` and behind of `to`. Their starts become the
    /// ends there, that of the first one its own. Returns the last of the ends.
    unsigned select(unsigned end, const Columns& to, unsigned at)
    {
        unsigned* const starts = jc_ + column_;
        const unsigned count = end - column_;
        starts[0] = next_; // as before
        next_ = jc_[end];
        column_ = end;
        if (others_ == nullptr) {
            std::fill_n(starts + 1, count, at);
        } else {
            at = kernels().moveSelected(entriesOf(from_), starts, count, others_->unmoved(), entriesOf(to), at,
                                        starts + 1);
        }
        starts[0] = at_;
        return at;
    }

    /// Appends what stays of the columns before `end`, which have few entries, within one set of blocks.
    [[gnu::always_inline]] void clearShort(unsigned end)
    {
        const Entries entries = entriesOf(to_);
        UnmovedRows others = others_->unmoved();
        EntryBlock block;
        while (column_ < end) {
            block.begin = next_;
            next_ = jc_[++column_];
            block.size = next_ - block.begin;
            at_ = selectBlock(entries, others, entries, at_, block);
            jc_[column_] = at_;
        }
    }

    /// Appends `kept` entries that stay in the columns from `column` on, and between them what comes. The column
    /// starts, which count what stays, are those of the result then.
    template <typename Values>
    void setIn(const Filling& filling, unsigned column, unsigned kept, Values to, Values from)
    {
        const bool isScalar = filling.b.isScalar();
        const unsigned* const bRows = filling.b.b.ir;
        const NumberView targetRows = filling.rows;
        const Columns aside = filling.aside;
        const Values stays(aside);
        unsigned* const ends = jc_ + 1;
        unsigned* const newRows = to_.ir;
        const unsigned capacity = to_.nzmax;
        unsigned copied = 0; // of what stays
        unsigned at = at_;
        const auto copyUpTo = [&](unsigned end) __attribute__((always_inline))
        {
            const unsigned count = end - copied;
            if (count <= kRound && capacity - at >= kRound && aside.nzmax - copied >= kRound) {
                copyRun(newRows + at, aside.ir + copied, kRound); // a whole one: no branch foresees how many there are
                to.copyRun(at, stays, copied, kRound);
            } else {
                append(at, aside, copied, count);
            }
            at += count;
            copied = end;
        };
        for (unsigned place = 0; column < column_; ++column, ++done_) {
            const unsigned end = ends[column];
            const unsigned sourceEnd = isScalar ? filling.rowCount : filling.b.b.jc[done_ + std::size_t{1}];
            for (unsigned source = isScalar ? 0 : filling.b.b.jc[done_]; source < sourceEnd; ++source) {
                const unsigned row = targetRows[isScalar ? source : bRows[source]];
                if (copied < end) {
                    place = placeAmong(aside, place, end, row);
                    copyUpTo(place);
                }
                newRows[at] = row;
                to.copy(at++, from, isScalar ? 0 : source);
            }
            place = end;
            ends[column] = at + (end - copied);
        }
        copyUpTo(kept);
        at_ = at;
    }

    const Columns& from_;
    const Columns& to_;
    unsigned* jc_; // the new starts up to that of the next column, then the old ones
    const RowSet* others_;
    bool inPlace_;
    unsigned column_ = 0; // the next one
    unsigned next_ = 0;   // its first entry
    unsigned at_ = 0;     // entries of the result so far
    unsigned done_ = 0;   // target columns that are filled
};

/// Entries of the region's columns in the rows that stay.
std::uint64_t countKept(const Columns& a, const Ordered& columns, const RowSet& others)
{
    std::uint64_t kept = 0;
    forEachRun(columns.form(), [&](unsigned first, unsigned length) {
        const unsigned begin = a.jc[std::min(first, a.n)];
        const unsigned end = a.jc[std::min(std::uint64_t{first} + length, std::uint64_t{a.n})];
        kept += countSelected(a, begin, end, others.unmoved());
    });
    return kept;
}

} // namespace

bool fillInOnePass(kxArray* A, const Region& region, const RightSide& b, const RowFilter& filter)
{
    const Columns a(A);
    const RowSet* const others = filter.others();
    const bool looksAtAll =
        others != nullptr && looksAtAllEntries(filter.looks(), region.rows.count(), region.columns.count());
    if (b.isNothing() && (looksAtAll || filter.coversAll())) {
        growColumns(A, region.n); // the last thing that can fail
        const Columns grown(A);
        Pass(grown, grown, others).clear(region.columns);
        return true;
    }
    if (b.isNothing() || !looksAtAll || !rewritingPays(a.nnz(), filter.looks(), region.columns.count())) {
        return false;
    }
    const std::uint64_t inColumns = countKept(a, region.columns, *others) + region.entriesOf(b);
    const unsigned total = checkedCount(inColumns + (a.nnz() - filter.looks()));
    if (!freshBlocksPay(a.nzmax, a.elementSize, total)) {
        return false;
    }
    if (inColumns > region.mostEntries) {
        raiseMaxSize();
    }
    Relay relay(A, {.capacity = std::max(total, a.nzmax),
                    .columns = region.n,
                    .imaginaryPart = b.isComplex(),
                    .freshBlocks = true});
    const std::uint64_t atOnce = std::min<std::uint64_t>(filter.looks(), std::max(filter.longest(), kBlock));
    const std::size_t room = wholeRounds(atOnce + kKernelSlack);
    const auto block = Block<std::byte>::make(room * (2 * a.elementSize + sizeof(unsigned)));
    Columns aside = a; // the column starts mean nothing
    aside.nzmax = static_cast<unsigned>(std::min<std::size_t>(room, UINT32_MAX));
    aside.pr = block.get();
    aside.pi = a.pi != nullptr ? block.get() + room * a.elementSize : nullptr;
    aside.ir = reinterpret_cast<unsigned*>(block.get() + 2 * room * a.elementSize);
    const Numbers rows(region.rows.form());
    relay.commitAnew([&](const Columns& after) {
        Pass(relay.before(), after, others).fill(region.columns, {b, rows, region.rows.count(), aside});
    });
    return true;
}

} // namespace zqsp
