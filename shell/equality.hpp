// Whether two values hold the same elements.
#ifndef KXSH_EQUALITY_HPP
#define KXSH_EQUALITY_HPP

#include "value.hpp"

namespace kxsh {

/// Same shape and same elements, as numbers: neither the class nor the storage counts. NaN equals nothing.
/// Cost: the elements of a full array, the entries and columns of sparse ones.
bool equalValues(const Value& left, const Value& right);

} // namespace kxsh

#endif
