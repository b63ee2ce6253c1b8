// What the files of loops for registers of 256 bits share.
#ifndef ZQSP_KERNELS_AVX2_HPP
#define ZQSP_KERNELS_AVX2_HPP

#include "kernels/kernels.hpp"

#include <immintrin.h>

/// Marks a function of these loops. (Where the instructions are emulated, the emulation defines it empty.)
#ifndef ZQSP_AVX2
#define ZQSP_AVX2 __attribute__((target("avx2,popcnt")))
#endif

namespace zqsp::avx2 {

/// Puts the loops over entries into a table.
void setEntries(Kernels& table);

} // namespace zqsp::avx2

#endif
