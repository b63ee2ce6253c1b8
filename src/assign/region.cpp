#include "assign/region.hpp"

#include "assign/region_methods.hpp"
#include "core/row_selection.hpp"
#include "kernels/select_loop.hpp"
#include "subscript/runs.hpp"

#include <algorithm>

namespace zqsp {

void clearInOnePass(kxArray* A, const Region& region, const RowFilter& filter)
{
    growColumns(A, region.n); // the last thing that can fail
    const Columns a(A);
    const RowSet* const others = filter.others();
    unsigned column = 0; // the starts up to this one are the new ones
    unsigned next = 0;   // first entry not looked at yet
    unsigned kept = 0;
    const auto keepUpTo = [&](unsigned end) {
        const unsigned stop = column < end ? a.jc[end] : next;
        const unsigned shift = next - kept;
        moveEntries(a, kept, next, stop - next);
        for (unsigned j = shift == 0 ? end : column; j < end; ++j) {
            a.jc[j + std::size_t{1}] -= shift;
        }
        kept += stop - next;
        next = stop;
    };
    forEachRun(region.columns.form(), [&](unsigned first, unsigned length) {
        if (first >= a.n) {
            return;
        }
        keepUpTo(first);
        column = first + std::min(length, a.n - first);
        const unsigned end = a.jc[column];
        unsigned* const ends = a.jc + first + 1;
        a.jc[first] = next; // as before, for the kernel
        const unsigned at = kept;
        constexpr unsigned kFewEntries = 64; // cost less here than a call
        if (others != nullptr && end - next <= kFewEntries) {
            kept = selectColumns(entriesOf(a), a.jc + first, column - first, others->unmoved(), entriesOf(a), at, ends);
        } else if (others != nullptr) {
            kept = moveSelected(a, first, column - first, others->unmoved(), a, at, ends);
        } else {
            std::fill_n(ends, column - first, at);
        }
        a.jc[first] = at;
        next = end;
    });
    keepUpTo(a.n);
}

void fillRegion(kxArray* A, const Region& region, const RightSide& b, const FillLimits& limits)
{
    const RowFilter filter(Columns(A), region.rows, region.columns, region.m);
    if (b.isNothing() &&
        (filter.coversAll() || (filter.others() != nullptr &&
                                clearsInOnePass(filter.looks(), region.rows.count(), region.columns.count())))) {
        clearInOnePass(A, region, filter);
    } else if (b.isNothing() || !fillByRebuild(A, region, b, filter, limits)) {
        fillByPatches(A, region, b, filter, limits);
    }
    kxSetM(A, region.m);
}

} // namespace zqsp
