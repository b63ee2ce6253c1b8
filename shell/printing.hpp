// Values as a user sees them.
#ifndef KXSH_PRINTING_HPP
#define KXSH_PRINTING_HPP

#include "value.hpp"

#include <ostream>
#include <string>
#include <string_view>

namespace kxsh {

/// "sparse double, 3-by-3, nnz 4" or "full int8, 1-by-5".
std::string describe(const Value& value);

/// Bytes of elements and indices, room for more entries included.
std::size_t bytesOf(const Value& value);

/// Prints `name = ...`, or the value alone for an empty name. A scalar or a string takes one line. A sparse array shows
/// a header and one "(row,column) value" line per entry, a full one a header and aligned columns; of long ones only the
/// first and last lines, of wide ones the first and last columns that fit `width` characters.
void printValue(std::ostream& out, std::string_view name, const Value& value, unsigned width);

/// The value within one line: a number, a string, or its description.
std::string inlineText(const Value& value);

} // namespace kxsh

#endif
