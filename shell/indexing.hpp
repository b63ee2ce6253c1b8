// Subscripted reference and assignment, by the library.
#ifndef KXSH_INDEXING_HPP
#define KXSH_INDEXING_HPP

#include "value.hpp"

#include <span>
#include <string_view>

namespace kxsh {

/// How many places the subscript at `position` (from 0) of `count` subscripts chooses from.
double extentOf(const Value& array, std::size_t count, std::size_t position);

/// A(subscripts): one or two subscripts, each a bare colon, a lazy range or an array. A full array or lazy range gives
/// a full result at the cost of what is read, and is indexed through a sparse copy only by sparse subscripts. Raises
/// what kxHandleSparseSubscriptError raises, with the shape of `array` (called `name`) added to the text.
Value reference(const Value& array, std::span<const Value> subscripts, std::string_view name);

/// A(subscripts) = value; `target` grows where it has to and stays as it was on any error. The empty handle, a variable
/// without a value, becomes sparse. A full target stays full; what full_indexing.hpp leaves is done through a sparse
/// copy. `value` may be the empty literal, which deletes. Raises as reference() does.
void assign(Value& target, const Value& value, std::span<const Value> subscripts, std::string_view name);

/// reshape(A, m, n), by the library if A is sparse. Raises kxsh:reshape when the sizes differ.
Value reshaped(const Value& array, unsigned m, unsigned n);

} // namespace kxsh

#endif
