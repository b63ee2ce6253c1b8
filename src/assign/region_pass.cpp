#include "assign/region.hpp"

#include "core/errors.hpp"
#include "core/values.hpp"
#include "kernels/select_loop.hpp"
#include "subscript/walk.hpp"

namespace zqsp {

namespace {

constexpr unsigned kBlock = 1024; // entries, and columns, at a time: these stay in the nearest caches

[[gnu::noinline]] void append(const Columns& to, unsigned at, const Columns& from, unsigned begin, unsigned count)
{
    appendEntries(to, at, from, begin, count);
}

/// Merges what stays of target columns, which has been put together aside, with what b brings. A thousand entries of b
/// at a time go through short loops, none of which has a branch on how many a column has, or how many stay between two.
class Weaver
{
  public:
    /// `rows`: of the region, which are `rowCount`.
    Weaver(const RightSide& b, NumberView rows, unsigned rowCount, const Columns& aside, const Columns& to)
        : b_(b), rows_(rows), rowCount_(rowCount), aside_(aside), to_(to)
    {
    }

    /// Appends `columns` target columns from the t-th one on, at entry `at` and behind. `starts` count what stays of
    /// them, and are those of the result then. Returns the last one.
    [[gnu::noinline]] unsigned weave(unsigned t, unsigned columns, unsigned* starts, unsigned at)
    {
        const unsigned first = startOf(t);
        const unsigned end = startOf(t + columns);
        at_ = at;
        stayed_ = 0;
        for (unsigned source = first, column = 0; source < end; source += size_) {
            size_ = std::min(end - source, kMost);
            column = list(source, t, column);
            findPlaces(starts);
            for (unsigned i = 0; i < size_;) {
                i += setIn(i, source + i);
            }
        }
        append(to_, at_, aside_, stayed_, starts[columns] - stayed_);
        for (unsigned i = 0; i <= columns; ++i) {
            starts[i] += at + startOf(t + i) - first;
        }
        return starts[columns];
    }

  private:
    static constexpr unsigned kMost = Spreading::kMost;

    /// The first entry of b, or what a scalar puts, in the t-th column.
    [[nodiscard]] unsigned startOf(unsigned t) const { return b_.isDense() ? t * rowCount_ : b_.b.jc[t]; }

    /// Writes the columns and the target rows of the entries of b from `source` on. Columns are counted from the t-th
    /// one; none lies before `column`. Returns that of the last one.
    unsigned list(unsigned source, unsigned t, unsigned column)
    {
        for (unsigned end = 0; end < size_; ++column) {
            unsigned at = end;
            end = std::min(startOf(t + column + 1) - source, size_);
            do { // whole rounds
                std::fill_n(columns_.begin() + at, kRound, static_cast<std::uint16_t>(column));
                at += kRound;
            } while (at < end);
        }
        for (unsigned i = 0; i < size_; ++i) {
            newRows_[i] = rows_[b_.isDense() ? source + i - startOf(t + columns_[i]) : b_.b.ir[source + i]];
        }
        return column - 1;
    }

    /// What stays before each in all columns. In a short column no search waits for the one before, in a long one two
    /// halves do not wait for each other.
    void findPlaces(const unsigned* starts)
    {
        const auto find = [this, starts](unsigned i, unsigned near) {
            const unsigned begin = starts[columns_[i]];
            const unsigned end = starts[columns_[i] + 1];
            return places_[i] = end - begin <= kComparedRows && canCompare(aside_, begin)
                                    ? begin + rankAmong(aside_.ir + begin, end - begin, newRows_[i])
                                    : gallopNear(aside_.ir, std::max(near, begin), end, newRows_[i]);
        };
        const unsigned half = size_ / 2;
        for (unsigned i = 0, low = 0, high = 0; i < size_ - half; ++i) {
            low = find(i, low);
            high = find(half + i, high);
        }
    }

    /// Appends as much as there is room for in places: of what comes, from number i on, which is entry `source` of b,
    /// and of what stays before it. Returns how much comes.
    unsigned setIn(unsigned i, unsigned source)
    {
        unsigned* const places = places_.data() + i;
        if (places[0] - stayed_ >= kMost) {
            append(to_, at_, aside_, stayed_, places[0] - stayed_);
            at_ += places[0] - stayed_;
            stayed_ = places[0];
        }
        unsigned count = size_ - i;
        while (places[count - 1] - stayed_ + count > kMost) {
            count /= 2;
        }
        const unsigned last = places[count - 1];
        for (unsigned k = 0; k < count; ++k) {
            places[k] += k - stayed_;
            spreading_.mark(places[k]);
        }
        spreading_.move(last - stayed_ + count, to_, at_, aside_, stayed_);
        for (unsigned k = 0; k < count; ++k) {
            to_.ir[at_ + places[k]] = newRows_[i + k];
        }
        withStorage(to_, to_, b_.b, [&](auto to, auto, auto from) {
            for (unsigned k = 0; k < count; ++k) {
                to.copy(at_ + places[k], from, b_.isScalar() ? 0 : source + k);
            }
        });
        at_ += last - stayed_ + count;
        stayed_ = last;
        return count;
    }

    const RightSide& b_;
    const NumberView rows_;
    const unsigned rowCount_;
    const Columns aside_;
    const Columns to_;
    unsigned size_ = 0;   // entries of b
    unsigned stayed_ = 0; // entries of what stays that are appended
    unsigned at_ = 0;
    Spreading spreading_;
    std::array<std::uint16_t, kMost + kRound> columns_;
    std::array<unsigned, kMost> newRows_;
    std::array<unsigned, kMost> places_; // of `to`, less `at_`; before, among what stays
};

class Pass
{
  public:
    /// From one set of blocks to another, or within one. The column starts of `to` are the old ones. `others`: the rows
    /// that stay; null for none.
    Pass(const Columns& from, const Columns& to, const RowSet* others)
        : from_(from), to_(to), jc_(to.jc), others_(others)
    {
    }

    /// Within one set of blocks.
    void clear(const Ordered& columns)
    {
        // Inlined by force, as is what it calls: the counts stay in registers (uniform1/set-region.zero 0.035, 0.038).
        forEachRun(
            columns.form(), [this](unsigned first, unsigned length) __attribute__((always_inline)) {
                keepUpTo<true>(first);
                const unsigned end = first + length;
                if (others_ != nullptr && length <= kFewColumns && jc_[end] - next_ <= kFewEntries) {
                    clearShort(end);
                } else {
                    at_ = select(end, to_, at_);
                }
            });
        keepUpTo<true>(to_.n);
    }

    /// Into other blocks. `aside`: of the weaver.
    void fill(const Ordered& columns, const Columns& aside, Weaver& weaver)
    {
        forEachRun(columns.form(), [&](unsigned first, unsigned length) {
            keepUpTo<false>(first);
            for (const unsigned end = first + length; column_ < end;) {
                unsigned* const starts = jc_ + column_;
                const unsigned before = column_;
                select(endOfBlock(end), aside, 0);
                starts[0] = 0;
                at_ = weaver.weave(done_, column_ - before, starts, at_);
                done_ += column_ - before;
            }
        });
        keepUpTo<false>(to_.n);
    }

  private:
    // The kernel costs more (uniform1/set-region.zero 0.034, 0.036); of many columns that hold next to nothing, less.
    static constexpr unsigned kFewEntries = 64;
    static constexpr unsigned kFewColumns = 4;

    /// Appends the columns before `end`.
    template <bool inPlace>
    [[gnu::always_inline]] void keepUpTo(unsigned end)
    {
        const unsigned size = column_ < end ? jc_[end] - next_ : 0;
        const unsigned shift = at_ - next_;
        if constexpr (inPlace) {
            moveDown(to_, at_, next_, size);
        } else {
            append(to_, at_, from_, next_, size);
        }
        if (shift != 0 && column_ < end) {
            shiftStarts(jc_ + column_ + 1, jc_ + end + 1, shift);
        }
        column_ = end;
        at_ += size;
        next_ += size;
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

    const Columns& from_;
    const Columns& to_;
    unsigned* jc_; // the new starts up to that of the next column, then the old ones
    const RowSet* others_;
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
        Weaver weaver(b, rows, region.rows.count(), aside, after);
        Pass(relay.before(), after, others).fill(region.columns, aside, weaver);
    });
    return true;
}

} // namespace zqsp
