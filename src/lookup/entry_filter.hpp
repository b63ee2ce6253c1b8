// A quick answer to most questions whether an element is stored.
#ifndef ZQSP_LOOKUP_ENTRY_FILTER_HPP
#define ZQSP_LOOKUP_ENTRY_FILTER_HPP

#include "core/columns.hpp"
#include "core/owners.hpp"
#include "kernels/branch_free.hpp"
#include "lookup/entry_positions.hpp"

#include <bit>
#include <cstdint>

namespace zqsp {

/// Remembers the linear positions of the stored entries as bits of a table, several positions to a bit (Bloom, 1970,
/// with one hash function, that of Knuth's multiplicative hashing). A look into the table takes a part of the time of a
/// search (measured: 1 to 3 ns), and answers nearly all questions where most positions hold nothing.
class EntryFilter
{
  public:
    /// Whether so many questions about a span pay for the table, which is to stay in the caches.
    static bool pays(unsigned columns, unsigned entries, unsigned questions)
    {
        constexpr unsigned kMostEntries = 1U << 20U;
        return entries <= kMostEntries && entries <= questions && columns <= questions;
    }

    /// The entries of a span. Cost: these entries and their columns, and 2 to 4 bytes of memory for each entry.
    EntryFilter(const Columns& a, const PositionSpan& span)
    {
        constexpr unsigned kBitsEach = 16;
        const auto bits = static_cast<unsigned>(std::bit_width(kBitsEach * span.entries() + kWord));
        shift_ = 32 - bits;
        table_ = Block<std::uint64_t>::zeroed((std::size_t{1} << bits) / kWord);
        EntryWalk(a, span.column, span.begin).forEachPiece(span.end, [&](unsigned e, unsigned end, unsigned start) {
            for (; e < end; ++e) {
                const unsigned at = placeOf(start + a.ir[e]);
                table_[at / kWord] |= std::uint64_t{1} << at % kWord;
            }
        });
    }

    /// False where nothing is stored at the position; true nearly always only where something is.
    [[nodiscard]] bool selects(unsigned position) const
    {
        const unsigned at = placeOf(position);
        return (table_[at / kWord] >> at % kWord & 1U) != 0;
    }
    [[nodiscard]] unsigned newRow(unsigned position) const { return position; }

  private:
    static constexpr unsigned kWord = 64;

    [[nodiscard]] unsigned placeOf(unsigned position) const { return position * kHashMultiplier >> shift_; }

    Block<std::uint64_t> table_;
    unsigned shift_;
};

} // namespace zqsp

#endif
