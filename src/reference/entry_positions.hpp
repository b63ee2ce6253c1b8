// Stored entries by their linear positions.
#ifndef ZQSP_REFERENCE_ENTRY_POSITIONS_HPP
#define ZQSP_REFERENCE_ENTRY_POSITIONS_HPP

#include "core/columns.hpp"
#include "core/entry_moves.hpp"

#include <algorithm>
#include <array>

namespace zqsp {

/// The linear positions of the entries of neighbouring columns, a block at a time.
class EntryPositions
{
  public:
    static constexpr unsigned kBlock = 1024;

    /// From the column `first` on, up to the position `highest`, which lies in the column `last`.
    EntryPositions(const Columns& a, unsigned first, unsigned last, unsigned highest)
        : a_(a), begin_(a.jc[first]), next_(begin_), column_(first), start_(first * a.m)
    {
        const unsigned* const rows = a.ir;
        end_ = static_cast<unsigned>(std::upper_bound(rows + a.jc[last], rows + a.jc[last + 1], highest - last * a.m) -
                                     rows);
    }

    /// Drops the first `done` of the block, and fills it up. What it holds then is all that is left, or a full block.
    void advance(unsigned done)
    {
        std::copy(block_.begin() + done, block_.begin() + count(), block_.begin());
        begin_ += done;
        while (count() < kBlock && next_ < end_) {
            for (; a_.jc[column_ + 1] == next_; start_ += a_.m) {
                ++column_;
            }
            const unsigned size = std::min(std::min(a_.jc[column_ + 1], end_) - next_, kBlock - count());
            addTo(start_, a_.ir + next_, block_.data() + count(), size, a_.nzmax - next_ >= wholeRounds(size));
            next_ += size;
        }
    }

    [[nodiscard]] const unsigned* positions() const { return block_.data(); }
    [[nodiscard]] unsigned count() const { return next_ - begin_; }
    /// The entry that the first one of the block is.
    [[nodiscard]] unsigned begin() const { return begin_; }

  private:
    /// In whole rounds where these can be read: the lengths of short columns are nothing to predict.
    static void addTo(unsigned start, const unsigned* rows, unsigned* positions, unsigned size, bool rounded)
    {
        if (!rounded) {
            std::transform(rows, rows + size, positions, [start](unsigned row) { return start + row; });
            return;
        }
        for (unsigned i = 0; i < size; i += kRound) {
            for (unsigned lane = i; lane < i + kRound; ++lane) {
                positions[lane] = start + rows[lane];
            }
        }
    }

    const Columns& a_;
    unsigned begin_;
    unsigned next_; // the entry behind the block
    unsigned end_ = 0;
    unsigned column_; // that of `next_`, or one before it
    unsigned start_;  // position of its row 0
    std::array<unsigned, kBlock + kRound> block_;
};

} // namespace zqsp

#endif
