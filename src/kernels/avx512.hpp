// The loops for registers of 512 bits, which have the instructions on bytes and the counting of ones.
#ifndef ZQSP_KERNELS_AVX512_HPP
#define ZQSP_KERNELS_AVX512_HPP

#include "kernels/kernels.hpp"

namespace zqsp::avx512 {

// Each puts the loops of one file into a table.

void setIntersect(Kernels& table);
void setNumbers(Kernels& table);
void setRank(Kernels& table);
void setSelect(Kernels& table);
void setSift(Kernels& table);
void setStarts(Kernels& table);

} // namespace zqsp::avx512

#endif
