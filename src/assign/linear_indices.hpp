// The subscript of A(K) = B as positions.
#ifndef ZQSP_ASSIGN_LINEAR_INDICES_HPP
#define ZQSP_ASSIGN_LINEAR_INDICES_HPP

#include "subscript/convert.hpp"

#include <cstdint>

namespace zqsp {

/// Converts any subscript but the bare colon to 0-based positions. B has `valueCount` elements, a scalar fits any
/// number of positions; the target has `elements`, infinitely many where it grows. In this order: raises the runtime's
/// subscript error 1 for a complex subscript, and for a sparse numeric one that holds zeros;
/// spIndexAssignCountMismatch; spCannotResize where a number, valid or not, is above `elements`; the first bad number
/// decides between spIndexNotPositiveInteger, spIndexBelowOne and the runtime's size error, raised for a finite one
/// above the maximum number of elements. The subscript must outlive the positions.
spStatus convertLinearIndices(const kxArray* K, std::uint64_t valueCount, double elements, Subscript& positions);

} // namespace zqsp

#endif
