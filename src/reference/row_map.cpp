#include "core/counts.hpp"
#include "core/entry_moves.hpp"
#include "core/row_selection.hpp"
#include "core/values.hpp"
#include "reference/column_sorter.hpp"
#include "reference/column_visit.hpp"
#include "reference/gather.hpp"
#include "reference/row_methods.hpp"

#include <algorithm>
#include <utility>

namespace zqsp {

namespace {

/// Where the rows of an array go. Where none goes to two new rows, row r goes to places[r]. Else slots starts[r] ..
/// starts[r+1]-1 belong to row r, and slot s stands for the new row places[s], or without places (new rows ascend with
/// the old ones) for s itself.
struct RowMap
{
    Block<unsigned> starts; // m + 1 words
    Block<unsigned> places; // a word for each new row; with starts, two more
};

/// By counting. Placing the new rows from the last to the first turns ends of slots into their starts.
template <typename RankOf>
RowMap mapRepeated(const IndexList& rows, unsigned m, RankOf rankOf)
{
    RowMap map{Block<unsigned>::zeroed(std::size_t{m} + 1), {}};
    unsigned* const starts = map.starts.get();
    for (const unsigned row : rows) {
        ++starts[rankOf(row)];
    }
    const bool needsPlaces = rows.order() != Order::kAscending;
    unsigned sum = 0;
    for (unsigned r = 0; r < m; ++r) {
        sum += starts[r];
        starts[r] = needsPlaces ? sum : sum - starts[r];
    }
    starts[m] = sum;
    if (needsPlaces) {
        map.places = Block<unsigned>::make(std::size_t{rows.count()} + 2);
        for (unsigned p = rows.count(); p-- > 0;) {
            map.places[--starts[rankOf(rows[p])]] = p;
        }
    }
    return map;
}

/// The map of the rows that a list names, for an array of `m` rows in which rankOf() finds them.
template <typename RankOf>
RowMap mapBy(const IndexList& rows, bool repeats, unsigned m, RankOf rankOf)
{
    if (repeats) {
        return mapRepeated(rows, m, rankOf);
    }
    RowMap map{{}, Block<unsigned>::make(rows.count())};
    for (unsigned p = 0; p < rows.count(); ++p) {
        map.places[rankOf(rows[p])] = p;
    }
    return map;
}

/// The copies of the entries begin .. end-1, with their new rows, of one row in ascending order. Most rows have two or
/// fewer, which need no branch. There is room for two more.
unsigned collectCopies(const unsigned* ir, unsigned begin, unsigned end, const RowMap& map, unsigned* rows,
                       unsigned* sources)
{
    const unsigned* const starts = map.starts.get();
    const auto newRow = [places = map.places.get()](unsigned slot) { return places != nullptr ? places[slot] : slot; };
    unsigned count = 0;
    for (unsigned e = begin; e < end; ++e) {
        const unsigned slot = starts[ir[e]];
        const unsigned slotEnd = starts[ir[e] + 1];
        for (unsigned s = slot; s < slot + 2; ++s) {
            rows[count] = newRow(s);
            sources[count] = e;
            count += s < slotEnd ? 1U : 0U;
        }
        for (unsigned s = slot + 2; s < slotEnd; ++s) {
            rows[count] = newRow(s);
            sources[count++] = e;
        }
    }
    return count;
}

/// Each entry has one new row.
unsigned collect(const unsigned* ir, unsigned begin, unsigned end, const unsigned* places, unsigned* rows,
                 unsigned* sources)
{
    for (unsigned e = begin; e < end; ++e) {
        rows[e - begin] = places[ir[e]];
        sources[e - begin] = e;
    }
    return end - begin;
}

unsigned longestColumn(const Columns& a, const Subscript& columns)
{
    unsigned longest = 0;
    forEachColumn(a, columns, [&](unsigned, unsigned length) { longest = std::max(longest, length); });
    return longest;
}

/// The columns of an array without the rows that a list does not name, a block at a time: what is done with a block
/// then finds it in the nearest cache.
class NamedRows
{
  public:
    /// `isAll`: whether every row stays. `longest`: the longest of the columns. Raises on exhausted memory.
    NamedRows(const Columns& a, const RowSet& named, bool isAll, const Subscript& columns, unsigned longest)
        : a_(a), named_(named), columns_(columns), isAll_(isAll)
    {
        if (!isAll_) {
            const auto entries = std::min<std::uint64_t>(entriesIn(a, columns), kMostEntries);
            mostEntries_ = std::max(static_cast<unsigned>(entries), longest);
            mostColumns_ = std::min(countOf(columns), kMostColumns);
            block_ = createLike(a, named.count(), mostColumns_, mostEntries_);
        }
    }

    /// f(columns of an array, first, count) for all blocks.
    template <typename F>
    void forEachBlock(F&& f) const
    {
        if (isAll_) {
            forEachColumnRun(a_, columns_, [&](unsigned first, unsigned length) { f(a_, first, length); });
            return;
        }
        const Columns block(block_.get());
        const auto select = [&](const Columns& from, unsigned first, unsigned count) {
            if (count > 0) {
                moveSelected(from, first, count, named_.ranked(), block, 0, block.jc + 1);
                f(block, 0, count);
            }
        };
        unsigned collected = 0; // short runs of columns, which are not worth a call each
        forEachColumnBlock(a_, columns_, mostEntries_, mostColumns_, [&](unsigned first, unsigned count) {
            const unsigned begin = a_.jc[first];
            const unsigned size = a_.jc[first + count] - begin;
            const bool isShort = count <= kShortRun;
            if (!isShort || collected + count > mostColumns_ || size > mostEntries_ - block.jc[collected]) {
                select(block, 0, std::exchange(collected, 0));
            }
            if (!isShort) {
                select(a_, first, count);
                return;
            }
            const unsigned end = block.jc[collected];
            appendEntries(block, end, a_, begin, size);
            for (unsigned i = 1; i <= count; ++i) {
                block.jc[++collected] = a_.jc[first + i] - begin + end;
            }
        });
        select(block, 0, collected);
    }

  private:
    static constexpr unsigned kMostColumns = 1024;
    static constexpr unsigned kShortRun = 16;
    static constexpr unsigned kMostEntries = 4096;

    const Columns& a_;
    const RowSet& named_;
    const Subscript& columns_;
    bool isAll_;
    unsigned mostEntries_ = 0; ///< of a block
    unsigned mostColumns_ = 0; ///< the same
    ArrayOwner block_;
};

/// All entries of a result, and at most how many a column of it has.
struct Tally
{
    std::uint64_t total = 0;
    unsigned longest = 0;
};

Tally tallyCopies(const NamedRows& named, const unsigned* starts)
{
    Tally result;
    named.forEachBlock([&](const Columns& a, unsigned first, unsigned count) {
        for (unsigned j = first; j < first + count; ++j) {
            std::uint64_t copies = 0;
            for (unsigned e = a.jc[j]; e < a.jc[j + 1]; ++e) {
                copies += starts[a.ir[e] + 1] - starts[a.ir[e]];
            }
            result.total += copies;
            result.longest = std::max(result.longest, checkedCount(copies));
        }
    });
    return result;
}

/// Each column is collected, sorted unless its order is known, and written.
template <typename Values>
void writeArranged(const NamedRows& named, const RowMap& map, const Tally& tally, const Columns& out)
{
    const Values to(out);
    unsigned* const outIr = out.ir;
    const unsigned* const places = map.places.get();
    const bool sorts = places != nullptr;
    const bool repeats = static_cast<bool>(map.starts);
    ColumnSorter sorter(tally.longest, out.m, sorts);
    unsigned* const rows = sorter.rows();
    unsigned* const sources = sorter.sources();
    unsigned written = 0;
    unsigned* columnEnd = out.jc + 1;
    named.forEachBlock([&](const Columns& a, unsigned first, unsigned columns) {
        const Values from(a);
        const auto place = [&](unsigned at, unsigned newRow, unsigned source) {
            outIr[written + at] = newRow;
            to.copy(written + at, from, source);
        };
        for (unsigned j = first; j < first + columns; ++j) {
            const unsigned begin = a.jc[j];
            const unsigned end = a.jc[j + 1];
            unsigned count = end - begin;
            if (!repeats && count <= 1) {
                if (written < tally.total) { // a column without entries is written over: no branch asks for it
                    const unsigned source = valueIf(count == 1, begin);
                    place(0, places[valueIf(count == 1, a.ir[source])], source);
                }
            } else {
                count = repeats ? collectCopies(a.ir, begin, end, map, rows, sources)
                                : collect(a.ir, begin, end, places, rows, sources);
                if (sorts) {
                    sorter.sort(count, place);
                } else {
                    for (unsigned i = 0; i < count; ++i) {
                        place(i, rows[i], sources[i]);
                    }
                }
            }
            written += count;
            *columnEnd++ = written;
        }
    });
}

} // namespace

ArrayOwner gatherByMap(const Columns& a, const IndexList& rows, const RowSet& selected, const Subscript& columns)
{
    const bool areGathered = selected.count() == a.m; // no others are there, whatever their numbers were
    // What repeats is looked at twice, to be counted and written: nothing is gathered for that, the map has all rows.
    const bool repeats = selected.count() < rows.count();
    const bool hasAll = selected.hasAll() || (repeats && !areGathered);
    const RowMap map = hasAll ? mapBy(rows, repeats, a.m, [](unsigned row) { return row; })
                              : mapBy(rows, repeats, selected.count(),
                                      [ranks = selected.ranked()](unsigned row) { return ranks.newRow(row); });
    const unsigned longest = repeats ? 0 : longestColumn(a, columns); // repeats: no block is needed
    const NamedRows named(a, selected, hasAll || areGathered, columns, longest);
    const Tally tally =
        repeats ? tallyCopies(named, map.starts.get()) : Tally{countInRows(a, columns, selected), longest};
    ArrayOwner result = createLike(a, rows.count(), countOf(columns), checkedCount(tally.total));
    const Columns out(result.get());
    withStorage(a, [&](auto from) { writeArranged<decltype(from)>(named, map, tally, out); });
    return result;
}

} // namespace zqsp
