#include "core/counts.hpp"
#include "core/entry_moves.hpp"
#include "core/row_selection.hpp"
#include "reference/column_visit.hpp"
#include "reference/gather.hpp"
#include "reference/row_methods.hpp"
#include "subscript/row_sets.hpp"

#include <optional>

namespace zqsp {

namespace {

/// Gives the blocks of a result another size. Raises on exhausted memory.
void setCapacity(kxArray* array, unsigned capacity)
{
    if (capacity == array->nzmax) {
        return;
    }
    const Columns a(array);
    const std::size_t bytes = std::size_t{capacity} * a.elementSize;
    kxSetIr(array, static_cast<unsigned*>(kxRealloc(a.ir, std::size_t{capacity} * sizeof *a.ir)));
    kxSetData(array, kxRealloc(a.pr, bytes));
    if (a.pi != nullptr) {
        kxSetImagData(array, kxRealloc(a.pi, bytes));
    }
    array->nzmax = capacity;
}

/// The entries in the rows of a set, which get their ranks for new rows, or from there those that an order gives them.
/// One pass: the result is given the room that so many rows will need if they are like all others, and brought to its
/// size in the end.
ArrayOwner selectRows(const Columns& a, const RowSet& rows, const Subscript& columns, std::optional<RowOrder> order)
{
    constexpr unsigned kBlock = 4096; // entries that are moved at a time, and put in order while a cache has them
    const std::uint64_t all = entriesIn(a, columns);
    const std::uint64_t entries = rows.hasAll() ? checkedCount(all) : std::min<std::uint64_t>(all, UINT32_MAX);
    const std::uint64_t expected = entries * rows.count() / std::max(a.m, 1U);
    const auto room = static_cast<unsigned>(std::min(entries, expected + expected / 4 + kBlock));
    ArrayOwner result = createLike(a, rows.count(), countOf(columns), room);
    Columns out(result.get());
    unsigned visited = 0;
    unsigned ordered = 0;
    unsigned written = 0;
    const auto select = [&](unsigned first, unsigned count) {
        const unsigned begin = a.jc[first];
        const unsigned size = a.jc[first + count] - begin;
        if (size > out.nzmax - written) {
            const std::uint64_t found = countSelected(a, begin, begin + size, rows.ranked());
            if (const unsigned needed = checkedCount(found + written); needed > out.nzmax) {
                const std::uint64_t twice = std::min(entries, std::uint64_t{out.nzmax} * 2);
                setCapacity(result.get(), std::max(needed, static_cast<unsigned>(twice)));
                out = Columns(result.get());
            }
        }
        written = moveSelected(a, first, count, rows.ranked(), out, written, out.jc + visited + 1);
    };
    const auto copy = [&](unsigned first, unsigned count) {
        const unsigned begin = a.jc[first];
        appendEntries(out, written, a, begin, a.jc[first + count] - begin);
        for (unsigned i = 1; i <= count; ++i) {
            out.jc[visited + i] = a.jc[first + i] - begin + written;
        }
        written = out.jc[visited + count];
    };
    forEachColumnBlock(a, columns, kBlock, UINT32_MAX, [&](unsigned first, unsigned count) {
        if (rows.hasAll()) {
            copy(first, count);
        } else {
            select(first, count);
        }
        visited += count;
        if (order && written - out.jc[ordered] >= kBlock) {
            order->apply(out, ordered, visited - ordered);
            ordered = visited;
        }
    });
    if (order) {
        order->apply(out, ordered, visited - ordered);
    }
    setCapacity(result.get(), written);
    return result;
}

} // namespace

ArrayOwner gatherByTable(const Columns& a, const Subscript& rows, const Subscript& columns)
{
    const RowSet selected = selectedOf(rows, a.m);
    const auto* list = std::get_if<IndexList>(&rows);
    if (selected.count() < countOf(rows)) {
        const ArrayOwner once = selectRows(a, selected, columns, {});
        return repeatRows(Columns(once.get()), *list, selected);
    }
    const bool ascend = orderOf(rows) == Order::kAscending; // new rows are ranks among the old ones
    return selectRows(a, selected, columns,
                      ascend ? std::nullopt : std::optional<RowOrder>(std::in_place, *list, selected));
}

} // namespace zqsp
