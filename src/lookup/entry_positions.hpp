// Stored entries by their linear positions.
#ifndef ZQSP_LOOKUP_ENTRY_POSITIONS_HPP
#define ZQSP_LOOKUP_ENTRY_POSITIONS_HPP

#include "core/columns.hpp"
#include "core/entry_moves.hpp"

#include <algorithm>
#include <array>
#include <cstdint>

namespace zqsp {

/// The entries at the linear positions lowest .. highest, which A, with entries or not, must have.
struct PositionSpan
{
    unsigned column;  ///< that of the lowest position
    unsigned columns; ///< from there to that of the highest one
    unsigned begin;
    unsigned end;

    PositionSpan(const Columns& a, unsigned lowest, unsigned highest)
        : column(lowest / a.m),
          columns(highest / a.m - column + 1),
          begin(placeOf(a, column, lowest - column * a.m)),
          end(placeOf(a, highest / a.m, highest % a.m + std::uint64_t{1}))
    {
    }
    /// All of A, which need have no elements.
    explicit PositionSpan(const Columns& a) : column(0), columns(a.n), begin(0), end(a.nnz()) {}
    [[nodiscard]] unsigned entries() const { return end - begin; }

  private:
    /// The first entry of a column at a row or below it.
    static unsigned placeOf(const Columns& a, unsigned column, std::uint64_t row)
    {
        const unsigned* const rows = a.ir;
        return static_cast<unsigned>(std::lower_bound(rows + a.jc[column], rows + a.jc[column + std::size_t{1}], row) -
                                     rows);
    }
};

/// The one walk from entry to entry that knows their linear positions; modulo 2^32 where these are longer.
class EntryWalk
{
  public:
    /// Over all entries, or from `begin` on, which lies in `column` or behind it. Positions are counted from `first`
    /// on.
    explicit EntryWalk(const Columns& a) : EntryWalk(a, 0, 0) {}
    EntryWalk(const Columns& a, unsigned column, unsigned begin, unsigned first = 0)
        : ir_(a.ir), columnEnd_(a.jc + column + 1), m_(a.m), nzmax_(a.nzmax), next_(begin), start_(column * a.m - first)
    {
    }

    /// The first entry that is left.
    [[nodiscard]] unsigned next() const { return next_; }

    /// f(begin, end, start) for the pieces of columns that the entries before `end` are, as far as they are left: entry
    /// e of a piece is at position start + ir[e].
    template <typename F>
    [[gnu::always_inline]] void forEachPiece(unsigned end, F&& f)
    {
        while (next_ < end) {
            for (; *columnEnd_ <= next_; ++columnEnd_) {
                start_ += m_;
            }
            const unsigned pieceEnd = std::min(end, *columnEnd_);
            f(next_, pieceEnd, start_);
            next_ = pieceEnd;
        }
    }

    /// Turns rows into positions where they are.
    void replaceRows(unsigned end)
    {
        forEachPiece(end, [ir = ir_](unsigned begin, unsigned pieceEnd, unsigned start) {
            for (unsigned e = start == 0 ? pieceEnd : begin; e < pieceEnd; ++e) { // the first column's are there
                ir[e] += start;
            }
        });
    }

    /// Writes positions to a block of `room` words, in whole rounds as far as these can be read and written: the
    /// lengths of short columns are nothing to predict.
    void write(unsigned end, unsigned* to, std::size_t room)
    {
        forEachPiece(end, [&to, &room, ir = ir_, nzmax = nzmax_](unsigned begin, unsigned pieceEnd, unsigned start) {
            const unsigned size = pieceEnd - begin;
            const unsigned* const rows = ir + begin;
            if (const std::size_t whole = wholeRounds(size); whole <= std::min<std::size_t>(room, nzmax - begin)) {
                for (std::size_t i = 0; i < size; i += kRound) {
                    for (std::size_t lane = 0; lane < kRound; ++lane) {
                        to[i + lane] = start + rows[i + lane];
                    }
                }
            } else {
                std::transform(rows, rows + size, to, [start](unsigned row) { return start + row; });
            }
            to += size;
            room -= size;
        });
    }

  private:
    unsigned* ir_;
    const unsigned* columnEnd_;
    unsigned m_;
    unsigned nzmax_;
    unsigned next_;
    unsigned start_; // position of row 0 of the column that ends at *columnEnd_
};

/// The way back: linear positions, ascending, become rows where they are, and `starts` the n + 1 column starts of an
/// array of m rows. Words of `starts` that it is given are 0. Cost: count + n.
void cutIntoColumns(unsigned* positions, unsigned count, unsigned m, unsigned n, unsigned* starts);

/// The linear positions of the entries of a span, a block at a time.
class EntryPositions
{
  public:
    static constexpr unsigned kBlock = 1024;

    EntryPositions(const Columns& a, const PositionSpan& span)
        : walk_(a, span.column, span.begin), begin_(span.begin), end_(span.end)
    {
        advance(0);
    }

    /// Drops the first `done` of the block, and fills it up. What it holds then is all that is left, or a full block.
    void advance(unsigned done)
    {
        std::copy(block_.begin() + done, block_.begin() + count(), block_.begin());
        begin_ += done;
        const unsigned have = count();
        walk_.write(begin_ + std::min(kBlock, end_ - begin_), block_.data() + have, block_.size() - have);
    }

    [[nodiscard]] const unsigned* positions() const { return block_.data(); }
    [[nodiscard]] unsigned count() const { return walk_.next() - begin_; }
    /// The entry that the first one of the block is.
    [[nodiscard]] unsigned begin() const { return begin_; }

  private:
    EntryWalk walk_;
    unsigned begin_;
    unsigned end_;
    std::array<unsigned, kBlock + kRound> block_;
};

} // namespace zqsp

#endif
