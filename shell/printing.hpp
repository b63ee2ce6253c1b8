// Numbers and values as a user sees them.
#ifndef KXSH_PRINTING_HPP
#define KXSH_PRINTING_HPP

#include "value.hpp"

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

namespace kxsh {

/// Whole numbers in full up to 15 digits, everything else with at most `digits` significant ones.
std::string shortNumber(double value, int digits);
/// Element k (full: in column order; sparse: stored value) of an array, imaginary part included.
std::string elementText(const Value& array, std::size_t k, int digits);

/// "sparse double, 3-by-3, nnz 4" or "full int8, 1-by-5".
std::string describe(const Value& value);

/// Bytes of elements and indices, room for more entries included.
std::size_t bytesOf(const Value& value);

/// `name = ...`, or the value alone for an empty name, as it is printed. A scalar or a string takes one line. A sparse
/// array shows a header and one "(row,column) value" line per entry, a full one a header and aligned columns; of long
/// ones only the first and last lines, of wide ones the first and last columns that fit `width` characters.
std::string valueText(std::string_view name, const Value& value, unsigned width);

/// The value within one line: a number, a string, or its description.
std::string inlineText(const Value& value);

/// `format` with the elements of `arguments` at its conversions, repeated while elements are left; from the first
/// conversion that finds none left on, the text ends. A string goes whole into %s, and by its characters elsewhere.
/// A number with a fraction at %d, or any number at %s, is shown as %g would. Raises kxsh:arguments for a conversion
/// that is not known.
std::string formatted(const std::string& format, std::span<const Value> arguments);

} // namespace kxsh

#endif
