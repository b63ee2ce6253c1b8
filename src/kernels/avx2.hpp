// What the files of loops for registers of 256 bits share.
#ifndef ZQSP_KERNELS_AVX2_HPP
#define ZQSP_KERNELS_AVX2_HPP

#include "kernels/kernels.hpp"

#define ZQSP_AVX2 __attribute__((target("avx2,popcnt")))

namespace zqsp::avx2 {

unsigned siftRows(const RowWord* rows, const FewRows* few, const unsigned* ir, unsigned begin, unsigned end,
                  unsigned* found);

} // namespace zqsp::avx2

#endif
