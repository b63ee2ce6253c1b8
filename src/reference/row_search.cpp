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

/// Counts the hits, and, unless `result` is null, writes them to it. (One text for both; not inlined twice.)
[[gnu::noinline]] std::uint64_t passOverHits(const Columns& a, const Ordered& rows, const Subscript& columns,
                                             kxArray* result)
{
    constexpr unsigned kTogether = 256; // entries whose values follow them
    const Numbers numbers(rows.form());
    const unsigned k = rows.count();
    const Columns out = result != nullptr ? Columns(result) : a;
    std::array<unsigned, kTogether> found;
    std::uint64_t hits = 0;
    const auto gatherFound = [&] {
        const auto count = static_cast<unsigned>((hits - 1) % kTogether + 1);
        gatherValues(out, hits - count, a, found.data(), count);
    };
    unsigned* columnEnd = out.jc + 1;
    const auto hit = [&](unsigned i, unsigned e) {
        if (result == nullptr) {
            ++hits;
            return;
        }
        out.ir[hits] = rows.source(i);
        found[hits % kTogether] = e;
        if (++hits % kTogether == 0) {
            gatherFound();
        }
    };
    forEachColumn(a, columns, [&](unsigned j, unsigned) {
        mergeHits(numbers, k, a, j, hit);
        if (result != nullptr) {
            *columnEnd++ = static_cast<unsigned>(hits);
        }
    });
    if (result != nullptr && hits % kTogether != 0) {
        gatherFound();
    }
    return hits;
}

} // namespace

ArrayOwner gatherFew(const Columns& a, const Subscript& rows, const Subscript& columns)
{
    const unsigned k = countOf(rows);
    const unsigned n = countOf(columns);
    std::array<unsigned, kMostLookedFor> wanted;
    std::array<unsigned, kMostLookedFor> ends; // of the columns of the result; their numbers until they are known
    std::array<unsigned, kMostLookedFor + 1> newRows; // the last one that is looked for may be written and not there
    std::array<unsigned, kMostLookedFor + 1> sources;
    writeIndices(rows, wanted.data());
    writeIndices(columns, ends.data());
    unsigned found = 0;
    const auto see = [&](unsigned i, unsigned entry, bool isStored) __attribute__((always_inline))
    {
        newRows[found] = i;
        sources[found] = entry;
        found += isStored ? 1U : 0U;
    };
    for (unsigned j = 0; j < n; ++j) {
        const unsigned column = ends[j];
        const unsigned begin = a.jc[column];
        const unsigned length = a.length(column);
        const bool isShort = length <= kComparedRows && canCompare(a, begin);
        for (unsigned i = 0; i < k && isShort; ++i) {
            const unsigned same = whichAmong(a.ir + begin, length, wanted[i]);
            see(i, begin + static_cast<unsigned>(std::countr_zero(same | 1U << kComparedRows)), same != 0);
        }
        for (unsigned i = 0; i < k && !isShort; ++i) {
            const Slot slot = findSlot(a, {wanted[i], column});
            see(i, slot.position, slot.stored);
        }
        ends[j] = found;
    }
    ArrayOwner result = createLike(a, k, n, found);
    std::copy_n(newRows.data(), found, result->ir);
    std::copy_n(ends.data(), n, result->jc + 1);
    gatherValues(Columns(result.get(), k, n), 0, a, sources.data(), found);
    return result;
}

ArrayOwner gatherBySearch(const Columns& a, const Ordered& rows, const Subscript& columns, Capacity capacity)
{
    const unsigned k = rows.count();
    ArrayOwner result =
        createLike(a, k, countOf(columns),
                   capacity == Capacity::kExact ? checkedCount(passOverHits(a, rows, columns, nullptr))
                                                : searchCapacity(a, columns, k, countRepeats(rows.form())));
    passOverHits(a, rows, columns, result.get());
    if (rows.sources() != nullptr) { // the new rows do not ascend with those they come from
        ColumnSorter().sort(Columns(result.get()), Columns(result.get()));
    }
    return result;
}

} // namespace zqsp
