// Numbers as text.
#ifndef KXSH_NUMBERS_HPP
#define KXSH_NUMBERS_HPP

#include "value.hpp"

#include <cstddef>
#include <string>

namespace kxsh {

/// Whole numbers in full up to 15 digits, everything else with at most `digits` significant ones.
std::string shortNumber(double value, int digits);

/// Element k (full: in column order; sparse: stored value) of an array, imaginary part included.
std::string elementText(const Value& array, std::size_t k, int digits);

} // namespace kxsh

#endif
