// A(:,J) = [] and A(I,:) = [].
#include "core/entry_moves.hpp"
#include "core/search.hpp"
#include "core/target.hpp"
#include "kernels/select_loop.hpp"
#include "subscript/convert.hpp"
#include "subscript/ordered.hpp"
#include "subscript/walk.hpp"

#include <zqspmatrix.h>

#include <utility>

namespace zqsp {

namespace {

/// One forward pass: each stretch of kept columns between two runs of deleted ones moves as one block.
/// Returns the number of columns left.
unsigned compactColumns(const Columns& a, const Subscript& deleted)
{
    unsigned keptColumns = 0;
    unsigned keptEntries = 0;
    unsigned next = 0; // first column not looked at yet
    const auto keep = [&](unsigned end) {
        const unsigned begin = a.jc[next];
        const unsigned size = a.jc[end] - begin;
        moveDown(a, keptEntries, begin, size);
        const unsigned shift = begin - keptEntries;
        for (; next < end; ++next) {
            a.jc[keptColumns++] = a.jc[next] - shift;
        }
        keptEntries += size;
    };
    forEachRun(deleted, [&](unsigned first, unsigned length) {
        if (next == 0) {
            keptColumns = first; // what lies before the first deleted column stays in place
            keptEntries = a.jc[first];
        } else {
            keep(first);
        }
        next = first + length;
    });
    keep(a.n);
    a.jc[keptColumns] = keptEntries;
    return keptColumns;
}

spStatus deleteColumns(Target& target, const kxArray* J)
{
    Subscript columns;
    const spStatus status = convertSubscript(J, Extent::forDeletion(kxGetN(target.get())), columns);
    if (status != spOK) {
        return status;
    }
    const Ordered deleted(std::move(columns), Repeats::kLast);
    if (deleted.count() > 0) {
        kxArray* const A = target.own();
        kxSetN(A, compactColumns(Columns(A), deleted.form()));
    }
    return spOK;
}

/// Listed rows, each of which is searched for: for few entries in a high matrix.
struct ListedRows
{
    NumberView rows; // strictly ascending
    unsigned count;
    unsigned below = 0;

    unsigned newRow(unsigned row) { return below = lowerBound(rows, 0, count, row); }
    [[nodiscard]] bool selects(unsigned row) const { return below < count && rows[below] == row; }
};

/// Whether a set of all rows costs more than a search for each entry among so many numbers, listed for it.
bool searchesRows(const Columns& a, unsigned listed)
{
    constexpr unsigned kRowsPerEntry = 1024; // cleared in the time that the search for one entry takes
    return a.m / kRowsPerEntry > std::uint64_t{a.nnz()} + listed;
}

/// Removes the entries of some rows. Returns how many rows these are.
unsigned removeRows(const Columns& a, Subscript rows)
{
    const auto* range = std::get_if<IndexRange>(&rows);
    if (range != nullptr && range->ascending().isRun()) {
        moveSelected(a, 0, a.n, OtherRows{range->ascending().first, range->count()}, a, 0, a.jc + 1);
        return range->count();
    }
    if (!searchesRows(a, range != nullptr ? 0 : countOf(rows))) {
        RowSet kept(a.m);
        addAll(kept, rows);
        kept.rankOthers();
        moveSelected(a, 0, a.n, kept.ranked(), a, 0, a.jc + 1);
        return a.m - kept.count();
    }
    const Ordered deleted(std::move(rows), Repeats::kLast);
    const Numbers numbers(deleted.form());
    Others<ListedRows> kept{{numbers, deleted.count()}};
    selectColumns(entriesOf(a), a.jc, a.n, kept, entriesOf(a), 0, a.jc + 1);
    return deleted.count();
}

spStatus deleteRows(Target& target, const kxArray* I)
{
    Subscript rows;
    const spStatus status = convertSubscript(I, Extent::forDeletion(rowsOf(target.get())), rows);
    if (status != spOK || countOf(rows) == 0) {
        return status;
    }
    kxArray* const A = target.own();
    const Columns a(A);
    kxSetM(A, a.m - removeRows(a, std::move(rows)));
    return spOK;
}

} // namespace

} // namespace zqsp

spStatus spDeleteColumns(kxArray* A, const kxArray* J)
{
    using namespace zqsp;
    checkOperands(A, J);
    if (isColon(J)) {
        becomeEmptySparse(A, rowsOf(A), 0, 1, classOf(A), kxREAL);
        return spOK;
    }
    return onTarget([J](Target& target) { return deleteColumns(target, J); }, A, J);
}

spStatus spDeleteRows(kxArray* A, const kxArray* I)
{
    using namespace zqsp;
    checkOperands(A, I);
    if (isColon(I)) {
        becomeEmptySparse(A, 0, kxGetN(A), 1, classOf(A), kxREAL);
        return spOK;
    }
    return onTarget([I](Target& target) { return deleteRows(target, I); }, A, I);
}
