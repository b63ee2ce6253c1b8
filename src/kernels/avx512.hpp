// The loops for registers of 512 bits, which have the instructions on bytes and the counting of ones.
#ifndef ZQSP_KERNELS_AVX512_HPP
#define ZQSP_KERNELS_AVX512_HPP

#include "kernels/kernels.hpp"

namespace zqsp::avx512 {

/// Measured: a third of the time of registers of 128 bits.
bool storeIndices(const double* values, unsigned count, double highest, unsigned* indices);
Steps stepsTo(const unsigned* indices, unsigned count, unsigned expected);
/// Measured against one entry after the other: half to three quarters of the time, as for moveSelected() and closeUp().
unsigned countSelected(const unsigned* rows, unsigned count, const RowChoice& choice);
unsigned moveSelected(const Entries& from, const unsigned* jc, unsigned columns, const RowChoice& choice,
                      const Entries& to, unsigned at, unsigned* ends);
unsigned closeUp(const Entries& entries, unsigned begin, unsigned end, DeletedList& deleted, unsigned kept);
void rankRows(unsigned* rows, unsigned count, unsigned* ranks);
/// Measured: with a filter of few rows half the time of looking rows up in a table.
unsigned siftRows(const RowWord* rows, const FewRows* few, const unsigned* ir, unsigned begin, unsigned end,
                  unsigned* found);
/// Sixteen of the one list are compared with sixteen of the other at a time, whatever comes of it. Measured: a fifth of
/// the time of galloping. (The scheme is that of Schlegel, Willhalm and Lehner, 2011.)
Common intersect(const unsigned* first, unsigned firstCount, const unsigned* second, unsigned secondCount,
                 unsigned* inFirst, unsigned* inSecond);
void writeStarts(const unsigned* columns, unsigned count, unsigned length, unsigned* starts);

} // namespace zqsp::avx512

#endif
