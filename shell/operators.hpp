// Arithmetic and comparison of values.
#ifndef KXSH_OPERATORS_HPP
#define KXSH_OPERATORS_HPP

#include "ast.hpp"
#include "value.hpp"

#include <string_view>

namespace kxsh {

std::string_view symbolOf(BinaryOperator op);
/// Raises kxsh:operand unless one operand is a number or both have one shape.
void requireMatchingShapes(BinaryOperator op, const Value& left, const Value& right);

/// + - * / of a number with anything, + and - of two arrays of one shape. Computed in double precision; an integer
/// class (of either operand, the left one first) is kept with rounding and saturation, single likewise. Whole-number
/// ranges with a whole number give a range again; sparse with a factor, and sparse with sparse, stay sparse. Raises
/// kxsh:operand.
Value arithmetic(BinaryOperator op, const Value& left, const Value& right);

/// Element by element, a number against anything or two arrays of one shape: a logical array, sparse when one operand
/// is a sparse matrix and the other is sparse or a number. Order comparisons look at real parts. Raises kxsh:operand.
Value compare(BinaryOperator op, const Value& left, const Value& right);

} // namespace kxsh

#endif
