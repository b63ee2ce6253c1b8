#include "core/search.hpp"
#include "core/values.hpp"
#include "reference/column_visit.hpp"
#include "reference/gather.hpp"
#include "reference/row_methods.hpp"
#include "reference/sorted_rows.hpp"

#include <algorithm>

namespace zqsp {

namespace {

/// hit(i, e) for every selected row i (of `rows`) that is stored in entry e of begin .. end-1, ascending in both. Two
/// sorted lists are merged by galloping: the cost is the length of the shorter one times the logarithm of the steps in
/// the longer, so neither many rows over short columns nor few rows over long ones cost a pass over the other side.
template <typename Rows, typename F>
void mergeHits(const Rows& rows, const unsigned* ir, unsigned begin, unsigned end, F&& hit)
{
    unsigned i = 0;
    unsigned e = begin;
    while (e < end && i < rows.count()) {
        if (rows[i] < ir[e]) {
            i = gallop(rows, i + 1, rows.count(), ir[e]);
        } else if (rows[i] > ir[e]) {
            e = gallop(ir, e + 1, end, rows[i]);
        } else {
            hit(i++, e); // the entry stays: the next selected row may be the same
        }
    }
}

unsigned longestColumn(const Columns& a, const Subscript& columns)
{
    unsigned longest = 0;
    forEachRun(columns, [&](unsigned first, unsigned length) {
        for (unsigned j = first; j < first + length; ++j) {
            longest = std::max(longest, a.length(j));
        }
    });
    return longest;
}

/// `ascending`: whether new rows ascend with the rows they come from, so that no column has to be sorted.
template <typename Rows>
ArrayOwner gather(const Columns& a, const Rows& rows, unsigned repeats, bool ascending, const Subscript& columns)
{
    const unsigned k = rows.count();
    ArrayOwner result = createLike(a, k, countOf(columns), searchCapacity(a, columns, k, repeats));
    const Columns out(result.get());
    const std::uint64_t mostHits = ascending ? 0 : std::uint64_t{longestColumn(a, columns)} + repeats;
    const auto keyCount = static_cast<unsigned>(std::min<std::uint64_t>(mostHits, k));
    const auto keys = Block<Key>::make(keyCount);
    const KeySorter sorter(keyCount, k);
    withStorage(a, [&](auto from) {
        const decltype(from) to(out);
        unsigned written = 0;
        unsigned* columnEnd = out.jc + 1;
        const auto put = [&](unsigned newRow, unsigned e) {
            out.ir[written] = newRow;
            to.copy(written, from, e);
            ++written;
        };
        forEachColumnRun(a, columns, [&](unsigned first, unsigned length) {
            for (unsigned j = first; j < first + length; ++j) {
                std::size_t count = 0;
                mergeHits(rows, a.ir, a.jc[j], a.jc[j + 1], [&](unsigned i, unsigned e) {
                    if (ascending) {
                        put(rows.newRow(i), e);
                    } else {
                        keys[count++] = makeKey(rows.newRow(i), e);
                    }
                });
                sorter.sort(keys.get(), count);
                for (std::size_t i = 0; i < count; ++i) {
                    put(majorOf(keys[i]), minorOf(keys[i]));
                }
                *columnEnd++ = written;
            }
        });
    });
    return result;
}

} // namespace

ArrayOwner gatherBySearch(const Columns& a, const Subscript& rows, const Subscript& columns)
{
    return withSortedRows(rows, a.m, [&](const auto& selected, bool ascending) {
        return gather(a, selected, countRepeats(selected), ascending, columns);
    });
}

} // namespace zqsp
