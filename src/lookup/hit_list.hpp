// Which stored entries lie at selected positions: the plan of A(K), without values.
#ifndef ZQSP_LOOKUP_HIT_LIST_HPP
#define ZQSP_LOOKUP_HIT_LIST_HPP

#include "core/owners.hpp"
#include "kernels/kernels.hpp"

#include <algorithm>
#include <array>
#include <cstddef>

namespace zqsp {

/// A selected entry: the `ordinal`-th selected position is where entry `source` is stored.
struct Hit
{
    unsigned ordinal;
    unsigned source;
};

/// Hits in ascending order of the positions that were searched. The list grows with what is found, not with what is
/// asked for: most positions of a sparse matrix hold nothing. It grows by pieces, a quarter of what is there at a time:
/// nothing is copied, and ten bytes a hit are the most it takes, less than a result of doubles.
class HitList
{
  public:
    /// Of so many searched positions. `readBackwards`: the selected ones are these, but from the last to the first.
    HitList(unsigned positions, bool readBackwards) : positions_(positions), readBackwards_(readBackwards) {}
    HitList(HitList&& other) noexcept
        : positions_(other.positions_),
          readBackwards_(other.readBackwards_),
          count_(other.count_),
          used_(std::exchange(other.used_, 0)),
          pieces_(other.pieces_)
    {
    }
    HitList& operator=(HitList&&) = delete;
    HitList(const HitList&) = delete;
    HitList& operator=(const HitList&) = delete;
    ~HitList()
    {
        for (unsigned i = 0; i < used_; ++i) {
            kxFree(pieces_[i].ordinals);
        }
    }

    /// Where the next hits are to be written.
    struct Room
    {
        unsigned* ordinals;
        unsigned* sources;
    };

    /// Room for `size` hits, or as many as positions are left, and for kKernelSlack more words behind. Raises on
    /// exhausted memory.
    Room room(unsigned size)
    {
        size = std::min(size, positions_ - count_); // no position is found twice
        if (used_ == 0 || pieces_[used_ - 1].capacity - pieces_[used_ - 1].count < size) {
            addPiece(size);
        }
        const Piece& piece = pieces_[used_ - 1];
        return {piece.ordinals + piece.count, piece.sources() + piece.count};
    }
    /// The first `count` of what was written to the last room are hits.
    void keep(unsigned count)
    {
        pieces_[used_ - 1].count += count;
        count_ += count;
    }

    [[nodiscard]] unsigned count() const { return count_; }

    /// f(hit) for all of them, in the order of the selection.
    template <typename F>
    void forEach(F&& f) const
    {
        if (readBackwards_) {
            forEachBackwards(f);
            return;
        }
        for (unsigned p = 0; p < used_; ++p) {
            const Piece& piece = pieces_[p];
            for (unsigned i = 0; i < piece.count; ++i) {
                f(Hit{piece.ordinals[i], piece.sources()[i]});
            }
        }
    }

  private:
    struct Piece
    {
        unsigned* ordinals;
        unsigned capacity;
        unsigned count;

        [[nodiscard]] unsigned* sources() const { return ordinals + capacity + kKernelSlack; }
    };

    template <typename F>
    void forEachBackwards(F&& f) const
    {
        for (unsigned p = used_; p-- > 0;) {
            const Piece& piece = pieces_[p];
            for (unsigned i = piece.count; i-- > 0;) {
                f(Hit{positions_ - 1 - piece.ordinals[i], piece.sources()[i]});
            }
        }
    }

    void addPiece(unsigned size)
    {
        constexpr unsigned kSmallest = 4096; // but for the first one: most calls find little
        const unsigned capacity =
            std::max(size, used_ == 0 ? 0 : std::min(positions_ - count_, std::max(count_ / 4, kSmallest)));
        auto words = Block<unsigned>::make((std::size_t{capacity} + kKernelSlack) * 2);
        pieces_[used_++] = {words.release(), capacity, 0};
    }

    static constexpr unsigned kMostPieces = 96; // of 4096, then growing by a fifth at least, up to 2^32

    unsigned positions_;
    bool readBackwards_;
    unsigned count_ = 0;
    unsigned used_ = 0;
    std::array<Piece, kMostPieces> pieces_;
};

} // namespace zqsp

#endif
