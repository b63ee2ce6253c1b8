// Searching many elements of a matrix at once.
#ifndef ZQSP_CORE_PLACE_SEARCH_HPP
#define ZQSP_CORE_PLACE_SEARCH_HPP

#include "core/columns.hpp"
#include "core/search.hpp"

#include <algorithm>
#include <array>

namespace zqsp {

/// An element by its 0-based row and column.
struct Place
{
    unsigned row;
    unsigned column;
};

/// found(t, slot) for t = 0 .. count-1 in this order, `slot` being where placeOf(t) is stored in its column or would be
/// inserted. Every column must be one of the matrix.
///
/// The searches of a batch advance together: the cache lines of all are asked for before the first is read, and long
/// columns are halved in turn, one probe of each after the other. No search depends on another, so that the processor
/// waits for their cache misses at the same time.
template <typename PlaceOf, typename F>
void searchPlaces(const Columns& a, unsigned count, PlaceOf placeOf, F&& found)
{
    constexpr unsigned kBatch = 64;
    constexpr unsigned kShort = 32; // two cache lines of rows: on their way already
    std::array<Place, kBatch> place;
    std::array<unsigned, kBatch> lo;
    std::array<unsigned, kBatch> length;
    std::array<unsigned, kBatch> longOnes;
    for (unsigned done = 0; done < count; done += kBatch) {
        const unsigned size = std::min(kBatch, count - done);
        for (unsigned i = 0; i < size; ++i) {
            place[i] = placeOf(done + i);
            __builtin_prefetch(a.jc + place[i].column);
        }
        unsigned longCount = 0;
        for (unsigned i = 0; i < size; ++i) {
            lo[i] = a.jc[place[i].column];
            length[i] = a.jc[place[i].column + 1] - lo[i];
            longOnes[longCount] = i;
            longCount += length[i] > kShort ? 1U : 0U;
            __builtin_prefetch(a.ir + lo[i] + length[i] / 2);
        }
        while (longCount > 0) {
            unsigned stillLong = 0;
            for (unsigned l = 0; l < longCount; ++l) { // a step of lowerBound() each
                const unsigned i = longOnes[l];
                const unsigned half = length[i] / 2;
                lo[i] += valueIf(a.ir[lo[i] + half - 1] < place[i].row, half);
                length[i] -= half;
                __builtin_prefetch(a.ir + lo[i] + length[i] / 2);
                longOnes[stillLong] = i;
                stillLong += length[i] > kShort ? 1U : 0U;
            }
            longCount = stillLong;
        }
        for (unsigned i = 0; i < size; ++i) {
            found(done + i, findRow(a.ir, lo[i], lo[i] + length[i], place[i].row));
        }
    }
}

} // namespace zqsp

#endif
