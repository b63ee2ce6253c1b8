#include "core/counts.hpp"
#include "core/entry_moves.hpp"
#include "core/row_selection.hpp"
#include "reference/column_visit.hpp"
#include "reference/gather.hpp"
#include "reference/row_methods.hpp"
#include "subscript/row_sets.hpp"

namespace zqsp {

std::uint64_t countInRows(const Columns& a, const Subscript& columns, const RowSet& rows)
{
    if (rows.count() == a.m) {
        return entriesIn(a, columns); // nothing has to be looked up
    }
    std::uint64_t total = 0;
    forEachColumnRun<Reading::kRows>(a, columns, [&](unsigned first, unsigned length) {
        total += countSelected(a, a.jc[first], a.jc[first + length], rows.ranked());
    });
    return total;
}

namespace {

/// Rows that ascend and do not repeat: the new row is the rank.
ArrayOwner gatherBySet(const Columns& a, const RowSet& rows, const Subscript& columns)
{
    ArrayOwner result = createLike(a, rows.count(), countOf(columns), checkedCount(countInRows(a, columns, rows)));
    const Columns out(result.get());
    unsigned written = 0;
    unsigned* ends = out.jc + 1;
    forEachColumnRun(a, columns, [&](unsigned first, unsigned length) {
        written = moveSelected(a, first, length, rows.ranked(), out, written, ends);
        ends += length;
    });
    return result;
}

/// The same where few of the `entries` of the columns are selected: they are put aside as they are found, and copied
/// once it is known how many they are. That is one pass instead of two.
ArrayOwner gatherFewBySet(const Columns& a, const RowSet& rows, unsigned entries, const Subscript& columns)
{
    constexpr unsigned kBlock = 1U << 14U; // entries that are moved at a time
    const auto expected = static_cast<unsigned>(std::uint64_t{entries} * rows.count() / std::max(a.m, 1U));
    ArrayOwner aside = createLike(a, rows.count(), 0, std::min(entries, expected + expected / 4 + kBlock));
    const auto ends = Block<unsigned>::make(countOf(columns));
    unsigned written = 0;
    unsigned visited = 0;
    forEachColumnBlock(a, columns, kBlock, UINT32_MAX, [&](unsigned first, unsigned count) {
        const std::uint64_t needed = std::uint64_t{a.jc[first + count] - a.jc[first]} + written;
        if (const Columns full(aside.get()); needed > full.nzmax) {
            const std::uint64_t room = std::max(needed, std::uint64_t{full.nzmax} * 2);
            ArrayOwner larger = createLike(a, full.m, 0, static_cast<unsigned>(std::min<std::uint64_t>(entries, room)));
            copyEntries(Columns(larger.get()), 0, full, 0, written);
            aside = std::move(larger);
        }
        written = moveSelected(a, first, count, rows.ranked(), Columns(aside.get()), written, ends.get() + visited);
        visited += count;
    });
    ArrayOwner result = createLike(a, rows.count(), visited, written);
    const Columns out(result.get());
    std::copy_n(ends.get(), visited, out.jc + 1);
    copyEntries(out, 0, Columns(aside.get()), 0, written);
    return result;
}

/// Whether new rows are ranks among the old ones.
bool areRanks(const Subscript& rows, const RowSet& selected)
{
    return orderOf(rows) == Order::kAscending && selected.count() == countOf(rows);
}

/// Rows that come in another order, or more than once, are arranged afterwards.
ArrayOwner gatherOnce(const Columns& a, const Subscript& rows, const RowSet& selected, unsigned entries,
                      const Subscript& columns)
{
    ArrayOwner gathered = gatherFewBySet(a, selected, entries, columns);
    return areRanks(rows, selected) ? std::move(gathered)
                                    : gatherByMap(Columns(gathered.get()), std::get<IndexList>(rows), selected,
                                                  IndexRange::all(countOf(columns)));
}

} // namespace

ArrayOwner gatherByTable(const Columns& a, const Subscript& rows, const Subscript& columns)
{
    const RowSet selected = selectedOf(rows, a.m);
    if (areRanks(rows, selected)) {
        return gatherBySet(a, selected, columns);
    }
    const auto* range = std::get_if<IndexRange>(&columns);
    if (range != nullptr && selected.count() < countOf(rows) && !selected.hasAll()) {
        // What repeats is looked at twice, to be counted and placed.
        return gatherOnce(a, rows, selected, static_cast<unsigned>(entriesIn(a, columns)), columns);
    }
    return gatherByMap(a, std::get<IndexList>(rows), selected, columns);
}

ArrayOwner gatherFewByTable(const Columns& a, const Subscript& rows, const Subscript& columns)
{
    const std::uint64_t entries = entriesIn(a, columns);
    return entries > UINT32_MAX ? gatherByTable(a, rows, columns)
                                : gatherOnce(a, rows, selectedOf(rows, a.m), static_cast<unsigned>(entries), columns);
}

} // namespace zqsp
