// Subscripts on full arrays and lazy ranges, element by element: what the library does for sparse ones, at the cost of
// what is read or written.
#ifndef KXSH_FULL_INDEXING_HPP
#define KXSH_FULL_INDEXING_HPP

#include "value.hpp"

#include <optional>
#include <span>

namespace kxsh {

/// array(subscripts), one or two, of a full array or a lazy range, with the shapes and errors of the library; a range
/// of whole numbers out of a range stays one. Nothing where a subscript is sparse. Raises what
/// kxHandleSparseSubscriptError() raises. Cost: the subscripts and the result.
std::optional<Value> referenceFull(const Value& array, std::span<const Value> subscripts);

/// target(subscripts) = value on a full array, which keeps its class and may grow. False, with nothing done, for what
/// the library should do by way of a sparse copy: deletion, sparse subscripts, a first imaginary part, colons on empty
/// targets. Raises as referenceFull(), target unchanged. Cost: the subscripts and `value`, beside a growing matrix or
/// data shared with another variable.
bool assignFull(Value& target, const Value& value, std::span<const Value> subscripts);

} // namespace kxsh

#endif
