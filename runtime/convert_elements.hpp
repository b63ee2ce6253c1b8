// Elements of one class made elements of another.
#ifndef KX_CONVERT_ELEMENTS_HPP
#define KX_CONVERT_ELEMENTS_HPP

#include <kx_array.hpp>

#include <cstddef>

namespace kxrt {

/// Converts `count` elements. To an integer class (and char): rounded to nearest with halves away from zero,
/// saturated, NaN gives 0; between integer classes exactly where representable. To logical: non-zero is true, and NaN
/// raises kx:invalidOperand.
void convertRun(const void* from, kxClassID fromClass, void* to, kxClassID toClass, std::size_t count);

} // namespace kxrt

#endif
