#include "kernels/avx512.hpp"

#include "kernels/tables.hpp"

namespace zqsp::avx512 {

const Kernels table = {
    .name = "avx512",
    .costs = {.mostRanked = 256,
              .mostFewRows = 128,
              .entriesPerDeleted = 32,
              .intersectShortColumns = 1,
              .intersectLongColumns = 8},
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

} // namespace zqsp::avx512
