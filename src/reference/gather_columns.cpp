#include "core/entry_moves.hpp"
#include "core/errors.hpp"
#include "reference/column_visit.hpp"
#include "reference/gather.hpp"

#include <algorithm>
#include <array>

namespace zqsp {

namespace {

/// Neighbouring columns are neighbours in ir, pr and pi as well: a run of columns moves as one block. The blocks of
/// some hundred runs are known before they move: empty ones are dropped without a branch, and what others hold is on
/// its way to the cache. (Of columns that stand alone, the lines are half the time; see bench/limits.md.)
template <typename Values>
void copyColumns(const Columns a, Values from, const Subscript& columns, const Columns& out)
{
    constexpr unsigned kFew = 4; // columns, whose ends are written together: where a short run ends, nobody can foresee
    constexpr std::size_t kStartsAhead = 64;
    constexpr std::size_t kBlocksAhead = 32;
    std::array<unsigned, IndexWalk::kBlock + kBlocksAhead> begins;
    std::array<unsigned, IndexWalk::kBlock + kBlocksAhead> ends;
    const Values to(out);
    unsigned* columnEnd = out.jc + 1;
    const unsigned* const lastForFew = out.n < kFew ? nullptr : out.jc + out.n - kFew + 1;
    const unsigned* const lastOfFew = a.n < kFew ? nullptr : a.jc + a.n - kFew;
    unsigned written = 0;
    RunWalk walk(columns);
    for (auto runs = walk.next(); !runs.empty(); runs = walk.next()) {
        unsigned end = written;
        std::size_t count = 0;
        for (std::size_t i = 0; i < runs.size(); ++i) {
            if (i + kStartsAhead < runs.size()) {
                __builtin_prefetch(a.jc + runs[i + kStartsAhead].first);
            }
            const auto [first, length] = runs[i];
            const unsigned* const starts = a.jc + first;
            const unsigned begin = starts[0];
            begins[count] = begin;
            ends[count] = starts[length];
            count += begin != starts[length] ? 1 : 0;
            unsigned done = 0;
            if (columnEnd <= lastForFew && starts <= lastOfFew) {
                std::array<unsigned, kFew> few; // read as a whole before it is written: the compiler need not ask
                std::copy_n(starts + 1, kFew, few.begin());
                for (unsigned& column : few) {
                    column += end - begin;
                }
                std::copy_n(few.begin(), kFew, columnEnd);
                done = kFew;
            }
            for (; done < length; ++done) {
                columnEnd[done] = starts[done + 1] + (end - begin);
            }
            columnEnd += length;
            end += starts[length] - begin;
        }
        std::fill_n(begins.begin() + count, kBlocksAhead, begins[0]);
        std::fill_n(ends.begin() + count, kBlocksAhead, ends[0]);
        for (std::size_t i = 0; i < std::min(count, kBlocksAhead); ++i) {
            prefetchEntries(a, from, begins[i], ends[i]);
        }
        for (std::size_t i = 0; i < count; ++i) {
            prefetchEntries(a, from, begins[i + kBlocksAhead], ends[i + kBlocksAhead]);
            const unsigned begin = begins[i];
            const unsigned size = ends[i] - begin;
            const unsigned room = std::min(a.nzmax - begin, out.nzmax - written);
            copyRun(out.ir + written, a.ir + begin, size, room);
            to.copyRun(written, from, begin, size, room);
            written += size;
        }
    }
}

} // namespace

ArrayOwner gatherNeighbours(const Columns& a, unsigned first, unsigned count)
{
    const unsigned begin = a.jc[first];
    const unsigned size = a.jc[first + count] - begin;
    ArrayOwner result = createLike(a, a.m, count, size);
    const Columns out(result.get(), a.m, count);
    for (unsigned j = 0; j < count; ++j) {
        out.jc[j + 1] = a.jc[first + j + 1] - begin;
    }
    copyEntries(out, 0, a, begin, size);
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
