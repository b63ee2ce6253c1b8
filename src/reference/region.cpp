// A(I,J): chooses the method by what is known of the rows.
#include "core/counts.hpp"
#include "core/entry_moves.hpp"
#include "core/search.hpp"
#include "reference/gather.hpp"
#include "reference/row_methods.hpp"
#include "subscript/ranked.hpp"
#include "subscript/runs.hpp"

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

unsigned searchCapacity(const Columns& a, const Subscript& columns, unsigned k, unsigned repeats)
{
    std::uint64_t total = 0;
    forEachRun(columns, [&](unsigned first, unsigned length) {
        for (unsigned j = first; j < first + length; ++j) {
            const std::uint64_t stored = a.length(j);
            total += stored > 0 ? std::min<std::uint64_t>(stored + repeats, k) : 0;
        }
    });
    return checkedCount(total);
}

namespace {

/// A(i,j): one search; the walks over columns would cost more than what they find. `exact`: as for an interval.
ArrayOwner gatherElement(const Columns& a, unsigned row, unsigned column, bool exact)
{
    const Slot slot = findRow(a.ir, a.jc[column], a.jc[column + 1], row);
    const bool hasRoom = exact ? slot.stored : a.length(column) > 0;
    ArrayOwner result = createLike(a, 1, 1, hasRoom ? 1 : 0);
    if (slot.stored) {
        const Columns out(result.get());
        copyEntries(out, 0, a, slot.position, 1);
        out.ir[0] = 0;
        out.jc[1] = 1;
    }
    return result;
}

} // namespace

ArrayOwner gatherRegion(const Columns& a, const Subscript& rows, const Subscript& columns)
{
    if (selectsAll(rows, a.m)) {
        return gatherColumns(a, columns); // either rule gives the capacity that whole columns have
    }
    const unsigned k = countOf(rows);
    const bool exact = useRowMap(a, k);
    const auto* range = std::get_if<IndexRange>(&rows);
    const auto* columnRange = std::get_if<IndexRange>(&columns);
    if (range != nullptr && k == 1 && columnRange != nullptr && columnRange->count() == 1) {
        return gatherElement(a, range->first, columnRange->first, exact);
    }
    if (range != nullptr && (range->isRun() || k == 0)) {
        return gatherByInterval(a, *range, columns, exact);
    }
    if (!exact) {
        return gatherBySearch(a, rows, columns);
    }
    constexpr unsigned kFew = 64; // one row in as many: most entries are passed over
    if (k < a.m / kFew) {
        return gatherFewByTable(a, rows, columns);
    }
    const RowSet selected = selectedOf(rows, a.m);
    const bool ranked = orderOf(rows) == Order::kAscending && selected.count() == k;
    return ranked ? gatherByRank(a, selected, columns) : gatherByMap(a, rows, selected, columns);
}

} // namespace zqsp
