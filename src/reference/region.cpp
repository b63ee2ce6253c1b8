// A(I,J): chooses the method by what is known of the rows.
#include "core/entry_moves.hpp"
#include "core/errors.hpp"
#include "core/note_method.hpp"
#include "kernels/kernels.hpp"
#include "reference/column_visit.hpp"
#include "reference/gather.hpp"
#include "reference/row_methods.hpp"

#include <algorithm>
#include <bit>

namespace zqsp {

bool useRowMap(const Columns& a, unsigned k)
{
    if (a.n == 0 || k == 0) {
        return false;
    }
    const unsigned average = std::max(a.nnz() / a.n, 1U);
    const auto bits = static_cast<unsigned>(std::bit_width(average));
    if (bits <= average / k) {
        return false; // k searches cost no more than a scan of the column
    }
    // A map far larger than the work is not worth its filling. The products wrap, as the rule has it.
    return a.m <= 10 * a.nnz() || a.m <= 10 * k;
}

RowMethod chooseRowMethod(Capacity capacity, const RowCounts& counts)
{
    constexpr unsigned kRowsPerEntry = 128; // of a table, made and counted in the time that one entry's search takes
    constexpr unsigned kFewMoved = 512;     // rows and entries: what it takes to move each is not worth preparing
    constexpr unsigned kFewSearched = 16;   // entries and rows: searched in the time that making a table takes
    const std::uint64_t searched = counts.entries + counts.listed;
    if (capacity == Capacity::kSearched || searched <= kFewSearched || counts.extent / kRowsPerEntry > searched) {
        return RowMethod::kSearch;
    }
    const bool sifts = counts.selected < counts.extent / kernels().costs.rowsPerSifted;
    return sifts || counts.entries + counts.extent < kFewMoved ? RowMethod::kSift : RowMethod::kTable;
}

unsigned searchCapacity(const Columns& a, const Subscript& columns, unsigned k, unsigned repeats)
{
    std::uint64_t total = 0;
    forEachColumn(a, columns, [&](unsigned, unsigned length) {
        total += length > 0 ? std::min<std::uint64_t>(std::uint64_t{length} + repeats, k) : 0;
    });
    return checkedCount(total);
}

ArrayOwner gatherBy(RowMethod method, const Columns& a, const Subscript& rows, const Subscript& columns,
                    Capacity capacity)
{
    switch (method) {
    case RowMethod::kSearch:
        return gatherBySearch(a, Ordered(borrowed(rows), Repeats::kAll), columns, capacity);
    case RowMethod::kSift:
    case RowMethod::kTable:
        break;
    }
    return gatherByTable(a, rows, columns, method == RowMethod::kSift);
}

/// Whether looking for each of `k` rows in each column is all that is worth while: beside so few, a table of the rows
/// takes its time before the first entry, and looks at entries of any row.
bool areFew(const Columns& a, unsigned k, const Subscript& columns)
{
    constexpr unsigned kFew = 64;
    const std::uint64_t lookedFor = std::uint64_t{k} * countOf(columns);
    return lookedFor > 0 && lookedFor <= kMostLookedFor && lookedFor <= kFew + expectedEntriesIn(a, columns);
}

ArrayOwner gatherRegion(const Columns& a, const Subscript& rows, const Subscript& columns)
{
    const auto* range = std::get_if<IndexRange>(&rows);
    const unsigned k = countOf(rows);
    const Capacity capacity = useRowMap(a, k) ? Capacity::kExact : Capacity::kSearched;
    const bool isRun = range != nullptr && (range->isRun() || k == 0);
    if (!isRun && capacity == Capacity::kExact && areFew(a, k, columns)) {
        noteMethod(RowMethod::kSearch);
        return gatherFew(a, rows, columns);
    }
    if (orderOf(rows) == Order::kDescending) {
        // The entries of a column come in the opposite order: turning them costs less than any look-up of it.
        Subscript ascending = borrowed(rows);
        turnIfDescending(ascending);
        ArrayOwner result = gatherRegion(a, ascending, columns);
        turnRows(Columns(result.get()));
        return result;
    }
    if (selectsAll(rows, a.m)) {
        return gatherColumns(a, columns); // either rule gives the capacity that whole columns have
    }
    if (isRun) {
        return gatherByInterval(a, *range, columns, capacity);
    }
    const RowMethod method =
        chooseRowMethod(capacity, {expectedEntriesIn(a, columns), k, range != nullptr ? 0 : k, a.m});
    noteMethod(method);
    return gatherBy(method, a, rows, columns, capacity);
}

} // namespace zqsp
