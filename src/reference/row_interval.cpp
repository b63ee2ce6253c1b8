#include "core/counts.hpp"
#include "core/row_selection.hpp"
#include "core/search.hpp"
#include "core/values.hpp"
#include "reference/column_visit.hpp"
#include "reference/gather.hpp"
#include "reference/row_methods.hpp"

namespace zqsp {

namespace {

/// The one walk over columns: whole(column, length) for neighbours that are short, whose entries are to be looked at
/// one by one; inside(begin, count) for each longer one, trimmed by bisection to the rows of the interval.
template <typename Whole, typename Inside>
[[gnu::always_inline]] inline void forEachInside(const Columns& a, RowInterval rows, const Subscript& columns,
                                                 Whole&& whole, Inside&& inside)
{
    constexpr std::uint64_t kShortColumn = 24;
    forEachColumnRun(a, columns, [&](unsigned column, unsigned length) {
        if (a.jc[column + length] - a.jc[column] <= length * kShortColumn) {
            whole(column, length);
            return;
        }
        for (unsigned j = column; j < column + length; ++j) {
            const unsigned begin = lowerBoundOfSame(a.ir, a.jc[j], a.jc[j + 1], rows.first);
            inside(begin, lowerBoundOfSame(a.ir, begin, a.jc[j + 1], rows.first + rows.size) - begin);
        }
    });
}

unsigned countInside(const Columns& a, RowInterval rows, const Subscript& columns)
{
    std::uint64_t total = 0;
    forEachInside(
        a, rows, columns,
        [&](unsigned column, unsigned length) { total += countSelected(a, a.jc[column], a.jc[column + length], rows); },
        [&](unsigned, unsigned count) { total += count; });
    return checkedCount(total);
}

} // namespace

ArrayOwner gatherByInterval(const Columns& a, const IndexRange& range, const Subscript& columns, Capacity capacity)
{
    const RowInterval rows{range.first, range.count()};
    const unsigned room =
        capacity == Capacity::kExact ? countInside(a, rows, columns) : searchCapacity(a, columns, rows.size, 0);
    ArrayOwner result = createLike(a, rows.size, countOf(columns), room);
    if (room == 0) {
        return result;
    }
    const Columns out(result.get());
    withStorage(a, [&](auto from) {
        const decltype(from) to(out);
        unsigned written = 0;
        unsigned* columnEnd = out.jc + 1;
        forEachInside(
            a, rows, columns,
            [&](unsigned column, unsigned length) {
                written = moveSelected(a, column, length, rows, out, written, columnEnd);
                columnEnd += length;
            },
            [&](unsigned begin, unsigned count) {
                to.copyRun(written, from, begin, count);
                unsigned* const ir = out.ir + written;
                for (unsigned i = 0; i < count; ++i) {
                    ir[i] = a.ir[begin + i] - rows.first;
                }
                written += count;
                *columnEnd++ = written;
            });
    });
    return result;
}

} // namespace zqsp
