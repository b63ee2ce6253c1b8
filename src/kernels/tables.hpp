// The tables there are: for choose.cpp, for the tables that begin with another, and for tests, which run each of them.
#ifndef ZQSP_KERNELS_TABLES_HPP
#define ZQSP_KERNELS_TABLES_HPP

#include "kernels/kernels.hpp"

#include <span>

namespace zqsp {

/// The loops for any processor. What has no loop of its own in another table is served by these.
namespace portable {

bool storeIndices(const double* values, unsigned count, double highest, unsigned* indices);
Steps stepsTo(const unsigned* indices, unsigned count, unsigned expected);
unsigned countSelected(const unsigned* rows, unsigned count, const RowChoice& choice);
unsigned moveSelected(const Entries& from, const unsigned* jc, unsigned columns, const RowChoice& choice,
                      const Entries& to, unsigned at, unsigned* ends);
unsigned closeUp(const Entries& entries, unsigned begin, unsigned end, DeletedList& deleted, unsigned kept);
void spread(const void* from, std::size_t room, const std::uint8_t* marks, unsigned count, void* to,
            unsigned elementSize);
void rankRows(const unsigned* rows, unsigned count, unsigned* ranks);
unsigned siftRows(const RowWord* rows, const FewRows* few, const unsigned* ir, unsigned begin, unsigned end,
                  unsigned* found);
Common intersect(const unsigned* first, unsigned firstCount, const unsigned* second, unsigned secondCount,
                 unsigned* inFirst, unsigned* inSecond);
void writeStarts(const unsigned* columns, unsigned count, unsigned length, unsigned* starts);

/// stepsTo() where an index may have its highest bit.
Steps highStepsTo(const unsigned* indices, unsigned count, unsigned expected);

/// stepsTo(), to be compiled for other processors, too. Of indices below 2^31, the highest bit of a difference says
/// which is the lower: measured, half the time of comparing them.
[[gnu::always_inline]] inline Steps stepsLoop(const unsigned* indices, unsigned count, unsigned expected)
{
    constexpr unsigned kHighest = 1U << 31U;
    unsigned falls = 0;
    unsigned rises = 0;
    unsigned others = 0;
    unsigned all = count > 0 ? indices[-1] : 0;
    const unsigned* const before = indices - 1;
    for (unsigned i = 0; i < count; ++i) {
        const unsigned step = indices[i] - before[i];
        falls |= step;
        rises |= before[i] - indices[i];
        others |= step ^ expected;
        all |= indices[i];
    }
    if (all >= kHighest) {
        return highStepsTo(indices, count, expected);
    }
    return {falls >= kHighest, rises >= kHighest, others != 0};
}

// What is left to do where whole registers end.

/// intersect() from given places of both lists on; `found` is what has been found so far.
Common intersectRest(const unsigned* first, unsigned firstCount, const unsigned* second, unsigned secondCount,
                     Common found, unsigned* inFirst, unsigned* inSecond);
/// writeStarts() once the starts of the columns before `column`, and the entries before `entry` in them, are written.
void writeStartsFrom(unsigned column, unsigned entry, const unsigned* columns, unsigned count, unsigned length,
                     unsigned* starts);

/// What the other tables begin with. Costs were measured with g++ 12 on a Zen 5.
inline constexpr Kernels table = {
    .name = "portable",
    .costs =
        {
            // Nanoseconds per entry of A(p,:), columns ranked and sorted: of 64 rows 7.8, 8.4; of 96 11, 6.1.
            .mostRanked = 64,
            // Milliseconds for 10^6 entries: ten rows 0.23, without the filter 0.42; a hundred 0.32, 0.42.
            .mostFewRows = 128,
            // Milliseconds for 10^6 entries in columns of ten, sifted and moved: one row in ten 2.1, 1.5.
            .rowsPerSifted = 16,
            // Of 10^6 entries in one column, one in eight is deleted sooner entry by entry than by the runs between.
            .entriesPerDeleted = 8,
            // Of 10^6 entries, intersecting finds as many positions sooner than searches do in columns of ten, but not
            // half as many; in columns of 10^4 it finds a sixteenth as many sooner.
            .intersectShortColumns = 1,
            .intersectLongColumns = 16,
        },
    .storeIndices = storeIndices,
    .stepsTo = stepsTo,
    .countSelected = countSelected,
    .moveSelected = moveSelected,
    .closeUp = closeUp,
    .spread = spread,
    .rankRows = rankRows,
    .siftRows = siftRows,
    .intersect = intersect,
    .writeStarts = writeStarts,
};

} // namespace portable

// x86-64 only.
namespace avx2 {
Steps stepsTo(const unsigned* indices, unsigned count, unsigned expected);
extern const Kernels table;
} // namespace avx2
namespace avx512 {
extern const Kernels table;
}

/// Those that the processor at hand can run, best first; the portable one is always the last.
[[gnu::visibility("default")]] std::span<const Kernels* const> availableKernels();

/// Makes a table the one in use, for tests. No call of the library may be under way.
[[gnu::visibility("default")]] void useKernels(const Kernels& table);

} // namespace zqsp

#endif
