#include "core/counts.hpp"
#include "core/values.hpp"
#include "reference/column_sorter.hpp"
#include "reference/column_visit.hpp"
#include "reference/gather.hpp"
#include "reference/row_methods.hpp"

#include <algorithm>
#include <cstring>

namespace zqsp {

namespace {

/// The new place of a row that is not selected.
constexpr unsigned NOT_SELECTED = 0xFFFFFFFFU;

/// From old rows to new ones. Position form: map[r] is the new row of row r, or NOT_SELECTED. Where the subscript
/// repeats a row, offset form: slots map[r] .. map[r+1]-1 belong to row r, and slot s stands for the new row s itself
/// (ascending subscripts) or order[s].
struct RowMap
{
    Block<unsigned> map;   // m + 1 words
    Block<unsigned> order; // offset form of subscripts that do not ascend: k words, and two
    bool repeats = false;
};

/// Position form of rows that do not repeat.
void fillPositions(const Subscript& rows, unsigned m, unsigned* map)
{
    std::memset(map, 0xFF, m * sizeof *map); // NOT_SELECTED everywhere
    std::visit(
        [map](const auto& form) {
            unsigned p = 0;
            form.forEach([&](unsigned row) { map[row] = p++; });
        },
        rows);
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
        rowMap.order = Block<unsigned>::make(std::size_t{list.count()} + 2);
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

RowMap buildRowMap(const Subscript& rows, bool repeats, unsigned m)
{
    RowMap rowMap;
    rowMap.map = Block<unsigned>::make(m + 1);
    rowMap.repeats = repeats;
    if (repeats) {
        fillOffsets(std::get<IndexList>(rows), m, rowMap);
    } else {
        fillPositions(rows, m, rowMap.map.get());
    }
    return rowMap;
}

/// What the count pass learns: all entries of the result, and at most how many a column of it has.
struct Tally
{
    std::uint64_t total = 0;
    unsigned longest = 0;
};

/// The count pass of the position form: a column cannot give more than it holds.
Tally tallySelected(const Columns& a, const Subscript& columns, const RowSet& rows)
{
    Tally result{countInRows(a, columns, rows)};
    forEachRun(columns, [&](unsigned first, unsigned length) {
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

/// Position form: the entries begin .. end-1 that are selected, with their new rows. There is room for one more.
unsigned collectSelected(const Columns& a, unsigned begin, unsigned end, const unsigned* map, unsigned* rows,
                         unsigned* sources)
{
    const unsigned* const ir = a.ir;
    unsigned count = 0;
    for (unsigned e = begin; e < end; ++e) { // written first, kept only if it is selected: no branch to mispredict
        const unsigned newRow = map[ir[e]];
        rows[count] = newRow;
        sources[count] = e;
        count += newRow != NOT_SELECTED ? 1U : 0U;
    }
    return count;
}

/// Position form of a descending subscript: the entries of a column, from the last to the first, have ascending new
/// rows, and are written at once.
template <typename Values>
void writeDescending(const Columns& a, const Subscript& columns, const unsigned* map, const Columns& out)
{
    const Values from(a);
    const Values to(out);
    const unsigned* const ir = a.ir; // copied out of the records: stores might change these, as far as is known
    unsigned* const outIr = out.ir;
    unsigned written = 0;
    unsigned* columnEnd = out.jc + 1;
    forEachColumnRun(a, columns, [&](unsigned first, unsigned length) {
        for (unsigned j = first; j < first + length; ++j) {
            const unsigned begin = a.jc[j];
            unsigned e = a.jc[j + 1];
            if (out.nzmax - written >= e - begin) {
                while (e-- > begin) { // written first, kept only if it is selected
                    const unsigned newRow = map[ir[e]];
                    outIr[written] = newRow;
                    to.copy(written, from, e);
                    written += newRow != NOT_SELECTED ? 1U : 0U;
                }
            } else {
                while (e-- > begin) {
                    if (const unsigned newRow = map[ir[e]]; newRow != NOT_SELECTED) {
                        outIr[written] = newRow;
                        to.copy(written++, from, e);
                    }
                }
            }
            *columnEnd++ = written;
        }
    });
}

/// Offset form: all copies of the entries. The slots of a row hold its new rows in ascending order. Most rows have two
/// or fewer, which need no branch either. There is room for two more, and `order`, if it is there, has two more words.
/// `backwards`: from the last entry to the first.
unsigned collectCopies(const Columns& a, unsigned begin, unsigned end, const unsigned* map, const unsigned* order,
                       bool backwards, unsigned* rows, unsigned* sources)
{
    const auto newRow = [order](unsigned slot) { return order != nullptr ? order[slot] : slot; };
    const unsigned* const ir = a.ir;
    const unsigned step = backwards ? ~0U : 1U;
    unsigned e = backwards ? end - 1 : begin;
    unsigned count = 0;
    for (unsigned i = begin; i < end; ++i, e += step) {
        const unsigned slot = map[ir[e]];
        const unsigned slotEnd = map[ir[e] + 1];
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

/// Offset form, and position form of an unsorted subscript: each column is collected, sorted unless its order is known,
/// and written.
template <typename Values>
void writeCollected(const Columns& a, const Subscript& columns, const RowMap& rowMap, Order order, unsigned longest,
                    const Columns& out)
{
    const Values from(a);
    const Values to(out);
    unsigned* const outIr = out.ir;
    ColumnSorter sorter(longest, out.m, order == Order::kUnsorted);
    unsigned* const rows = sorter.rows();
    unsigned* const sources = sorter.sources();
    unsigned written = 0;
    unsigned* columnEnd = out.jc + 1;
    forEachColumnRun(a, columns, [&](unsigned first, unsigned length) {
        for (unsigned j = first; j < first + length; ++j) {
            const unsigned count = rowMap.repeats
                                       ? collectCopies(a, a.jc[j], a.jc[j + 1], rowMap.map.get(), rowMap.order.get(),
                                                       order == Order::kDescending, rows, sources)
                                       : collectSelected(a, a.jc[j], a.jc[j + 1], rowMap.map.get(), rows, sources);
            const auto place = [&](unsigned at, unsigned newRow, unsigned source) {
                outIr[written + at] = newRow;
                to.copy(written + at, from, source);
            };
            if (order == Order::kUnsorted) {
                sorter.sort(count, place);
            } else {
                for (unsigned i = 0; i < count; ++i) {
                    place(i, rows[i], sources[i]);
                }
            }
            written += count;
            *columnEnd++ = written;
        }
    });
}

} // namespace

ArrayOwner gatherByMap(const Columns& a, const Subscript& rows, const RowSet& selected, const Subscript& columns)
{
    const unsigned k = countOf(rows);
    const Order order = orderOf(rows);
    const RowMap rowMap = buildRowMap(rows, selected.count() < k, a.m);
    const Tally counted =
        rowMap.repeats ? tallyRepeated(a, columns, rowMap.map.get()) : tallySelected(a, columns, selected);
    ArrayOwner result = createLike(a, k, countOf(columns), checkedCount(counted.total));
    const Columns out(result.get());
    withStorage(a, [&](auto from) {
        if (!rowMap.repeats && order == Order::kDescending) {
            writeDescending<decltype(from)>(a, columns, rowMap.map.get(), out);
        } else {
            writeCollected<decltype(from)>(a, columns, rowMap, order, counted.longest, out);
        }
    });
    return result;
}

} // namespace zqsp
