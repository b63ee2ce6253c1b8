// Operators on values.
#ifndef KXSH_OPERATORS_HPP
#define KXSH_OPERATORS_HPP

#include "ast.hpp"
#include "value.hpp"

#include <cstddef>
#include <string_view>
#include <vector>

namespace kxsh {

std::string_view symbolOf(BinaryOperator op);

/// Any binary operator. Raises kxsh:operand where the shapes do not fit: element by element, they must be equal once a
/// number, row or column is spread over the other operand.
Value operate(BinaryOperator op, const Value& left, const Value& right);

/// Operators element by element, * / ^ with a number among them. Computed in double precision.
/// + - .* ./ .^ keep an integer class (of either operand, the left one first) with rounding and saturation, single
/// likewise. A power of a negative number with a fraction is complex. A whole-number range shifted or scaled by a whole
/// number stays a range. Sparse are: sums of sparse arrays, products with a sparse array and quotients of one (what is
/// not stored counts as 0 whatever the other side holds), positive powers of one by a number.
/// Comparisons, & and | are logical, sparse when one operand is a sparse matrix and the other is sparse or a number; &
/// also with one sparse operand. Order comparisons look at real parts.
Value elementwise(BinaryOperator op, const Value& left, const Value& right);

/// The matrix product, sparse of two sparse matrices, else full. Cost: the multiplications of entries. Raises
/// kxsh:operand.
Value product(const Value& left, const Value& right);

/// X with A * X = B, least squares where A is not square; sparse if B is. A full A is taken for a sparse one. Raises
/// kxsh:operand, kxsh:singular.
Value solve(const Value& a, const Value& b);

/// The transpose, with `conjugates` of the conjugate.
Value transposed(const Value& value, bool conjugates);

/// The real or imaginary part, of the class of the array; sparse stays sparse.
Value partOf(const Value& value, bool imaginary);
/// The complex array of two real parts, of one shape or one of them a number; sparse if both are.
Value complexOf(const Value& re, const Value& im);

/// Elements that are not zero. Sparse arrays store no others.
std::size_t nonZeros(const Value& value);
/// Whether a condition holds: the value is not empty and holds no zero.
bool holds(const Value& value);

/// Same shape and same elements, as numbers: neither the class nor the storage counts. NaN equals nothing.
/// Cost: the elements of a full array, the entries and columns of sparse ones.
bool equalValues(const Value& left, const Value& right);

/// [a, b; c, d]: rows of blocks put side by side and beneath each other; 0-by-0 blocks count for nothing. Sparse as
/// soon as one block is. Class: the first integer class among the blocks, else char, single, logical when all are,
/// double. Raises kxsh:operand when heights or widths do not fit.
Value concatenate(const std::vector<std::vector<Value>>& rows);

} // namespace kxsh

#endif
