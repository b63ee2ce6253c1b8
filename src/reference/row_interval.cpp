#include "core/counts.hpp"
#include "core/row_selection.hpp"
#include "core/search.hpp"
#include "core/values.hpp"
#include "reference/column_visit.hpp"
#include "reference/gather.hpp"
#include "reference/row_methods.hpp"
#include "subscript/runs.hpp"

namespace zqsp {

namespace {

/// Short columns are filtered entry by entry, longer ones are trimmed by bisection.
bool areShort(const Columns& a, unsigned column, unsigned length)
{
    constexpr std::uint64_t kShortColumn = 24;
    return a.jc[column + length] - a.jc[column] <= length * kShortColumn;
}

/// The entries of the visited columns in rows first .. first+k-1.
std::uint64_t countInInterval(const Columns& a, unsigned first, unsigned k, const Subscript& columns)
{
    std::uint64_t total = 0;
    forEachRun(columns, [&](unsigned column, unsigned length) {
        if (areShort(a, column, length)) {
            total += countSelected(a, a.jc[column], a.jc[column + length], RowInterval{first, k});
            return;
        }
        for (unsigned j = column; j < column + length; ++j) {
            const unsigned begin = lowerBoundOfSame(a.ir, a.jc[j], a.jc[j + 1], first);
            total += lowerBoundOfSame(a.ir, begin, a.jc[j + 1], first + k) - begin;
        }
    });
    return total;
}

} // namespace

ArrayOwner gatherByInterval(const Columns& a, const IndexRange& rows, const Subscript& columns, bool exact)
{
    const unsigned first = rows.first;
    const unsigned k = rows.count();
    const unsigned capacity =
        exact ? checkedCount(countInInterval(a, first, k, columns)) : searchCapacity(a, columns, k, 0);
    ArrayOwner result = createLike(a, k, countOf(columns), capacity);
    const Columns out(result.get());
    if (capacity == 0) {
        return result;
    }
    withStorage(a, [&](auto from) {
        const decltype(from) to(out);
        unsigned written = 0;
        unsigned* columnEnd = out.jc + 1;
        forEachColumnRun(a, columns, [&](unsigned column, unsigned length) {
            if (areShort(a, column, length)) {
                written = moveSelected(a, column, length, RowInterval{first, k}, out, written, columnEnd);
                columnEnd += length;
                return;
            }
            for (unsigned j = column; j < column + length; ++j) {
                const unsigned begin = lowerBoundOfSame(a.ir, a.jc[j], a.jc[j + 1], first);
                const unsigned inside = lowerBoundOfSame(a.ir, begin, a.jc[j + 1], first + k) - begin;
                to.copyRun(written, from, begin, inside);
                unsigned* const ir = out.ir + written;
                for (unsigned i = 0; i < inside; ++i) {
                    ir[i] = a.ir[begin + i] - first;
                }
                written += inside;
                *columnEnd++ = written;
            }
        });
    });
    return result;
}

} // namespace zqsp
