// [a, b; c, d]
#ifndef KXSH_CONCATENATION_HPP
#define KXSH_CONCATENATION_HPP

#include "value.hpp"

#include <vector>

namespace kxsh {

/// Rows of blocks put side by side and beneath each other; 0-by-0 blocks count for nothing. Sparse as soon as one block
/// is. Class: the first integer class among the blocks, else char, single, logical when all are, double.
/// Raises kxsh:operand when heights or widths do not fit.
Value concatenate(const std::vector<std::vector<Value>>& rows);

} // namespace kxsh

#endif
