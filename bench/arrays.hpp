// The operands of the rows as arrays of the runtime.
#ifndef ZQSP_BENCH_ARRAYS_HPP
#define ZQSP_BENCH_ARRAYS_HPP

#include "contender.hpp"

#include <kx_runtime.hpp>

namespace zqsp::bench {

using namespace matrix::detail::noninlined::kx_array_api;

struct DestroyArray
{
    void operator()(kxArray* array) const { kxDestroyArray(array); }
};
using Array = std::unique_ptr<kxArray, DestroyArray>;

struct FreeBlock
{
    void operator()(void* block) const { kxFree(block); }
};
using Block = std::unique_ptr<void, FreeBlock>;

/// With `spare` entries of capacity beyond what is stored.
Array toArray(const Matrix& matrix, Values values, unsigned spare = 0);
/// Lists are full double arrays.
Array toArray(const Subscript& subscript);
/// Null for the form none.
Array toArray(const RightSide& B, Values values);
/// 1-by-1 double.
Array scalarArray(double value);
/// 1-by-n double of the 0-based values, made 1-based.
Array listArray(const std::vector<unsigned>& values);

double* doubles(const Array& array);
/// Of a sparse array; of a vector, whichever way it lies, with `asVector`.
Fingerprint fingerprintOf(const kxArray* array, bool asVector);
/// Bytes of the entries and the column starts of a sparse array.
double bytesOf(const kxArray* array);

} // namespace zqsp::bench

#endif
