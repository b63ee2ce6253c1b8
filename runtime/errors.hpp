// Raising the runtime's own errors.
#ifndef KX_ERRORS_HPP
#define KX_ERRORS_HPP

#include <cstddef>
#include <string>

namespace kxrt {

/// A number for an error text: whole where it is short, else in ten digits.
std::string textOf(double number);

/// kx:outOfMemory for a block of this many bytes.
[[noreturn]] void raiseOutOfMemory(std::size_t bytes);
/// kx:sizeLimit; `what` names the offending numbers.
[[noreturn]] void raiseSizeLimit(const std::string& what);
/// kx:invalidOperand.
[[noreturn]] void raiseInvalidOperand(const std::string& what);
/// The same for a class that holds no elements.
[[noreturn]] void raiseUnknownClass(unsigned id);

} // namespace kxrt

#endif
