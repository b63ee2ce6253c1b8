// Text by a format, as printf knows it.
#ifndef KXSH_FORMATTING_HPP
#define KXSH_FORMATTING_HPP

#include "value.hpp"

#include <span>
#include <string>

namespace kxsh {

/// `format` with the elements of `arguments` at its conversions, repeated while elements are left; from the first
/// conversion that finds none left on, the text ends. A string goes whole into %s, and by its characters elsewhere.
/// A number with a fraction at %d, or any number at %s, is shown as %g would. Raises kxsh:arguments for a conversion
/// that is not known.
std::string formatted(const std::string& format, std::span<const Value> arguments);

} // namespace kxsh

#endif
