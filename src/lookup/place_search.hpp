// Searching many elements of a matrix at once.
#ifndef ZQSP_LOOKUP_PLACE_SEARCH_HPP
#define ZQSP_LOOKUP_PLACE_SEARCH_HPP

#include "core/columns.hpp"
#include "core/search.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>

namespace zqsp {

/// An element by its 0-based row and column.
struct Place
{
    unsigned row;
    unsigned column;
};

/// Whether kComparedRows rows can be read from entry `begin` on: not too near the end of the block.
inline bool canCompare(const Columns& a, unsigned begin)
{
    return begin + std::uint64_t{kComparedRows} <= a.nzmax;
}

/// Where a row is stored among `length` entries from `begin` on, kComparedRows at most, or, unless `onlyStored`, would
/// be inserted.
template <bool onlyStored = false>
[[gnu::always_inline]] inline Slot slotAmong(const Columns& a, unsigned begin, unsigned length, unsigned row)
{
    if (!canCompare(a, begin)) [[unlikely]] {
        return findRow(a.ir, begin, begin + length, row);
    }
    if constexpr (onlyStored) {
        const unsigned same = whichAmong(a.ir + begin, length, row);
        return {begin + static_cast<unsigned>(std::countr_zero(same | 1U << kComparedRows)), same != 0};
    } else {
        const unsigned rank = rankAmong(a.ir + begin, length, row);
        const bool isSame = a.ir[begin + std::min(rank, kComparedRows - 1)] == row;
        return {begin + rank, (static_cast<unsigned>(rank < length) & static_cast<unsigned>(isSame)) != 0};
    }
}

template <bool onlyStored>
[[gnu::always_inline]] inline Slot searchOne(const Columns& a, Place place)
{
    constexpr std::size_t kLine = 64;
    unsigned begin = a.jc[place.column];
    unsigned length = a.length(place.column);
    while (length > kComparedRows) {
        const unsigned half = length / 2;
        begin += valueIf(a.ir[begin + half - 1] < place.row, half);
        length -= half;
    }
    const auto values = reinterpret_cast<std::uintptr_t>(a.pr) + std::size_t{begin} * a.elementSize;
    __builtin_prefetch(reinterpret_cast<const void*>(values));
    __builtin_prefetch(reinterpret_cast<const void*>(values + kLine)); // may lie behind the block
    return slotAmong<onlyStored>(a, begin, length, place.row);
}

/// The slot of a place; that of a column which A does not have lies behind all entries. The values that may be meant
/// are on their way to the cache then.
inline Slot findSlot(const Columns& a, Place place)
{
    return place.column < a.n ? searchOne<false>(a, place) : Slot{a.nnz(), false};
}
/// The same in half the time, of a column that A has, with a position only where it is stored.
[[gnu::always_inline]] inline Slot findStored(const Columns& a, Place place)
{
    return searchOne<true>(a, place);
}

/// A batch of searches that advance together: the cache lines of all are asked for before the first is read, and long
/// columns are halved in turn, one probe of each after the other. No search depends on another, so that the processor
/// waits for their cache misses at the same time, and no branch depends on what is found.
class PlaceBatch
{
  public:
    static constexpr unsigned kSize = 64;

    explicit PlaceBatch(const Columns& a) : jc_(a.jc), ir_(a.ir) {}

    /// Narrows the searches for placeOf(first) .. placeOf(first + size - 1) to kComparedRows rows or fewer each.
    template <typename PlaceOf>
    void narrow(PlaceOf& placeOf, unsigned first, unsigned size)
    {
        for (unsigned i = 0; i < size; ++i) {
            const Place place = placeOf(first + i);
            row_[i] = place.row;
            column_[i] = place.column;
            __builtin_prefetch(jc_ + place.column);
        }
        unsigned longCount = 0;
        for (unsigned i = 0; i < size; ++i) {
            const unsigned* const starts = jc_ + column_[i];
            const unsigned begin = starts[0];
            const unsigned length = starts[1] - begin;
            begin_[i] = begin;
            length_[i] = length;
            longOnes_[longCount] = i;
            longCount += length > kComparedRows ? 1U : 0U;
            __builtin_prefetch(ir_ + begin + length / 2);
        }
        while (longCount > 0) {
            longCount = halve(longCount);
        }
    }

    [[nodiscard]] unsigned row(unsigned i) const { return row_[i]; }
    [[nodiscard]] unsigned begin(unsigned i) const { return begin_[i]; }
    [[nodiscard]] unsigned length(unsigned i) const { return length_[i]; }

  private:
    /// One step of the first `longCount` long ones; how many are long still.
    unsigned halve(unsigned longCount)
    {
        unsigned stillLong = 0;
        for (unsigned l = 0; l < longCount; ++l) {
            const unsigned i = longOnes_[l];
            const unsigned half = length_[i] / 2;
            begin_[i] += valueIf(ir_[begin_[i] + half - 1] < row_[i], half);
            length_[i] -= half;
            __builtin_prefetch(ir_ + begin_[i] + length_[i] / 2);
            longOnes_[stillLong] = i;
            stillLong += length_[i] > kComparedRows ? 1U : 0U;
        }
        return stillLong;
    }

    const unsigned* jc_;
    const unsigned* ir_;
    std::array<unsigned, kSize> row_;
    std::array<unsigned, kSize> column_;
    std::array<unsigned, kSize> begin_;
    std::array<unsigned, kSize> length_;
    std::array<unsigned, kSize> longOnes_;
};

/// found(t, slot) for t = 0 .. count-1 in this order, `slot` being where placeOf(t) is stored in its column or, unless
/// `onlyStored`, would be inserted; each place is asked for once, in this order. Every column must be one of the
/// matrix. (To know the rank of what is not stored takes twice the comparisons: of 300,000 positions that mostly hold
/// nothing 2.0 ms, 1.5.)
template <bool onlyStored = false, typename PlaceOf, typename F>
void searchPlaces(const Columns& a, unsigned count, PlaceOf placeOf, F&& found)
{
    PlaceBatch batch(a);
    for (unsigned done = 0, size = 0; done < count; done += size) {
        size = std::min(PlaceBatch::kSize, count - done);
        batch.narrow(placeOf, done, size);
        for (unsigned i = 0; i < size; ++i) {
            found(done + i, slotAmong<onlyStored>(a, batch.begin(i), batch.length(i), batch.row(i)));
        }
    }
}

} // namespace zqsp

#endif
