#include "core/counts.hpp"
#include "core/search.hpp"
#include "core/values.hpp"
#include "reference/column_visit.hpp"
#include "reference/gather.hpp"
#include "reference/row_methods.hpp"
#include "subscript/runs.hpp"

namespace zqsp {

namespace {

/// Columns up to this length are filtered entry by entry, longer ones are trimmed by bisection.
constexpr unsigned kShortColumn = 24;

/// The entries of the visited columns in rows first .. first+k-1.
std::uint64_t countInInterval(const Columns& a, unsigned first, unsigned k, const Subscript& columns)
{
    std::uint64_t total = 0;
    forEachRun(columns, [&](unsigned column, unsigned length) {
        if (a.jc[column + length] - a.jc[column] <= length * std::uint64_t{kShortColumn}) {
            unsigned inside = 0; // no branch and no search: the loop runs in vector registers
            for (unsigned e = a.jc[column]; e < a.jc[column + length]; ++e) {
                inside += a.ir[e] - first < k ? 1U : 0U;
            }
            total += inside;
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
            for (unsigned j = column; j < column + length; ++j) {
                unsigned e = a.jc[j];
                unsigned end = a.jc[j + 1];
                if (end - e <= kShortColumn && capacity - written >= end - e) {
                    for (; e < end; ++e) { // written first, kept only if it lies inside: no branch to mispredict
                        const unsigned row = a.ir[e] - first;
                        out.ir[written] = row;
                        to.copy(written, from, e);
                        written += row < k ? 1U : 0U;
                    }
                } else {
                    e = lowerBoundOfSame(a.ir, e, end, first);
                    end = lowerBoundOfSame(a.ir, e, end, first + k);
                    to.copyRun(written, from, e, end - e);
                    for (; e < end; ++e) {
                        out.ir[written++] = a.ir[e] - first;
                    }
                }
                *columnEnd++ = written;
            }
        });
    });
    return result;
}

} // namespace zqsp
