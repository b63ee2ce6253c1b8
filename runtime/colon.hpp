// Ranges start:step:stop.
#ifndef KX_COLON_HPP
#define KX_COLON_HPP

#include "record.hpp"

namespace kxrt {

/// How many values the range has. A stop that is missed by no more than rounding errors is still reached, so that
/// 0:0.1:1 has 11 values. 0 for a step of 0, for NaN and for a step that leads away from the stop. Raises kx:sizeLimit
/// above the maximum number of elements.
unsigned countOf(const Range& range);
/// The same, but the maximum number of elements where there are more: for ranges that are not made into values.
unsigned countSaturated(const Range& range);
/// The value at position `index` of `count`; no value lies beyond the stop.
double valueAt(const Range& range, unsigned index);
/// The values of a colon object as a full array of class `id`; raises kx:invalidOperand for the bare colon.
ArrayOwner valuesOf(const kxArray* colonObject, kxClassID id);

} // namespace kxrt

#endif
