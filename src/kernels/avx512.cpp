#include "kernels/avx512.hpp"

#include "kernels/tables.hpp"

namespace zqsp::avx512 {

namespace {

Kernels makeTable()
{
    Kernels wide = portable::table;
    wide.name = "avx512";
    // Measured on a Zen 5: positions deleted from 10^6 entries, entry by entry and by runs, in milliseconds: one in
    // eight 0.5, 1.3; one in 64 0.4, 0.7. Columns ranked and sorted, in nanoseconds per entry: of 96 rows 4.1, 5.2; of
    // 160 6.1, 4.9. Entries sifted and moved, in milliseconds for 400,000: one row in forty 0.19, 0.20; in ten 0.26,
    // 0.20.
    wide.costs = {.mostRanked = 112,
                  .mostFewRows = 128,
                  .rowsPerSifted = 32,
                  .entriesPerDeleted = 64,
                  .intersectShortColumns = 1,
                  .intersectLongColumns = 8};
    setIntersect(wide);
    setNumbers(wide);
    setRank(wide);
    setSelect(wide);
    setSift(wide);
    setStarts(wide);
    return wide;
}

} // namespace

const Kernels table = makeTable();

} // namespace zqsp::avx512
