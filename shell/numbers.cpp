#include "numbers.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace kxsh {

std::string shortNumber(double value, int digits)
{
    if (std::isnan(value)) {
        return "NaN";
    }
    if (std::isinf(value)) {
        return value < 0 ? "-Inf" : "Inf";
    }
    const bool whole = value == std::trunc(value) && std::abs(value) < 1e15;
    return whole ? fmt::format("{:.0f}", value == 0 ? 0.0 : value) : fmt::format("{:.{}g}", value, digits);
}

namespace {

template <typename T>
std::string numberText(T value, [[maybe_unused]] int digits)
{
    if constexpr (std::is_floating_point_v<T>) {
        return shortNumber(static_cast<double>(value), std::min(digits, std::numeric_limits<T>::digits10 + 1));
    } else if constexpr (std::is_same_v<T, bool> || std::is_same_v<T, char16_t>) {
        return fmt::to_string(static_cast<unsigned>(value));
    } else {
        return fmt::to_string(value);
    }
}

} // namespace

std::string elementText(const Value& array, std::size_t k, int digits)
{
    return withElementType(array.classId(), [&]<typename T>(std::type_identity<T>) -> std::string {
        std::string text = numberText(array.data<T>()[k], digits);
        if (const T* im = array.imagData<T>()) {
            const std::string imaginary = numberText(im[k], digits);
            text += imaginary.starts_with('-') ? "" : "+";
            text += imaginary;
            text += 'i';
        }
        return text;
    });
}

} // namespace kxsh
