// Which stored entries lie at selected positions: the plan of A(K).
#ifndef ZQSP_LOOKUP_HIT_LIST_HPP
#define ZQSP_LOOKUP_HIT_LIST_HPP

#include "core/owners.hpp"
#include "kernels/kernels.hpp"

#include <array>
#include <cstdint>

namespace zqsp {

/// Entries at selected positions, ascending: number ordinals[i] of the positions, counted from the lowest, is where
/// entry sources[i] is stored; in a list of bytes, sources[i] is the value of that entry.
struct Hits
{
    const unsigned* ordinals;
    const unsigned* sources;
    unsigned count;
};

/// The list grows with what is found, not with what is asked for: most positions of a sparse matrix hold nothing. It
/// takes less memory than the result that is made of it, six bytes a hit, or three where the value of an entry is a
/// byte, and up to a quarter more: it grows by pieces, so that nothing is copied, and of an ordinal the upper half is
/// kept once for all hits that share it.
class [[gnu::visibility("default")]] HitList
{
  public:
    static constexpr unsigned kRoom = 1024;

    /// For `most` hits at most. `bytes`: the values of the entries, where these are to be remembered instead of the
    /// entries; or null.
    explicit HitList(unsigned most, const std::uint8_t* bytes = nullptr) : most_(most), bytes_(bytes) {}
    HitList(const HitList&) = delete; // nor moved: most of it is room
    HitList& operator=(const HitList&) = delete;
    ~HitList();

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
    void keep(unsigned count)
    {
        waiting_ += count;
    }

    /// To be called behind the last hit. Raises on exhausted memory.
    void finish();

    [[nodiscard]] unsigned count() const
    {
        return count_;
    }
    [[nodiscard]] bool hasBytes() const
    {
        return bytes_ != nullptr;
    }

    /// f(hits) for all of them, some at a time.
    template <typename F>
    void forEachPart(F && f)
    {
        Place place;
        for (Hits hits = next(place); hits.count > 0; hits = next(place)) {
            f(hits);
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

    /// The lower halves of ordinals, and behind all of these the sources.
    struct Piece
    {
        std::uint16_t* ordinals;
        unsigned capacity; // even
        unsigned count;
    };

    /// How far the list has been read.
    struct Place
    {
        unsigned piece = 0;
        unsigned done = 0; // of the piece
        unsigned share = 0;
        unsigned doneOfShare = 0;
    };

    void addPiece(unsigned size);
    unsigned append(Piece & piece, unsigned done);
    Hits next(Place & place);

    unsigned most_;
    const std::uint8_t* bytes_;
    unsigned count_ = 0;
    unsigned waiting_ = 0;
    unsigned used_ = 0; // pieces
    List<Share> shares_;
    std::array<Piece, kMostPieces> pieces_;
    std::array<unsigned, 2 * kRoom + kKernelSlack> ordinals_;
    std::array<unsigned, 2 * kRoom + kKernelSlack> sources_;
};

} // namespace zqsp

#endif
