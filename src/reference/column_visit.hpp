// Visiting the columns that a subscript selects.
#ifndef ZQSP_REFERENCE_COLUMN_VISIT_HPP
#define ZQSP_REFERENCE_COLUMN_VISIT_HPP

#include "core/columns.hpp"
#include "core/search.hpp"
#include "core/values.hpp"
#include "subscript/walk.hpp"

#include <algorithm>
#include <cstdint>

namespace zqsp {

/// Asks for the cache lines at both ends of what will be read of the entries. (Inlined by force: a function that only
/// prefetches has no effect in the eyes of the compiler, which drops its calls.)
template <typename Values>
[[gnu::always_inline]] inline void prefetchEntries(const Columns& a, const Values& values, std::size_t begin,
                                                   std::size_t end)
{
    __builtin_prefetch(a.ir + begin);
    __builtin_prefetch(a.ir + end);
    values.prefetch(begin, end);
}

/// f(first, length) for every run of columns, in subscript order, with what will be read of runs to come on its way to
/// the cache. Scattered columns are otherwise one cache miss after another: measured, their gathering is two to three
/// times as fast so. (Inlined by force: what f counts would else live in memory that its stores may alias.)
template <typename F>
[[gnu::always_inline]] inline void forEachColumnRun(const Columns& a, const Subscript& columns, F&& f)
{
    constexpr std::size_t kStartsAhead = 64;
    constexpr std::size_t kEntriesAhead = 32;
    RunWalk walk(columns);
    for (auto runs = walk.next(); !runs.empty(); runs = walk.next()) {
        for (std::size_t i = 0; i < runs.size(); ++i) {
            if (i + kStartsAhead < runs.size()) {
                __builtin_prefetch(a.jc + runs[i + kStartsAhead].first);
            }
            if (i + kEntriesAhead < runs.size()) {
                const unsigned* const ends = a.jc + runs[i + kEntriesAhead].first;
                prefetchEntries(a, GenericValues(a), ends[0], ends[1]);
            }
            f(runs[i].first, runs[i].length);
        }
    }
}

/// f(column, entries of it) for every column.
template <typename F>
[[gnu::always_inline]] inline void forEachColumn(const Columns& a, const Subscript& columns, F&& f)
{
    forEachColumnRun(a, columns, [&](unsigned first, unsigned length) {
        for (unsigned i = 0; i < length; ++i) {
            f(first + i, a.length(first + i));
        }
    });
}

/// How many of the columns from `first` on, of `most`, have up to `mostEntries` entries together; at least 1.
inline unsigned columnsTogether(const Columns& a, unsigned first, unsigned most, unsigned mostEntries)
{
    const unsigned* const ends = a.jc + first + 1;
    // The first end that is too far, as far as there can be one: counts of entries end at UINT32_MAX.
    const std::uint64_t tooFar = std::uint64_t{ends[-1]} + mostEntries + 1;
    return std::max(gallop(ends, 0, most, static_cast<unsigned>(std::min<std::uint64_t>(tooFar, UINT32_MAX))), 1U);
}

/// f(first, count) for pieces of the runs, with up to `mostEntries` entries each, or one column.
template <typename F>
void forEachColumnBlock(const Columns& a, const Subscript& columns, unsigned mostEntries, F&& f)
{
    forEachColumnRun(a, columns, [&](unsigned first, unsigned length) {
        for (unsigned count = 0; length > 0; first += count, length -= count) {
            count = columnsTogether(a, first, length, mostEntries);
            f(first, count);
        }
    });
}

/// A view of the columns first .. first+count-1 by themselves; nnz() is where they end.
inline Columns partOf(Columns a, unsigned first, unsigned count)
{
    a.jc += first;
    a.n = count;
    return a;
}

/// What is known of selected columns before any is visited.
struct ColumnCount
{
    std::uint64_t entries = 0; ///< of each as often as it is selected
    std::uint64_t runs = 0;    ///< of neighbours, each of a mask as often as its bytes take up blocks of 64
};

inline ColumnCount countColumns(const Columns& a, const Subscript& columns)
{
    const unsigned* const jc = a.jc;
    ColumnCount total;
    if (const auto* mask = std::get_if<LogicalMask>(&columns)) {
        forEachTrueRun(*mask, [&](std::size_t first, std::size_t end) {
            total.entries += jc[end] - jc[first];
            ++total.runs;
        });
        return total;
    }
    const auto* range = std::get_if<IndexRange>(&columns);
    if (range != nullptr && range->size > 0 && (range->stride == 1 || range->stride == -1)) {
        const IndexRange ascending = range->ascending();
        return {std::uint64_t{jc[ascending.last + std::size_t{1}]} - jc[ascending.first],
                range->isRun() ? 1U : range->size};
    }
    IndexWalk walk(columns);
    for (auto indices = walk.next(); !indices.empty(); indices = walk.next()) {
        unsigned neighbours = 0;
        for (std::size_t i = 1; i < indices.size(); ++i) {
            neighbours += indices[i] == indices[i - 1] + 1 ? 1U : 0U;
        }
        total.runs += indices.size() - neighbours;
        for (const std::size_t column : indices) {
            total.entries += jc[column + 1] - jc[column];
        }
    }
    return total;
}

/// The entries of the columns, each as often as it is visited.
inline std::uint64_t entriesIn(const Columns& a, const Subscript& columns)
{
    return countColumns(a, columns).entries;
}

/// About how many these are, without a walk.
inline std::uint64_t expectedEntriesIn(const Columns& a, const Subscript& columns)
{
    return a.n == 0 ? 0 : std::uint64_t{a.nnz()} * countOf(columns) / a.n;
}

} // namespace zqsp

#endif
