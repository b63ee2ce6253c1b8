#include "kernels/tables.hpp"

#include "kernels/portable.hpp"

namespace zqsp::portable {

/// What the other tables begin with. Costs were measured with g++ 12 on a Zen 5.
constinit const Kernels table = {
    .name = "portable",
    .costs =
        {
            // Nanoseconds per entry of A(p,:), columns ranked and sorted: of 64 rows 7.8, 8.4; of 96 11, 6.1.
            .mostRanked = 64,
            // Milliseconds for ten rows of 10^6 entries, by the marks of the filter and in a table: 0.35, 0.46.
            .mostFewRows = 32,
            // Milliseconds for 10^6 entries, one by one and by runs: one in two deleted 3.3, 5.4; in four 2.7, 2.6; in
            // eight 2.0, 1.4.
            .entriesPerDeleted = 4,
            // Of 10^6 entries, intersecting finds as many positions sooner than searches do in columns of ten, but not
            // half as many; in columns of 10^4 it finds an eighth as many sooner, but not a sixteenth.
            .intersectShortColumns = 1,
            .intersectLongColumns = 8,
        },
    .storeIndices = storeIndices,
    .stepsTo = stepsTo,
    .countSelected = countSelected,
    .moveSelected = moveSelected,
    .closeUp = closeUp,
    .rankRows = rankRows,
    .siftRows = siftRows,
    .intersect = intersect,
    .writeStarts = writeStarts,
};

} // namespace zqsp::portable
