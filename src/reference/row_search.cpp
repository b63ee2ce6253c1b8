#include "core/entry_moves.hpp"
#include "core/errors.hpp"
#include "core/search.hpp"
#include "lookup/place_search.hpp"
#include "reference/column_visit.hpp"
#include "reference/gather.hpp"
#include "reference/row_methods.hpp"
#include "reference/row_order.hpp"

#include <algorithm>
#include <array>
#include <bit>

namespace zqsp {

namespace {

/// hit(i, e) for every selected row i (of `count` in `rows`) that is stored in entry e of column j, ascending in both.
/// Two sorted lists are merged by galloping: the cost is the length of the shorter one times the logarithm of the steps
/// in the longer, so neither many rows over short columns nor few rows over long ones cost a pass over the other side.
/// Few rows are each compared with the whole of a short column, which takes no branch but for what is found; in a long
/// one they are searched together.
template <typename Rows, typename F>
void mergeHits(const Rows& rows, unsigned count, const Columns& a, unsigned j, F&& hit)
{
    constexpr unsigned kFewRows = 32;
    constexpr unsigned kApart = 16; // entries for each row: measured, a gallop over a hundred takes twice as long
    const unsigned* const ir = a.ir;
    const unsigned end = a.jc[j + 1];
    unsigned e = a.jc[j];
    unsigned i = 0;
    if (e == end) {
        return; // most columns, where there are more of them than entries
    }
    if (count <= kFewRows && end - e <= kComparedRows && canCompare(a, e)) {
        for (; i < count; ++i) {
            if (const unsigned same = whichAmong(ir + e, end - e, rows[i]); same != 0) {
                hit(i, e + static_cast<unsigned>(std::countr_zero(same)));
            }
        }
        return;
    }
    if ((end - e) / kApart >= count) {
        searchPlaces<true>(
            a, count,
            [&rows, j](unsigned t) {
                return Place{rows[t], j};
            },
            [&hit](unsigned t, Slot slot) {
                if (slot.stored) {
                    hit(t, slot.position);
                }
            });
        return;
    }
    while (e < end && i < count) {
        if (rows[i] < ir[e]) {
            i = gallop(rows, i + 1, count, ir[e]);
        } else if (rows[i] > ir[e]) {
            e = gallop(ir, e + 1, end, rows[i]);
        } else {
            hit(i++, e); // the entry stays: the next selected row may be the same
        }
    }
}

/// Selected rows equal to the one before; a list only can have some.
unsigned countRepeats(const Subscript& rows)
{
    unsigned repeats = 0;
    if (const auto* list = std::get_if<IndexList>(&rows)) {
        for (unsigned i = 1; i < list->count(); ++i) {
            repeats += (*list)[i] == (*list)[i - 1] ? 1U : 0U;
        }
    }
    return repeats;
}

} // namespace

ArrayOwner gatherBySearch(const Columns& a, const Ordered& rows, const Subscript& columns, Capacity capacity)
{
    const Numbers numbers(rows.form());
    const unsigned k = rows.count();
    const auto forEachHit = [&](auto&& hit, auto&& columnDone) {
        forEachColumn(a, columns, [&](unsigned j, unsigned) {
            mergeHits(numbers, k, a, j, hit);
            columnDone();
        });
    };
    std::uint64_t total = 0;
    if (capacity == Capacity::kExact) {
        forEachHit([&total](unsigned, unsigned) { ++total; }, [] {});
    }
    ArrayOwner result = createLike(
        a, k, countOf(columns),
        capacity == Capacity::kExact ? checkedCount(total) : searchCapacity(a, columns, k, countRepeats(rows.form())));
    const Columns out(result.get());
    constexpr unsigned kTogether = 256; // entries whose values follow them
    std::array<unsigned, kTogether> found;
    unsigned written = 0;
    const auto gatherFound = [&] {
        const unsigned count = (written - 1) % kTogether + 1;
        gatherValues(out, written - count, a, found.data(), count);
    };
    unsigned* columnEnd = out.jc + 1;
    forEachHit(
        [&](unsigned i, unsigned e) {
            out.ir[written] = rows.source(i);
            found[written % kTogether] = e;
            if (++written % kTogether == 0) {
                gatherFound();
            }
        },
        [&] { *columnEnd++ = written; });
    if (written % kTogether != 0) {
        gatherFound();
    }
    if (rows.sources() != nullptr) { // the new rows do not ascend with those they come from
        ColumnSorter().sort(out, out);
    }
    return result;
}

} // namespace zqsp
