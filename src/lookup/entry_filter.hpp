// A quick answer to most questions whether an element is stored.
#ifndef ZQSP_LOOKUP_ENTRY_FILTER_HPP
#define ZQSP_LOOKUP_ENTRY_FILTER_HPP

#include "core/columns.hpp"
#include "core/row_set.hpp"
#include "kernels/kernels.hpp"
#include "lookup/entry_positions.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>

namespace zqsp {

/// Remembers the linear positions of the stored entries as a set of places, several positions to a place (Bloom,
/// 1970, with one hash function, that of Knuth's multiplicative hashing). A look into the set takes a part of the time
/// of a search (measured: 0.4 to 1.5 ns), and answers nearly all questions where most positions hold nothing.
class EntryFilter
{
  public:
    /// Positions that are asked for together, at most.
    static constexpr unsigned kBlock = 1024;

    /// Whether so many questions about a span pay for the set, which is to stay in the caches.
    static bool pays(unsigned columns, unsigned entries, unsigned questions)
    {
        constexpr unsigned kMostEntries = 1U << 20U;
        return entries < kMostEntries && entries <= questions && columns <= questions;
    }

    /// The entries of a span. Cost: these entries and their columns, and 4 to 8 bytes of memory for each entry, 16 KB
    /// at least and 4 MB at most.
    EntryFilter(const Columns& a, const PositionSpan& span) : EntryFilter(placeBits(span.entries()))
    {
        EntryWalk(a, span.column, span.begin).forEachPiece(span.end, [&](unsigned e, unsigned end, unsigned start) {
            for (; e < end; ++e) {
                places_.add(placeOf(start + a.ir[e]));
            }
        });
    }

    /// Numbers, ascending, those of `count` positions where something may be stored: nearly all where something is not
    /// are missing. Returns how many these are. Written: up to `count` words.
    unsigned sift(const unsigned* positions, unsigned count, unsigned* numbers) const
    {
        std::array<unsigned, kBlock> places;
        std::transform(positions, positions + count, places.begin(), [this](unsigned p) { return placeOf(p); });
        return kernels().siftRows(places_.words(), nullptr, places.data(), 0, count, numbers);
    }

  private:
    /// `bits`: of a place.
    explicit EntryFilter(unsigned bits) : shift_(32 - bits), highest_((1U << bits) - 1), places_(1U << bits) {}

    static unsigned placeBits(unsigned entries)
    {
        constexpr unsigned kPlacesEach = 16; // with 8, an eighth slower: more searches that find nothing
        constexpr unsigned kLeast = 1U << 15U;
        return static_cast<unsigned>(std::bit_width(std::max(kPlacesEach * entries, kLeast)));
    }

    /// The upper bits of a product of 32 bits; of such a one, g++ 12 makes fifteen shifts and additions.
    [[nodiscard]] unsigned placeOf(unsigned position) const
    {
        return static_cast<unsigned>(std::uint64_t{position} * kHashMultiplier >> shift_) & highest_;
    }

    unsigned shift_;
    unsigned highest_; // place
    RowSet places_;
};

} // namespace zqsp

#endif
