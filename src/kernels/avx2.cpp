// The loops for processors with registers of 256 bits and an instruction that counts ones: those of the portable ones
// that gain a quarter or more when they are compiled for such a processor, and a filter of few rows (sift_avx2.cpp).
//
// Measured with g++ 12 on a Zen 5, whose registers of 256 bits are halves of wider ones (bench/kernels.cpp), times as
// fast as the portable loop: steps 2 to 3.4, counting by a set 1.4, by an interval 2, moving by ranks 2.3, ranking
// columns of ten rows 1.2, of sixteen 1.8, of a hundred 2.2. Without gain: numbers to indices (1.0 to 1.2), moving by
// other choices, sifting without a filter, intersecting (0.8 to 1), column starts; closing up gained 1.1 to 1.3.
#include "kernels/avx2.hpp"

#include "kernels/plain_loops.hpp"
#include "kernels/portable.hpp"
#include "kernels/tables.hpp"

namespace zqsp::avx2 {

namespace {

ZQSP_AVX2 Steps stepsTo(const unsigned* indices, unsigned count, unsigned expected)
{
    return stepsLoop(indices, count, expected);
}

ZQSP_AVX2 void rankRows(const unsigned* rows, unsigned count, unsigned* ranks)
{
    constexpr unsigned kFewRows = 4; // the rows, just written, reach narrower registers sooner: measured, half the time
    if (count <= kFewRows) {
        portable::rankRows(rows, count, ranks);
        return;
    }
    rankLoop(rows, count, ranks);
}

Kernels makeTable()
{
    // Costs: as for the portable table, which has most of these loops, measured on the same processor.
    Kernels most = portable::table;
    most.name = "avx2";
    most.stepsTo = stepsTo;
    setEntries(most);
    most.rankRows = rankRows;
    most.costs.mostRanked =
        112; // columns ranked and sorted, in nanoseconds per entry: of 96 rows 4.8, 8.8; of 128 5.8, 5.7
    // Milliseconds for 10^6 entries, through a filter of 256 bits and without: ten rows 0.18, 0.46; a hundred 1.5, 0.5.
    most.costs.mostFewRows = 48;
    most.costs.rowsPerSifted = 8; // sifted and moved: one row in ten 0.34, 0.43; in four 0.49, 0.44
    return most;
}

} // namespace

const Kernels table = makeTable();

} // namespace zqsp::avx2
