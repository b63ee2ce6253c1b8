#include "kernels/tables.hpp"

#include "kernels/portable.hpp"

namespace zqsp::portable {

const Kernels table = {
    .name = "portable",
    .costs = {.mostRanked = 16,
              .mostFewRows = 0,
              .entriesPerDeleted = 0,
              .intersectShortColumns = 1,
              .intersectLongColumns = 4},
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
