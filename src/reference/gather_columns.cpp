#include "core/entry_moves.hpp"
#include "core/errors.hpp"
#include "reference/column_visit.hpp"
#include "reference/gather.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <type_traits>

namespace zqsp {

namespace {

/// What some columns hold, empty ones left out. (Not initialised: it is large.)
struct ListedColumns
{
    std::size_t count;
    unsigned longest;
    std::array<unsigned, IndexWalk::kBlock> begins;
    std::array<unsigned, IndexWalk::kBlock> lengths;

    /// Lists the columns and writes their ends in the result from `columnEnd` on. No branch asks which are empty. (The
    /// starts are asked for ahead: what was copied before has driven them out of the near caches.)
    [[gnu::noinline]] void list(const unsigned* jc, std::span<const unsigned> columns, unsigned* columnEnd)
    {
        constexpr std::size_t kStartsAhead = 64;
        unsigned end = columnEnd[-1];
        std::size_t listed = 0;
        unsigned most = 0;
        for (std::size_t i = 0; i < columns.size(); ++i) {
            if (i + kStartsAhead < columns.size()) {
                __builtin_prefetch(jc + columns[i + kStartsAhead]);
            }
            const std::size_t column = columns[i];
            const unsigned begin = jc[column];
            const unsigned length = jc[column + 1] - begin;
            begins[listed] = begin;
            lengths[listed] = length;
            listed += (0 - std::uint64_t{length}) >> 63U; // unless it is 0
            most = std::max(most, length);
            end += length;
            *columnEnd++ = end;
        }
        count = listed;
        longest = most;
    }
};

/// Copies the columns to the entries `at` and behind. Those of up to sixteen entries come in pieces of four, as many
/// for each as the longest of them needs: a piece that would lie behind the end of a column is its last one instead. So
/// no branch asks how long it is, which nobody can foresee, and no line is touched that is not needed. The lines are
/// asked for ahead of the copying: of columns that stand alone, they are half the time.
template <typename Values>
void copyListed(const Columns& a, Values from, const ListedColumns& columns, const Columns& out, std::size_t at)
{
    constexpr std::size_t kAhead = 48; // columns
    constexpr std::size_t kPiece = 4;  // entries
    constexpr std::size_t kMostInPieces = 4 * kPiece;
    const bool isTiny = std::min(a.nzmax, out.nzmax) < kPiece;
    const std::size_t inPieces = isTiny ? 0 : std::min<std::size_t>(columns.longest, kMostInPieces);
    const std::size_t lastIn = a.nzmax - kPiece; // a piece that begins later may not be there, or have no room
    const std::size_t lastOut = out.nzmax - kPiece;
    const Values to(out);
    const unsigned* const rows = a.ir;
    unsigned* const toRows = out.ir;
    const auto prefetch = [ =, &columns ](std::size_t i) __attribute__((always_inline))
    {
        const std::size_t begin = columns.begins[i];
        const std::size_t end = begin + columns.lengths[i];
        __builtin_prefetch(rows + begin);
        __builtin_prefetch(rows + end);
        from.prefetch(begin, end);
    };
    const std::size_t count = columns.count;
    for (std::size_t i = 0; i < std::min(count, kAhead); ++i) {
        prefetch(i);
    }
    for (std::size_t i = 0; i < count; ++i) {
        if (i + kAhead < count) {
            prefetch(i + kAhead);
        }
        const std::size_t begin = columns.begins[i];
        const std::size_t length = columns.lengths[i];
        if (length > inPieces || begin > lastIn || at > lastOut) {
            copyRun(toRows + at, rows + begin, length);
            to.copyRun(at, from, begin, length);
        } else {
            const auto copy = [=](std::size_t piece) __attribute__((always_inline))
            {
                std::memcpy(toRows + at + piece, rows + begin + piece, kPiece * sizeof *rows);
                to.template copyPiece<kPiece>(at + piece, from, begin + piece);
            };
            const std::size_t last = std::max(length, kPiece) - kPiece;
            copy(0);
            if (inPieces > 2 * kPiece) {
                copy(std::min(kPiece, last));
            }
            if (inPieces > 3 * kPiece) {
                copy(std::min(2 * kPiece, last));
            }
            copy(last);
        }
        at += length;
    }
}

template <typename Values>
void copyColumns(const Columns& a, Values from, const Subscript& columns, const Columns& out)
{
    unsigned* columnEnd = out.jc + 1;
    ListedColumns listed;
    IndexWalk walk(columns);
    for (auto indices = walk.next(); !indices.empty(); indices = walk.next()) {
        const unsigned at = columnEnd[-1];
        listed.list(a.jc, indices, columnEnd);
        columnEnd += indices.size();
        copyListed(a, from, listed, out, at);
    }
}

/// The same by runs: neighbouring columns are neighbours in ir, pr and pi as well, and move as one block.
void copyRuns(const Columns& a, const Subscript& columns, const Columns& out)
{
    unsigned* columnEnd = out.jc + 1;
    forEachColumnRun(a, columns, [&](unsigned first, unsigned length) {
        const unsigned at = columnEnd[-1];
        const unsigned* const starts = a.jc + first;
        columnEnd = std::transform(starts + 1, starts + 1 + length, columnEnd,
                                   [shift = at - starts[0]](unsigned end) { return end + shift; });
        copyEntries(out, at, a, starts[0], columnEnd[-1] - at);
    });
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
    constexpr unsigned kLongRun = 4; // columns
    const unsigned count = countOf(columns);
    const ColumnCount counted = countColumns(a, columns);
    const bool haveLongRuns = counted.runs <= count / kLongRun;
    ArrayOwner result = createLike(a, a.m, count, checkedCount(counted.entries));
    const Columns out(result.get());
    withStorage(a, [&](auto from) {
        if constexpr (!std::is_same_v<decltype(from), GenericValues>) { // which has no plain moves
            if (!haveLongRuns) {
                return copyColumns(a, from, columns, out);
            }
        }
        copyRuns(a, columns, out);
    });
    return result;
}

} // namespace zqsp
