// Searching many elements of a matrix at once.
#ifndef ZQSP_CORE_PLACE_SEARCH_HPP
#define ZQSP_CORE_PLACE_SEARCH_HPP

#include "core/columns.hpp"
#include "core/search.hpp"

#include <algorithm>
#include <array>
#include <cstdint>

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
/// waits for their cache misses at the same time, and no branch depends on what is found.
template <typename PlaceOf, typename F>
void searchPlaces(const Columns& a, unsigned count, PlaceOf placeOf, F&& found)
{
    constexpr unsigned kBatch = 64;
    std::array<unsigned, kBatch> row;
    std::array<unsigned, kBatch> column;
    std::array<unsigned, kBatch> lo;
    std::array<unsigned, kBatch> length;
    std::array<unsigned, kBatch> longOnes;
    const unsigned* const jc = a.jc;
    const unsigned* const ir = a.ir;
    const std::uint64_t readable = a.nzmax;
    for (unsigned done = 0, size = 0; done < count; done += size) {
        size = std::min(kBatch, count - done);
        for (unsigned i = 0; i < size; ++i) {
            const Place place = placeOf(done + i);
            row[i] = place.row;
            column[i] = place.column;
            __builtin_prefetch(jc + place.column);
        }
        unsigned longCount = 0;
        for (unsigned i = 0; i < size; ++i) {
            lo[i] = jc[column[i]];
            length[i] = jc[column[i] + 1] - lo[i];
            longOnes[longCount] = i;
            longCount += length[i] > kComparedRows ? 1U : 0U;
            __builtin_prefetch(ir + lo[i] + length[i] / 2);
        }
        while (longCount > 0) {
            unsigned stillLong = 0;
            for (unsigned l = 0; l < longCount; ++l) {
                const unsigned i = longOnes[l];
                const unsigned half = length[i] / 2;
                lo[i] += valueIf(ir[lo[i] + half - 1] < row[i], half);
                length[i] -= half;
                __builtin_prefetch(ir + lo[i] + length[i] / 2);
                longOnes[stillLong] = i;
                stillLong += length[i] > kComparedRows ? 1U : 0U;
            }
            longCount = stillLong;
        }
        for (unsigned i = 0; i < size; ++i) {
            const unsigned begin = lo[i];
            const unsigned end = begin + length[i];
            if (begin + std::uint64_t{kComparedRows} > readable) { // too near the end of the block
                found(done + i, findRow(ir, begin, end, row[i]));
                continue;
            }
            const unsigned rank = rankAmong(ir + begin, length[i], row[i]);
            const bool isSame = ir[begin + std::min(rank, kComparedRows - 1)] == row[i];
            found(done + i,
                  Slot{begin + rank, (static_cast<unsigned>(rank < length[i]) & static_cast<unsigned>(isSame)) != 0});
        }
    }
}

} // namespace zqsp

#endif
