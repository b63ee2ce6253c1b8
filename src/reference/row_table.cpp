#include "core/entry_moves.hpp"
#include "core/errors.hpp"
#include "core/search.hpp"
#include "lookup/place_search.hpp"
#include "reference/column_visit.hpp"
#include "reference/gather.hpp"
#include "reference/row_methods.hpp"
#include "reference/row_order.hpp"

#include <algorithm>
#include <array>
#include <climits>
#include <optional>

namespace zqsp {

void setCapacity(kxArray* array, unsigned capacity)
{
    constexpr unsigned kFewSpare = 64;
    if (capacity <= array->nzmax && array->nzmax - capacity <= kFewSpare) {
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

    /// ends[i] = `before` and how many were found before from[i], for ascending positions in the block. Where there is
    /// one for every few of these, four are compared with each: how many are below no branch foresees.
    void countBefore(const unsigned* from, unsigned count, unsigned before, unsigned* ends)
    {
        constexpr unsigned kFew = 8;
        constexpr unsigned kStep = 4;
        if (number < count / kFew) {
            unsigned i = 0;
            for (unsigned found = 0; found < number; ++found) {
                const unsigned next = gallop(from, i, count, positions[found] + 1);
                std::fill(ends + i, ends + next, before + found);
                i = next;
            }
            std::fill(ends + i, ends + count, before + number);
            return;
        }
        std::fill_n(positions.begin() + number, kStep, UINT_MAX);
        unsigned found = 0;
        for (unsigned i = 0; i < count; ++i) {
            unsigned below = 0;
            do {
                const unsigned* const next = positions.data() + found;
                below = 0;
                for (unsigned k = 0; k < kStep; ++k) {
                    below += next[k] < from[i] ? 1U : 0U;
                }
                found += below;
            } while (below == kStep);
            ends[i] = before + found;
        }
    }
};

/// Finds the entries in rows of a set, where these are few.
class Sieve
{
  public:
    /// Of a set of numbers below an extent. About so many entries are to be sifted.
    Sieve(const RowSet& set, unsigned extent, const Subscript& rows, std::uint64_t entries) : set_(set)
    {
        constexpr std::uint64_t kPaysForFilter = 4096;
        constexpr unsigned kMostPass = 64; // one in so many rows: a branch on each that passes would be mispredicted
        if (entries >= kPaysForFilter && set.count() <= std::min(kernels().costs.mostFewRows, extent / kMostPass)) {
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

/// A result that takes up columns one after the other.
class SelectedRows
{
  public:
    /// To have `rowCount` rows, and the given capacity or else that of what it holds in the end; until then it has the
    /// room that its rows need if they are like all others. Raises on exhausted memory, as the others do.
    SelectedRows(const Columns& a, const RowChoice& rows, unsigned rowCount, const Subscript& columns,
                 std::optional<unsigned> capacity = {})
        : a_(a),
          rows_(rows),
          isExact_(!capacity),
          entries_(capacity ? *capacity : entriesIn(a, columns)),
          result_(createLike(a, rowCount, countOf(columns), capacity ? *capacity : firstRoom(rowCount))),
          out_(result_.get())
    {
    }

    /// All of the columns to come, or of fewer.
    [[nodiscard]] std::uint64_t entries() const { return entries_; }

    /// What lies in the rows; as much at a time as there is room for all of it. (Counting what is selected first takes
    /// half as long as moving it.)
    [[gnu::noinline]] void select(unsigned first, unsigned count)
    {
        const auto room = [this] { return std::max(out_.nzmax - written_, kBlock); };
        for (unsigned some = 0; count > 0; first += some, count -= some) {
            some = columnsTogether(a_, first, count, room());
            const unsigned end = a_.jc[first + some];
            std::array<unsigned, 2> piece{a_.jc[first], a_.jc[first]}; // of a long column
            do {
                piece[1] += std::min(room(), end - piece[1]);
                const unsigned size = piece[1] - piece[0];
                if (isExact_ && size > out_.nzmax - written_) {
                    makeRoom(size <= UINT32_MAX - written_ ? size : countSelected(a_, piece[0], piece[1], rows_));
                }
                written_ = kernels().moveSelected(entriesOf(a_), some == 1 ? piece.data() : a_.jc + first, some, rows_,
                                                  entriesOf(out_), written_, out_.jc + taken_ + 1);
                piece[0] = piece[1];
            } while (piece[0] < end);
            taken_ += some;
        }
    }

    /// The same for the members of a set, where that is little: values are looked at only of what is found.
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

    /// The same for a run of rows, which are one block of each column.
    void cutOut(const RowInterval& rows, unsigned first, unsigned count)
    {
        unsigned begin = 0;
        searchPlaces(
            a_, 2 * count,
            [&](unsigned t) {
                return Place{rows.first + valueIf(t % 2 == 1, rows.size), first + t / 2};
            },
            [&](unsigned t, Slot slot) {
                if (t % 2 == 0) {
                    begin = slot.position;
                    return;
                }
                const unsigned size = slot.position - begin;
                makeRoom(size);
                copyValues(out_, written_, a_, begin, size);
                std::transform(a_.ir + begin, a_.ir + slot.position, out_.ir + written_,
                               [&rows](unsigned row) { return row - rows.first; });
                out_.jc[++taken_] = written_ += size;
            });
    }

    ArrayOwner finish()
    {
        if (isExact_) {
            setCapacity(result_.get(), written_);
        }
        return std::move(result_);
    }

  private:
    unsigned firstRoom(unsigned rowCount) const
    {
        const std::uint64_t known = std::min<std::uint64_t>(entries_, UINT32_MAX);
        const std::uint64_t expected = known * rowCount / a_.m;
        return static_cast<unsigned>(std::min(known, expected + expected / 4 + kBlock));
    }

    [[gnu::noinline]] void makeRoom(unsigned count)
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
        const auto& ranks = std::get<RankedRows>(rows_);
        for (unsigned i = 0; i < count; ++i) {
            out_.ir[written_ + i] = ranks.newRow(a_.ir[entries[i]]);
        }
        gatherValues(out_, written_, a_, entries, count);
    }

    const Columns& a_;
    const RowChoice rows_;
    const bool isExact_;
    const std::uint64_t entries_;
    ArrayOwner result_;
    Columns out_;
    unsigned taken_ = 0;   // columns
    unsigned written_ = 0; // entries
};

/// Whether the columns are worth copying first: few neighbours, and short ones, are not worth a call each. (No more is
/// copied than A has.)
bool areShortAndApart(const Columns& a, const Subscript& columns)
{
    constexpr unsigned kShortRun = 64; // entries of neighbours
    constexpr unsigned kFewRuns = 16;  // runs of neighbours, not worth an array of their own; the copy is one
    std::uint64_t entries = 0;
    std::uint64_t runs = 0;
    forEachRun(columns, [&](unsigned first, unsigned length) {
        entries += a.jc[first + length] - a.jc[first];
        ++runs;
    });
    return runs > kFewRuns && entries < runs * kShortRun && entries <= a.nnz();
}

/// What lies in the selected rows, with their ranks for new rows.
ArrayOwner selectRows(const Columns& a, const Subscript& rows, const RowSet& selected, const Subscript& columns,
                      bool sifts)
{
    if (selected.hasAll()) {
        return gatherColumns(a, columns);
    }
    if (areShortAndApart(a, columns)) {
        const ArrayOwner neighbours = gatherColumns(a, columns);
        return selectRows(Columns(neighbours.get()), rows, selected, IndexRange::all(countOf(columns)), sifts);
    }
    SelectedRows result(a, selected.ranked(), selected.count(), columns);
    std::optional<Sieve> sieve;
    if (sifts) {
        sieve.emplace(selected, a.m, rows, result.entries());
    }
    forEachColumnRun(a, columns, [&](unsigned first, unsigned count) {
        if (sieve) {
            result.sift(*sieve, first, count);
        } else {
            result.select(first, count);
        }
    });
    return result.finish();
}

} // namespace

ArrayOwner gatherByInterval(const Columns& a, const IndexRange& range, const Subscript& columns, Capacity capacity)
{
    constexpr std::uint64_t kLongColumn = 64; // entries: two searches and a copy take less than a pass over them
    constexpr unsigned kTogether = 1U << 14;  // entries: a column of more stands alone, whatever is around it
    const RowInterval rows{range.first, range.count()};
    if (rows.size == 0) {
        return createLike(a, 0, countOf(columns), 0);
    }
    if (areShortAndApart(a, columns)) {
        const ArrayOwner neighbours = gatherColumns(a, columns);
        return gatherByInterval(Columns(neighbours.get()), range, IndexRange::all(countOf(columns)), capacity);
    }
    SelectedRows result(a, rows, rows.size, columns,
                        capacity == Capacity::kExact ? std::optional<unsigned>()
                                                     : searchCapacity(a, columns, rows.size, 0));
    forEachColumnBlock(a, columns, kTogether, [&](unsigned first, unsigned count) {
        if (a.jc[first + count] - a.jc[first] > count * kLongColumn) {
            result.cutOut(rows, first, count);
        } else {
            result.select(first, count);
        }
    });
    return result.finish();
}

ArrayOwner gatherByTable(const Columns& a, const Subscript& rows, const Subscript& columns, bool sifts)
{
    RowSet selected(a.m);
    addAll(selected, rows);
    selected.rank();
    const auto* list = std::get_if<IndexList>(&rows);
    if (selected.count() < countOf(rows)) {
        const ArrayOwner once = selectRows(a, rows, selected, columns, sifts);
        return repeatRows(Columns(once.get()), *list, selected);
    }
    if (orderOf(rows) == Order::kAscending) { // the ranks are the new rows
        return selectRows(a, rows, selected, columns, sifts);
    }
    RowOrder order(*list, selected);
    const auto* range = std::get_if<IndexRange>(&columns);
    if (selected.hasAll() && range != nullptr && range->isRun()) {
        ArrayOwner result = createNeighbours(a, range->first, range->count());
        order.apply(partOf(a, range->first, range->count()), Columns(result.get()));
        return result;
    }
    ArrayOwner result = selectRows(a, rows, selected, columns, sifts);
    order.apply(Columns(result.get()), Columns(result.get()));
    return result;
}

} // namespace zqsp
