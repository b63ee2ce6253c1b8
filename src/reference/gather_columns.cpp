#include "core/entry_moves.hpp"
#include "core/errors.hpp"
#include "reference/column_visit.hpp"
#include "reference/gather.hpp"

#include <algorithm>
#include <array>
#include <span>

namespace zqsp {

namespace {

/// The entries of some runs of columns, each of which is one block. (Not initialised: it is large.)
struct RunEntries
{
    std::size_t count;
    std::array<unsigned, IndexWalk::kBlock> begins;
    std::array<unsigned, IndexWalk::kBlock> ends;

    /// Lists what the runs hold, empty ones dropped without a branch, and writes the ends of their columns in the
    /// result from `columnEnd` on. Returns the place behind them.
    [[gnu::noinline]] unsigned* list(const Columns a, std::span<const Run> runs, unsigned* columnEnd)
    {
        // Where a short run ends, nobody can foresee: its columns' ends are written together. (columns.mask50 takes 1.4
        // times as long without this, single columns a twentieth less.) Those of the last few runs, behind which there
        // need be no more columns, are written one by one.
        constexpr unsigned kFewColumns = 4;
        constexpr std::size_t kStartsAhead = 64;
        const unsigned* const lastOfFew = a.n < kFewColumns ? nullptr : a.jc + a.n - kFewColumns;
        unsigned end = columnEnd[-1];
        std::size_t listed = 0;
        for (std::size_t i = 0; i < runs.size(); ++i) {
            if (i + kStartsAhead < runs.size()) {
                __builtin_prefetch(a.jc + runs[i + kStartsAhead].first);
            }
            const auto [first, length] = runs[i];
            const unsigned* const starts = a.jc + first;
            const unsigned begin = starts[0];
            const unsigned size = starts[length] - begin;
            begins[listed] = begin;
            ends[listed] = begin + size;
            listed += size != 0 ? 1 : 0;
            unsigned done = 0;
            if (i + kFewColumns <= runs.size() && starts <= lastOfFew) {
                std::array<unsigned, kFewColumns>
                    few; // read as a whole before it is written: the compiler need not ask
                std::copy_n(starts + 1, kFewColumns, few.begin());
                for (unsigned& column : few) {
                    column += end - begin;
                }
                std::copy_n(few.begin(), kFewColumns, columnEnd);
                done = kFewColumns;
            }
            for (; done < length; ++done) {
                columnEnd[done] = starts[done + 1] + (end - begin);
            }
            columnEnd += length;
            end += size;
        }
        count = listed;
        return columnEnd;
    }
};

/// Neighbouring columns are neighbours in ir, pr and pi as well: a run of columns moves as one block. The blocks of
/// some hundred runs are known before they move: what they hold is on its way to the cache. (Of columns that stand
/// alone, the lines are half the time; see bench/limits.md. The records are copies, which no store can change: read
/// again and again, they take a twentieth more.)
template <typename Values>
void copyColumns(const Columns a, Values from, const Subscript& columns, const Columns out)
{
    constexpr std::size_t kAhead = 32; // blocks
    const Values to(out);
    unsigned* columnEnd = out.jc + 1;
    unsigned written = 0;
    RunEntries blocks;
    RunWalk walk(columns);
    for (auto runs = walk.next(); !runs.empty(); runs = walk.next()) {
        columnEnd = blocks.list(a, runs, columnEnd);
        const auto prefetch = [&](std::size_t i) __attribute__((always_inline))
        {
            prefetchEntries(a, from, blocks.begins[i], blocks.ends[i]);
        };
        for (std::size_t i = 0; i < std::min(blocks.count, kAhead); ++i) {
            prefetch(i);
        }
        for (std::size_t i = 0; i < blocks.count; ++i) {
            if (i + kAhead < blocks.count) {
                prefetch(i + kAhead);
            }
            const unsigned begin = blocks.begins[i];
            const unsigned size = blocks.ends[i] - begin;
            const unsigned room = std::min(a.nzmax - begin, out.nzmax - written);
            copyRun(out.ir + written, a.ir + begin, size, room);
            to.copyRun(written, from, begin, size, room);
            written += size;
        }
    }
}

} // namespace

ArrayOwner createNeighbours(const Columns& a, unsigned first, unsigned count)
{
    const unsigned begin = a.jc[first];
    ArrayOwner result = createLike(a, a.m, count, a.jc[first + count] - begin);
    for (unsigned j = 0; j < count; ++j) {
        result->jc[j + 1] = a.jc[first + j + 1] - begin;
    }
    return result;
}

ArrayOwner gatherNeighbours(const Columns& a, unsigned first, unsigned count)
{
    ArrayOwner result = createNeighbours(a, first, count);
    copyEntries(Columns(result.get(), a.m, count), 0, a, a.jc[first], result->jc[count]);
    return result;
}

ArrayOwner gatherColumns(const Columns& a, const Subscript& columns)
{
    const auto* range = std::get_if<IndexRange>(&columns);
    if (range != nullptr && range->isRun()) {
        return gatherNeighbours(a, range->first, range->count());
    }
    ArrayOwner result = createLike(a, a.m, countOf(columns), checkedCount(entriesIn(a, columns)));
    withStorage(a, [&](auto from) { copyColumns(a, from, columns, Columns(result.get())); });
    return result;
}

} // namespace zqsp
