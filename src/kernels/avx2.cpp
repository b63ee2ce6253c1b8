// The loops for processors with registers of 256 bits and an instruction that counts ones: those of the portable ones
// that gain a quarter or more when they are compiled for such a processor.
#include "kernels/tables.hpp"

#include "kernels/portable.hpp"
#include "kernels/select_loop.hpp"

#define ZQSP_AVX2 __attribute__((target("avx2,popcnt")))

namespace zqsp::avx2 {

namespace {

/// Ranks of rows count ones.
unsigned moveSelected(const Entries& from, const unsigned* jc, unsigned columns, const RowChoice& choice,
                      const Entries& to, unsigned at, unsigned* ends)
{
    return std::visit([&](auto known) ZQSP_AVX2 { return selectColumns(from, jc, columns, known, to, at, ends); },
                      choice);
}

} // namespace

const Kernels table = {
    .name = "avx2",
    .costs = {.mostRanked = 16,
              .mostFewRows = 0,
              .entriesPerDeleted = 0,
              .intersectShortColumns = 1,
              .intersectLongColumns = 4},
    .storeIndices = portable::storeIndices,
    .stepsTo = portable::stepsTo,
    .countSelected = portable::countSelected,
    .moveSelected = moveSelected,
    .closeUp = portable::closeUp,
    .rankRows = portable::rankRows,
    .siftRows = portable::siftRows,
    .intersect = portable::intersect,
    .writeStarts = portable::writeStarts,
};

} // namespace zqsp::avx2
