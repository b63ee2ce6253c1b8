// Which stored entries lie at selected positions: the plan of A(K).
#ifndef ZQSP_LOOKUP_HIT_LIST_HPP
#define ZQSP_LOOKUP_HIT_LIST_HPP

#include "core/growing_list.hpp"
#include "core/owners.hpp"
#include "kernels/kernels.hpp"
#include "subscript/forms.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace zqsp {

/// A selected entry: the `ordinal`-th selected position is where entry `source` is stored.
struct Hit
{
    unsigned ordinal;
    unsigned source; ///< in a list of bytes the value of the entry instead
};

/// Hits in ascending order of the positions that were searched. The list grows with what is found, not with what is
/// asked for: most positions of a sparse matrix hold nothing. It takes less memory than the result that is made of it,
/// six bytes a hit, or three where the value of an entry is a byte, and up to a quarter more: it grows by pieces, so
/// that nothing is copied, and of an ordinal the upper half is kept once for all hits that share it.
class HitList
{
  public:
    static constexpr unsigned kRoom = 1024;

    /// Of the positions of a subscript. Where these descend, they are searched, and numbered, from the last to the
    /// first. `bytes`: the values of the entries, where these are to be remembered instead of the entries; or null.
    explicit HitList(const Subscript& positions, const std::uint8_t* bytes = nullptr)
        : positions_(countOf(positions)), readBackwards_(orderOf(positions) == Order::kDescending), bytes_(bytes)
    {
    }
    HitList(const HitList&) = delete; // nor moved: most of it is room
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

    /// Room for `size` hits, at most kRoom, and for kKernelSlack more words behind. Raises on exhausted memory.
    Room room(unsigned size)
    {
        if (size > 2 * kRoom - waiting_) {
            finish();
        }
        return {ordinals_.data() + waiting_, sources_.data() + waiting_};
    }
    /// The first `count` of what was written to the last room are hits.
    void keep(unsigned count) { waiting_ += count; }

    /// To be called behind the last hit. Raises on exhausted memory.
    void finish()
    {
        for (unsigned done = 0; done < waiting_;) {
            if (used_ == 0 || pieces_[used_ - 1].count == pieces_[used_ - 1].capacity) {
                addPiece(waiting_ - done);
            }
            done += append(pieces_[used_ - 1], done);
        }
        waiting_ = 0;
    }

    [[nodiscard]] unsigned count() const { return count_; }
    [[nodiscard]] bool hasBytes() const { return bytes_ != nullptr; }

    /// f(hit) for all of them, in the order of the selection.
    template <typename F>
    void forEach(F&& f) const
    {
        if (hasBytes()) {
            forEachOf<std::uint8_t>(f);
        } else {
            forEachOf<unsigned>(f);
        }
    }

  private:
    static constexpr unsigned kHalf = 16;       // bits
    static constexpr unsigned kMostPieces = 96; // of kRoom at least, then growing by a quarter, up to 2^32

    /// Hits that share the upper half of their ordinals.
    struct Share
    {
        unsigned upper;
        unsigned count;
    };

    struct Piece
    {
        std::uint16_t* ordinals; // the lower halves
        unsigned capacity;       // even
        unsigned count;

        template <typename Source>
        [[nodiscard]] Source* sources() const
        {
            return reinterpret_cast<Source*>(ordinals + capacity);
        }
    };

    void addPiece(unsigned size)
    {
        const unsigned capacity = (std::max(size, std::min(positions_ - count_, count_ / 4)) + 1) / 2 * 2;
        const std::size_t sourceSize = hasBytes() ? sizeof(std::uint8_t) : sizeof(unsigned);
        const std::size_t halves = capacity + capacity * sourceSize / sizeof(std::uint16_t);
        std::uint16_t* const ordinals = Block<std::uint16_t>::make(halves).release(); // may raise
        pieces_[used_++] = {ordinals, capacity, 0};
    }

    /// Moves those that wait from `done` on to a piece, as far as they have room and share half an ordinal. Returns
    /// their number.
    unsigned append(Piece& piece, unsigned done)
    {
        const unsigned upper = ordinals_[done] >> kHalf;
        if (upper != last_.upper) {
            if (last_.count > 0) {
                shares_.add(last_);
            }
            last_ = {upper, 0};
        }
        const unsigned* const begin = ordinals_.data() + done;
        const unsigned* end = begin + std::min(waiting_ - done, piece.capacity - piece.count);
        if (end[-1] >> kHalf != upper) {
            end = std::partition_point(begin, end, [upper](unsigned ordinal) { return ordinal >> kHalf == upper; });
        }
        const auto size = static_cast<unsigned>(end - begin);
        std::transform(begin, end, piece.ordinals + piece.count,
                       [](unsigned ordinal) { return static_cast<std::uint16_t>(ordinal); });
        const unsigned* const sources = sources_.data() + done;
        if (hasBytes()) {
            std::transform(sources, sources + size, piece.sources<std::uint8_t>() + piece.count,
                           [this](unsigned source) { return bytes_[source]; });
        } else {
            std::copy_n(sources, size, piece.sources<unsigned>() + piece.count);
        }
        piece.count += size;
        last_.count += size;
        count_ += size;
        return size;
    }

    template <typename Source, typename F>
    void forEachOf(F& f) const
    {
        if (readBackwards_) {
            walk<Source, true>(f);
        } else {
            walk<Source, false>(f);
        }
    }

    template <typename Source, bool backwards, typename F>
    void walk(F& f) const
    {
        unsigned seen = 0; // shares
        Share share = {0, 0};
        for (unsigned p = 0; p < used_; ++p) {
            const Piece piece = pieces_[backwards ? used_ - 1 - p : p];
            const Source* const sources = piece.sources<Source>();
            for (unsigned done = 0, size = 0; done < piece.count; done += size, share.count -= size) {
                if (share.count == 0) {
                    const unsigned at = backwards ? shares_.count() - seen : seen;
                    share = at < shares_.count() ? shares_.elements()[at] : last_;
                    ++seen;
                }
                size = std::min(share.count, piece.count - done);
                for (unsigned t = done; t < done + size; ++t) {
                    const unsigned i = backwards ? piece.count - 1 - t : t;
                    const unsigned ordinal = share.upper << kHalf | piece.ordinals[i];
                    f(Hit{backwards ? positions_ - 1 - ordinal : ordinal, sources[i]});
                }
            }
        }
    }

    unsigned positions_;
    bool readBackwards_;
    const std::uint8_t* bytes_;
    unsigned count_ = 0;
    unsigned waiting_ = 0;
    GrowingList<Share> shares_; // but the last
    Share last_ = {0, 0};
    unsigned used_ = 0;
    std::array<Piece, kMostPieces> pieces_;
    std::array<unsigned, 2 * kRoom + kKernelSlack> ordinals_;
    std::array<unsigned, 2 * kRoom + kKernelSlack> sources_;
};

} // namespace zqsp

#endif
