// Operators on values.
#ifndef KXSH_OPERATORS_HPP
#define KXSH_OPERATORS_HPP

#include "ast.hpp"
#include "value.hpp"

#include <string_view>

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

/// Whether a condition holds: the value is not empty and holds no zero.
bool holds(const Value& value);

} // namespace kxsh

#endif
