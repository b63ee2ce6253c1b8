#include "core/counts.hpp"
#include "core/row_selection.hpp"
#include "core/sort.hpp"
#include "core/values.hpp"
#include "reference/column_visit.hpp"
#include "reference/gather.hpp"
#include "reference/row_methods.hpp"
#include "reference/small_column.hpp"

#include <algorithm>
#include <cstring>

namespace zqsp {

namespace {

/// From old rows to new ones. Position form: map[r] is the new row of row r, or NOT_SELECTED. Where the subscript
/// repeats a row, offset form: slots map[r] .. map[r+1]-1 belong to row r, and slot s stands for the new row s itself
/// (ascending subscripts) or order[s].
struct RowMap
{
    Block<unsigned> map;   // m + 1 words
    Block<unsigned> order; // offset form of subscripts that do not ascend: k words
    bool repeats = false;
};

/// Position form; false as soon as a row is met again.
bool fillPositions(const Subscript& rows, unsigned m, unsigned* map)
{
    std::memset(map, 0xFF, m * sizeof *map); // NOT_SELECTED everywhere
    if (const auto* list = std::get_if<IndexList>(&rows)) {
        for (unsigned p = 0; p < list->count(); ++p) {
            unsigned& slot = map[(*list)[p]];
            if (slot != NOT_SELECTED) {
                return false;
            }
            slot = p;
        }
        return true;
    }
    std::visit(
        [map](const auto& form) {
            unsigned p = 0;
            form.forEach([&](unsigned row) { map[row] = p++; });
        },
        rows);
    return true;
}

/// Offset form by counting. Placing the positions from the last to the first turns ends of slots into their starts.
void fillOffsets(const IndexList& list, unsigned m, RowMap& rowMap)
{
    unsigned* map = rowMap.map.get();
    std::memset(map, 0, (std::size_t{m} + 1) * sizeof *map);
    for (const unsigned row : list) {
        ++map[row];
    }
    const bool needsOrder = list.order() != Order::kAscending;
    if (needsOrder) {
        rowMap.order = Block<unsigned>::make(list.count());
    }
    unsigned sum = 0;
    for (unsigned r = 0; r < m; ++r) {
        sum += map[r];
        map[r] = needsOrder ? sum : sum - map[r];
    }
    map[m] = sum;
    if (needsOrder) {
        for (unsigned p = list.count(); p-- > 0;) {
            rowMap.order[--map[list[p]]] = p;
        }
    }
}

RowMap buildRowMap(const Subscript& rows, unsigned m)
{
    RowMap rowMap;
    rowMap.map = Block<unsigned>::make(m + 1);
    rowMap.repeats = !fillPositions(rows, m, rowMap.map.get());
    if (rowMap.repeats) {
        fillOffsets(std::get<IndexList>(rows), m, rowMap);
    }
    return rowMap;
}

/// What the count pass learns: all entries of the result, and at most how many a column of it has.
struct Tally
{
    std::uint64_t total = 0;
    unsigned longest = 0;
};

/// The count pass of the position form, without a branch on a hit. Neighbouring columns are counted as one, and a
/// column cannot give more than it holds.
Tally tallySelected(const Columns& a, const Subscript& columns, const unsigned* map)
{
    Tally result;
    forEachColumnRun<Reading::kRows>(a, columns, [&](unsigned first, unsigned length) {
        result.total += countSelected(a, a.jc[first], a.jc[first + length], RowChoice::Map{map});
        for (unsigned j = first; j < first + length; ++j) {
            result.longest = std::max(result.longest, a.length(j));
        }
    });
    return result;
}

/// That of the offset form.
Tally tallyRepeated(const Columns& a, const Subscript& columns, const unsigned* map)
{
    Tally result;
    forEachColumnRun<Reading::kRows>(a, columns, [&](unsigned first, unsigned length) {
        for (unsigned j = first; j < first + length; ++j) {
            std::uint64_t copies = 0;
            for (unsigned e = a.jc[j]; e < a.jc[j + 1]; ++e) {
                copies += map[a.ir[e] + 1] - map[a.ir[e]];
            }
            result.total += copies;
            result.longest = std::max(result.longest, checkedCount(copies));
        }
    });
    return result;
}

/// That of the position form where every row is selected: each entry comes out once, and nothing is looked up.
Tally tallyWhole(const Columns& a, const Subscript& columns)
{
    Tally result;
    forEachRun(columns, [&](unsigned first, unsigned length) {
        result.total += a.jc[first + length] - a.jc[first];
        for (unsigned j = first; j < first + length; ++j) {
            result.longest = std::max(result.longest, a.length(j));
        }
    });
    return result;
}

Tally tallyOf(const Columns& a, const Subscript& columns, const RowMap& rowMap, bool everyRow)
{
    if (rowMap.repeats) {
        return tallyRepeated(a, columns, rowMap.map.get());
    }
    return everyRow ? tallyWhole(a, columns) : tallySelected(a, columns, rowMap.map.get());
}

/// Writes the entries of the result in order, column by column.
template <typename Values>
class Writer
{
  public:
    Writer(const Columns& a, const Columns& out, unsigned total)
        : from_(a), to_(out), ir_(out.ir), columnEnd_(out.jc + 1), total_(total)
    {
    }

    void put(unsigned newRow, unsigned source)
    {
        ir_[written_] = newRow;
        to_.copy(written_, from_, source);
        ++written_;
    }
    /// Writes the entry and keeps it only if it is selected: no branch on an unpredictable hit. There must be room().
    void putIfSelected(unsigned newRow, unsigned source)
    {
        ir_[written_] = newRow;
        to_.copy(written_, from_, source);
        written_ += newRow != NOT_SELECTED ? 1U : 0U;
    }
    /// Writes `count` entries with distinct new rows in the order of these: each goes where its rank says.
    void putRanked(const SmallColumn& column)
    {
        for (unsigned i = 0; i < column.count(); ++i) {
            const unsigned at = written_ + column.rank(i);
            ir_[at] = column.newRow(i);
            to_.copy(at, from_, column.source(i));
        }
        written_ += column.count();
    }
    [[nodiscard]] unsigned room() const { return total_ - written_; }
    void endColumn() { *columnEnd_++ = written_; }

  private:
    Values from_;
    Values to_;
    unsigned* ir_;
    unsigned* columnEnd_;
    unsigned total_;
    unsigned written_ = 0;
};

/// Calls column(begin, end) for each visited column and closes the column after it.
template <typename Values, typename F>
void forEachColumn(const Columns& a, const Subscript& columns, Writer<Values>& writer, F&& column)
{
    forEachColumnRun(a, columns, [&](unsigned first, unsigned length) {
        for (unsigned j = first; j < first + length; ++j) {
            column(a.jc[j], a.jc[j + 1]);
            writer.endColumn();
        }
    });
}

/// Position form of a descending subscript: the entries of a column, from the last to the first, have ascending new
/// rows.
template <typename Values>
void writeDescending(const Columns& a, const Subscript& columns, const unsigned* map, Writer<Values>& writer)
{
    forEachColumn(a, columns, writer, [&](unsigned begin, unsigned end) {
        if (writer.room() >= end - begin) {
            for (unsigned e = end; e-- > begin;) {
                writer.putIfSelected(map[a.ir[e]], e);
            }
            return;
        }
        for (unsigned e = end; e-- > begin;) {
            if (const unsigned newRow = map[a.ir[e]]; newRow != NOT_SELECTED) {
                writer.put(newRow, e);
            }
        }
    });
}

/// Position form of an unsorted subscript: each column is collected as (new row, source) keys and sorted; short ones
/// are ranked instead.
template <typename Values>
void writeSorted(const Columns& a, const Subscript& columns, const unsigned* map, Key* keys, const KeySorter& sorter,
                 Writer<Values>& writer)
{
    forEachColumn(a, columns, writer, [&](unsigned begin, unsigned end) {
        if (end - begin <= SmallColumn::kMost) {
            SmallColumn column;
            for (unsigned e = begin; e < end; ++e) {
                column.addIfSelected(map[a.ir[e]], e);
            }
            writer.putRanked(column);
            return;
        }
        std::size_t count = 0;
        for (unsigned e = begin; e < end; ++e) {
            if (const unsigned newRow = map[a.ir[e]]; newRow != NOT_SELECTED) {
                keys[count++] = makeKey(newRow, e);
            }
        }
        sorter.sort(keys, count);
        for (std::size_t i = 0; i < count; ++i) {
            writer.put(majorOf(keys[i]), minorOf(keys[i]));
        }
    });
}

/// Offset form. The slots of a row hold its new rows in ascending order; only unsorted subscripts need a sort.
template <typename Values>
void writeRepeated(const Columns& a, const Subscript& columns, const RowMap& rowMap, Order order, Key* keys,
                   const KeySorter& sorter, Writer<Values>& writer)
{
    const unsigned* map = rowMap.map.get();
    const unsigned* positions = rowMap.order.get();
    forEachColumn(a, columns, writer, [&](unsigned begin, unsigned end) {
        std::size_t count = 0;
        for (unsigned i = begin; i < end; ++i) {
            const unsigned e = order == Order::kDescending ? begin + (end - 1 - i) : i;
            for (unsigned slot = map[a.ir[e]]; slot < map[a.ir[e] + 1]; ++slot) {
                const unsigned newRow = positions != nullptr ? positions[slot] : slot;
                if (order == Order::kUnsorted) {
                    keys[count++] = makeKey(newRow, e);
                } else {
                    writer.put(newRow, e);
                }
            }
        }
        sorter.sort(keys, count);
        for (std::size_t i = 0; i < count; ++i) {
            writer.put(majorOf(keys[i]), minorOf(keys[i]));
        }
    });
}

} // namespace

ArrayOwner gatherByMap(const Columns& a, const Subscript& rows, const Subscript& columns)
{
    const unsigned k = countOf(rows);
    const Order order = orderOf(rows);
    const RowMap rowMap = buildRowMap(rows, a.m);
    const Tally counted = tallyOf(a, columns, rowMap, k == a.m);
    const unsigned total = checkedCount(counted.total);
    ArrayOwner result = createLike(a, k, countOf(columns), total);
    const Columns out(result.get());
    if (!rowMap.repeats && order == Order::kAscending) {
        unsigned written = 0;
        unsigned* ends = out.jc + 1;
        forEachColumnRun(a, columns, [&](unsigned first, unsigned length) {
            written = moveSelected(a, first, length, RowChoice::Map{rowMap.map.get()}, out, written, ends);
            ends += length;
        });
        return result;
    }
    Block<Key> keys;
    if (order == Order::kUnsorted) {
        keys = Block<Key>::make(counted.longest);
    }
    const KeySorter sorter(order == Order::kUnsorted ? counted.longest : 0, k);
    withStorage(a, [&](auto from) {
        Writer<decltype(from)> writer(a, out, total);
        if (rowMap.repeats) {
            writeRepeated(a, columns, rowMap, order, keys.get(), sorter, writer);
        } else if (order == Order::kUnsorted) {
            writeSorted(a, columns, rowMap.map.get(), keys.get(), sorter, writer);
        } else {
            writeDescending(a, columns, rowMap.map.get(), writer);
        }
    });
    return result;
}

} // namespace zqsp
