#include "core/errors.hpp"
#include "core/search.hpp"
#include "core/sort.hpp"
#include "core/values.hpp"
#include "lookup/place_search.hpp"
#include "reference/column_visit.hpp"
#include "reference/gather.hpp"
#include "reference/row_methods.hpp"

#include <algorithm>
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
    constexpr unsigned kFew = 32;
    constexpr unsigned kApart = 16; // entries for each row: measured, a gallop over a hundred takes twice as long
    const unsigned* const ir = a.ir;
    const unsigned end = a.jc[j + 1];
    unsigned e = a.jc[j];
    unsigned i = 0;
    if (count <= kFew && end - e <= kComparedRows && canCompare(a, e)) {
        for (; i < count; ++i) {
            if (const unsigned same = whichAmong(ir + e, end - e, rows[i]); same != 0) {
                hit(i, e + static_cast<unsigned>(std::countr_zero(same)));
            }
        }
        return;
    }
    if ((end - e) / kApart >= count) {
        searchPlaces(
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
    const unsigned repeats = countRepeats(rows.form());
    const auto forEachHit = [&](unsigned j, auto&& hit) { mergeHits(numbers, k, a, j, hit); };
    std::uint64_t total = 0;
    unsigned longest = 0;
    forEachColumn(a, columns, [&](unsigned j, unsigned length) {
        longest = std::max(longest, length);
        if (capacity == Capacity::kExact) {
            forEachHit(j, [&total](unsigned, unsigned) { ++total; });
        }
    });
    ArrayOwner result =
        createLike(a, k, countOf(columns),
                   capacity == Capacity::kExact ? checkedCount(total) : searchCapacity(a, columns, k, repeats));
    const Columns out(result.get());
    const bool ascending = rows.sources() == nullptr; // new rows ascend with the rows they come from
    const std::uint64_t mostHits = ascending ? 0 : std::uint64_t{longest} + repeats;
    const auto keyCount = static_cast<unsigned>(std::min<std::uint64_t>(mostHits, k));
    const auto keys = Block<Key>::make(keyCount);
    const KeySorter sorter(keyCount, k);
    withStorage(a, [&](auto from) {
        const decltype(from) to(out);
        unsigned written = 0;
        unsigned* columnEnd = out.jc + 1;
        const auto put = [&](unsigned newRow, unsigned e) {
            out.ir[written] = newRow;
            to.copy(written++, from, e);
        };
        forEachColumn(a, columns, [&](unsigned j, unsigned) {
            std::size_t count = 0;
            forEachHit(j, [&](unsigned i, unsigned e) {
                if (ascending) {
                    put(i, e);
                } else {
                    keys[count++] = makeKey(rows.source(i), e);
                }
            });
            sorter.sort(keys.get(), count);
            for (std::size_t i = 0; i < count; ++i) {
                put(majorOf(keys[i]), minorOf(keys[i]));
            }
            *columnEnd++ = written;
        });
    });
    return result;
}

} // namespace zqsp
