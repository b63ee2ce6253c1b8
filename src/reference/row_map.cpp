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
    std::memset(map, 0xFF, std::size_t{m} * sizeof *map); // NOT_SELECTED everywhere
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
    rowMap.map = Block<unsigned>::make(std::size_t{m} + 1);
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

/// The count pass of the offset form.
Tally tallyRepeated(const Columns& a, const Subscript& columns, const unsigned* map)
{
    Tally result;
    forEachColumn(a, columns, [&](unsigned j, unsigned) {
        std::uint64_t copies = 0;
        for (unsigned e = a.jc[j]; e < a.jc[j + 1]; ++e) {
            copies += map[a.ir[e] + 1] - map[a.ir[e]];
        }
        result.total += copies;
        result.longest = std::max(result.longest, checkedCount(copies));
    });
    return result;
}

unsigned longestColumn(const Columns& a, const Subscript& columns)
{
    unsigned longest = 0;
    forEachColumn(a, columns, [&](unsigned, unsigned length) { longest = std::max(longest, length); });
    return longest;
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

/// Offset form: all copies of the entries. The slots of a row hold its new rows in ascending order. Most rows have two
/// or fewer, which need no branch either. There is room for two more, and `order`, if it is there, has two more words.
unsigned collectCopies(const Columns& a, unsigned begin, unsigned end, const unsigned* map, const unsigned* order,
                       unsigned* rows, unsigned* sources)
{
    const auto newRow = [order](unsigned slot) { return order != nullptr ? order[slot] : slot; };
    const unsigned* const ir = a.ir;
    unsigned count = 0;
    for (unsigned e = begin; e < end; ++e) {
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

/// Each column is collected, sorted unless its order is known, and written.
template <typename Values>
void writeCollected(const Columns& a, const Subscript& columns, const RowMap& rowMap, bool sorts, unsigned longest,
                    const Columns& out)
{
    const Values from(a);
    const Values to(out);
    unsigned* const outIr = out.ir;
    ColumnSorter sorter(longest, out.m, sorts);
    unsigned* const rows = sorter.rows();
    unsigned* const sources = sorter.sources();
    unsigned written = 0;
    unsigned* columnEnd = out.jc + 1;
    forEachColumnRun(a, columns, [&](unsigned first, unsigned length) {
        for (unsigned j = first; j < first + length; ++j) {
            const unsigned count =
                rowMap.repeats
                    ? collectCopies(a, a.jc[j], a.jc[j + 1], rowMap.map.get(), rowMap.order.get(), rows, sources)
                    : collectSelected(a, a.jc[j], a.jc[j + 1], rowMap.map.get(), rows, sources);
            const auto place = [&](unsigned at, unsigned newRow, unsigned source) {
                outIr[written + at] = newRow;
                to.copy(written + at, from, source);
            };
            if (sorts) {
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

ArrayOwner gatherByMap(const Columns& a, const Subscript& rows, std::uint64_t total, bool repeats,
                       const Subscript& columns)
{
    const RowMap rowMap = buildRowMap(rows, repeats, a.m);
    const Tally counted =
        repeats ? tallyRepeated(a, columns, rowMap.map.get()) : Tally{total, longestColumn(a, columns)};
    ArrayOwner result = createLike(a, countOf(rows), countOf(columns), checkedCount(counted.total));
    const Columns out(result.get());
    withStorage(a, [&](auto from) {
        writeCollected<decltype(from)>(a, columns, rowMap, orderOf(rows) == Order::kUnsorted, counted.longest, out);
    });
    return result;
}

} // namespace zqsp
