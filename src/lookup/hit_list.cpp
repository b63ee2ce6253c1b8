#include "lookup/hit_list.hpp"

#include <algorithm>

namespace zqsp {

namespace {

/// Behind `capacity` ordinals.
template <typename Source>
Source* sourcesBehind(std::uint16_t* ordinals, unsigned capacity)
{
    return reinterpret_cast<Source*>(ordinals + capacity);
}

} // namespace

HitList::~HitList()
{
    for (unsigned i = 0; i < used_; ++i) {
        kxFree(pieces_[i].ordinals);
    }
}

void HitList::finish()
{
    for (unsigned done = 0; done < waiting_;) {
        if (used_ == 0 || pieces_[used_ - 1].count == pieces_[used_ - 1].capacity) {
            addPiece(waiting_ - done);
        }
        done += append(pieces_[used_ - 1], done);
    }
    waiting_ = 0;
}

void HitList::addPiece(unsigned size)
{
    const unsigned capacity = (std::max(size, std::min(most_ - count_, count_ / 4)) + 1) / 2 * 2;
    const std::size_t sourceSize = hasBytes() ? sizeof(std::uint8_t) : sizeof(unsigned);
    const std::size_t halves = capacity + capacity * sourceSize / sizeof(std::uint16_t);
    std::uint16_t* const ordinals = Block<std::uint16_t>::make(halves).release(); // may raise
    pieces_[used_++] = {ordinals, capacity, 0};
}

/// Moves those that wait from `done` on to a piece, as far as they have room and share half an ordinal. Returns their
/// number.
unsigned HitList::append(Piece& piece, unsigned done)
{
    const unsigned upper = ordinals_[done] >> kHalf;
    if (shares_.empty() || upper != shares_.back().upper) {
        shares_.push_back({upper, 0});
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
        std::transform(sources, sources + size,
                       sourcesBehind<std::uint8_t>(piece.ordinals, piece.capacity) + piece.count,
                       [this](unsigned source) { return bytes_[source]; });
    } else {
        std::copy_n(sources, size, sourcesBehind<unsigned>(piece.ordinals, piece.capacity) + piece.count);
    }
    piece.count += size;
    shares_.back().count += size;
    count_ += size;
    return size;
}

/// The next hits of one piece and share, in the room that the list was made in.
Hits HitList::next(Place& place)
{
    if (place.piece < used_ && place.done == pieces_[place.piece].count) {
        ++place.piece;
        place.done = 0;
    }
    if (place.piece == used_) {
        return {nullptr, nullptr, 0};
    }
    if (place.doneOfShare == shares_[place.share].count) {
        ++place.share;
        place.doneOfShare = 0;
    }
    const Piece& piece = pieces_[place.piece];
    const Share share = shares_[place.share];
    const unsigned size = std::min({kRoom, piece.count - place.done, share.count - place.doneOfShare});
    const std::uint16_t* const ordinals = piece.ordinals + place.done;
    std::transform(ordinals, ordinals + size, ordinals_.begin(),
                   [upper = share.upper << kHalf](std::uint16_t ordinal) { return upper | ordinal; });
    const auto copySources = [&](const auto* sources) { std::copy_n(sources + place.done, size, sources_.begin()); };
    if (hasBytes()) {
        copySources(sourcesBehind<std::uint8_t>(piece.ordinals, piece.capacity));
    } else {
        copySources(sourcesBehind<unsigned>(piece.ordinals, piece.capacity));
    }
    place.done += size;
    place.doneOfShare += size;
    return {ordinals_.data(), sources_.data(), size};
}

} // namespace zqsp
