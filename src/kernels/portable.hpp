// The loops for any processor. What has no loop of its own in another table is served by these.
#ifndef ZQSP_KERNELS_PORTABLE_HPP
#define ZQSP_KERNELS_PORTABLE_HPP

#include "kernels/kernels.hpp"

namespace zqsp::portable {

bool storeIndices(const double* values, unsigned count, double highest, unsigned* indices);
Steps stepsTo(const unsigned* indices, unsigned count, unsigned expected);
unsigned countSelected(const unsigned* rows, unsigned count, const RowChoice& choice);
unsigned moveSelected(const Entries& from, const unsigned* jc, unsigned columns, const RowChoice& choice,
                      const Entries& to, unsigned at, unsigned* ends);
unsigned closeUp(const Entries& entries, unsigned begin, unsigned end, DeletedList& deleted, unsigned kept);
void rankRows(const unsigned* rows, unsigned count, unsigned* ranks);
unsigned siftRows(const RowWord* rows, const FewRows* few, const unsigned* ir, unsigned begin, unsigned end,
                  unsigned* found);
Common intersect(const unsigned* first, unsigned firstCount, const unsigned* second, unsigned secondCount,
                 unsigned* inFirst, unsigned* inSecond);
void writeStarts(const unsigned* columns, unsigned count, unsigned length, unsigned* starts);

/// stepsTo(), to be compiled for other processors, too.
[[gnu::always_inline]] inline Steps stepsLoop(const unsigned* indices, unsigned count, unsigned expected)
{
    unsigned falls = 0;
    unsigned rises = 0;
    unsigned others = 0;
    const unsigned* const before = indices - 1;
    for (unsigned i = 0; i < count; ++i) {
        falls |= indices[i] < before[i] ? 1U : 0U;
        rises |= indices[i] > before[i] ? 1U : 0U;
        others |= (indices[i] - before[i]) ^ expected;
    }
    return {falls != 0, rises != 0, others != 0};
}

// What is left to do where whole registers end.

/// intersect() from given places of both lists on; `found` is what has been found so far.
Common intersectRest(const unsigned* first, unsigned firstCount, const unsigned* second, unsigned secondCount,
                     Common found, unsigned* inFirst, unsigned* inSecond);
/// writeStarts() once the starts of the columns before `column`, and the entries before `entry` in them, are written.
void writeStartsFrom(unsigned column, unsigned entry, const unsigned* columns, unsigned count, unsigned length,
                     unsigned* starts);

} // namespace zqsp::portable

#endif
