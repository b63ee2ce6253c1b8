#include "core/entry_moves.hpp"
#include "core/errors.hpp"
#include "core/search.hpp"
#include "core/values.hpp"
#include "reference/column_visit.hpp"
#include "reference/gather.hpp"
#include "reference/row_methods.hpp"

#include <algorithm>
#include <array>
#include <optional>

namespace zqsp {

void setCapacity(kxArray* array, unsigned capacity)
{
    constexpr unsigned kFew = 64;
    if (capacity <= array->nzmax && array->nzmax - capacity <= kFew) {
        array->nzmax = capacity;
        return;
    }
    const Columns a(array);
    const std::size_t elements = std::max(capacity, 1U); // no runtime is asked for a block of nothing
    const std::size_t bytes = elements * a.elementSize;
    kxSetIr(array, static_cast<unsigned*>(kxReallocExCheck(a.ir, elements * sizeof *a.ir)));
    kxSetData(array, kxReallocExCheck(a.pr, bytes));
    if (a.pi != nullptr) {
        kxSetImagData(array, kxReallocExCheck(a.pi, bytes));
    }
    array->nzmax = capacity;
}

namespace {

constexpr unsigned kBlock = 4096; // entries that are looked at together, and put in order while a cache has them

/// What was found in a block of entries. (Nothing is initialised: it is large.)
struct Found
{
    unsigned number;
    std::array<unsigned, kBlock + kKernelSlack> positions;

    /// ends[i] = `before` and how many were found before from[i], for ascending positions in the block.
    void countBefore(const unsigned* from, unsigned count, unsigned before, unsigned* ends) const
    {
        unsigned i = 0;
        for (unsigned found = 0; found < number; ++found) {
            const unsigned next = gallop(from, i, count, positions[found] + 1);
            std::fill(ends + i, ends + next, before + found);
            i = next;
        }
        std::fill(ends + i, ends + count, before + number);
    }
};

/// Finds the entries in rows of a set, where these are few.
class Sieve
{
  public:
    /// About so many entries are to be sifted.
    Sieve(const RowSet& set, const Subscript& rows, std::uint64_t entries) : set_(set)
    {
        constexpr std::uint64_t kPaysForFilter = 4096;
        if (entries >= kPaysForFilter && set.count() <= kernels().costs.mostFewRows) {
            FewRows& few = few_.emplace();
            forEachIndex(rows, [&](unsigned row) { few.add(row); });
        }
    }

    void find(const unsigned* ir, unsigned begin, unsigned size, Found& found) const
    {
        found.number =
            kernels().siftRows(set_.words(), few_ ? &*few_ : nullptr, ir, begin, begin + size, found.positions.data());
    }

  private:
    const RowSet& set_;
    std::optional<FewRows> few_;
};

/// A result that takes up columns one after the other. In the beginning it has the room that its rows need if they are
/// like all others, and in the end its size.
class SelectedRows
{
  public:
    /// `entries`: all of the columns to come. Raises on exhausted memory, as the others do.
    SelectedRows(const Columns& a, const RowSet& rows, unsigned columns, std::uint64_t entries)
        : a_(a),
          rows_(rows),
          entries_(entries),
          result_(createLike(a, rows.count(), columns, firstRoom())),
          out_(result_.get())
    {
    }

    [[nodiscard]] const Columns& columns() const { return out_; }
    [[nodiscard]] unsigned columnsTaken() const { return taken_; }
    /// In the columns from `first` on.
    [[nodiscard]] unsigned entriesSince(unsigned first) const { return written_ - out_.jc[first]; }

    /// What lies in the rows, with their ranks for new rows.
    void select(unsigned first, unsigned count)
    {
        const unsigned begin = a_.jc[first];
        const unsigned size = a_.jc[first + count] - begin;
        if (size > out_.nzmax - written_) {
            makeRoom(countSelected(a_, begin, begin + size, rows_.ranked()));
        }
        written_ = moveSelected(a_, first, count, rows_.ranked(), out_, written_, out_.jc + taken_ + 1);
        taken_ += count;
    }

    /// The same where that is little: values are looked at only of what is found.
    void sift(const Sieve& sieve, unsigned first, unsigned count)
    {
        Found found;
        const unsigned* end = a_.jc + first + 1;
        const unsigned* const last = end + count;
        unsigned* newEnd = out_.jc + taken_ + 1;
        for (unsigned begin = end[-1], size = 0; begin < last[-1]; begin += size) { // a long column may need several
            size = std::min(kBlock, last[-1] - begin);
            sieve.find(a_.ir, begin, size, found);
            makeRoom(found.number);
            take(found.positions.data(), found.number);
            const auto inside = static_cast<unsigned>(std::lower_bound(end, last, begin + size) - end);
            found.countBefore(end, inside, written_, newEnd);
            end += inside;
            newEnd += inside;
            written_ += found.number;
        }
        std::fill_n(newEnd, last - end, written_);
        taken_ += count;
    }

    ArrayOwner finish()
    {
        setCapacity(result_.get(), written_);
        return std::move(result_);
    }

  private:
    unsigned firstRoom() const
    {
        const std::uint64_t known = std::min<std::uint64_t>(entries_, UINT32_MAX);
        const std::uint64_t expected = known * rows_.count() / a_.m;
        return static_cast<unsigned>(std::min(known, expected + expected / 4 + kBlock));
    }

    void makeRoom(unsigned count)
    {
        if (const unsigned needed = checkedCount(std::uint64_t{written_} + count); needed > out_.nzmax) {
            const std::uint64_t twice = std::min(entries_, std::uint64_t{out_.nzmax} * 2);
            setCapacity(result_.get(),
                        std::max(needed, static_cast<unsigned>(std::min<std::uint64_t>(twice, UINT32_MAX))));
            out_ = Columns(result_.get());
        }
    }

    void take(const unsigned* entries, unsigned count)
    {
        withStorage(a_, [&](auto from) {
            const decltype(from) to(out_);
            for (unsigned i = 0; i < count; ++i) {
                out_.ir[written_ + i] = rows_.ranked().newRow(a_.ir[entries[i]]);
                to.copy(written_ + i, from, entries[i]);
            }
        });
    }

    const Columns& a_;
    const RowSet& rows_;
    std::uint64_t entries_;
    ArrayOwner result_;
    Columns out_;
    unsigned taken_ = 0;   // columns
    unsigned written_ = 0; // entries
};

/// What lies in the selected rows, which get their ranks for new rows, and from these those that an order gives them.
ArrayOwner selectRows(const Columns& a, const Subscript& rows, const RowSet& selected, const Subscript& columns,
                      bool sifts, std::optional<RowOrder> order)
{
    if (selected.hasAll()) {
        return gatherColumns(a, columns, order ? &*order : nullptr);
    }
    const std::uint64_t entries = entriesIn(a, columns);
    SelectedRows result(a, selected, countOf(columns), entries);
    std::optional<Sieve> sieve;
    if (sifts) {
        sieve.emplace(selected, rows, entries);
    }
    unsigned ordered = 0;
    constexpr unsigned kUnordered = 1U << 16; // entries: it is in order already what comes out
    forEachColumnBlock(a, columns, order ? kBlock : kUnordered, [&](unsigned first, unsigned count) {
        if (sieve) {
            result.sift(*sieve, first, count);
        } else {
            result.select(first, count);
        }
        if (order && result.entriesSince(ordered) >= kBlock) {
            order->apply(result.columns(), ordered, result.columnsTaken() - ordered);
            ordered = result.columnsTaken();
        }
    });
    if (order) {
        order->apply(result.columns(), ordered, result.columnsTaken() - ordered);
    }
    return result.finish();
}

} // namespace

ArrayOwner gatherByTable(const Columns& a, const Subscript& rows, const Subscript& columns, bool sifts)
{
    RowSet selected(a.m);
    addAll(selected, rows);
    selected.rank();
    const auto* list = std::get_if<IndexList>(&rows);
    if (selected.count() < countOf(rows)) {
        // Short columns here and there are not worth a call each. (No more is copied than A has.)
        constexpr unsigned kShort = 64;
        const std::uint64_t entries = entriesIn(a, columns);
        if (!std::holds_alternative<IndexRange>(columns) && entries <= a.nnz() &&
            entries < std::uint64_t{countOf(columns)} * kShort) {
            const ArrayOwner some = gatherColumns(a, columns);
            return gatherByTable(Columns(some.get()), rows, IndexRange::all(countOf(columns)), sifts);
        }
        const ArrayOwner once = selectRows(a, rows, selected, columns, sifts, {});
        return repeatRows(Columns(once.get()), *list, selected);
    }
    const bool ascend = orderOf(rows) == Order::kAscending; // new rows are ranks among the old ones
    return selectRows(a, rows, selected, columns, sifts,
                      ascend ? std::nullopt : std::optional<RowOrder>(std::in_place, *list, selected));
}

} // namespace zqsp
