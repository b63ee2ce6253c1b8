#include "convert_elements.hpp"

#include "elements.hpp"
#include "errors.hpp"

#include <cmath>
#include <concepts>
#include <limits>
#include <utility>

namespace kxrt {
namespace {

/// Halves away from zero.
template <std::floating_point From, std::integral To>
To roundedTo(From value)
{
    using Limits = std::numeric_limits<To>;
    if (std::isnan(value)) {
        return 0;
    }
    // The greatest value may round up to one past the range here, where >= still saturates.
    const From rounded = std::round(value);
    if (rounded >= static_cast<From>(Limits::max())) {
        return Limits::max();
    }
    if (rounded <= static_cast<From>(Limits::min())) {
        return Limits::min();
    }
    return static_cast<To>(rounded);
}

template <typename To, typename From>
To convertElement(From value)
{
    if constexpr (std::is_same_v<From, Logical>) {
        if constexpr (std::is_same_v<To, Logical>) {
            return value;
        } else {
            return static_cast<To>(value.byte != 0);
        }
    } else if constexpr (std::is_same_v<To, Logical>) {
        if constexpr (std::floating_point<From>) {
            if (std::isnan(value)) {
                raiseInvalidOperand("NaN is neither true nor false.");
            }
        }
        return Logical{static_cast<std::uint8_t>(isNonZero(value))};
    } else if constexpr (std::floating_point<To>) {
        return static_cast<To>(value);
    } else if constexpr (std::floating_point<From>) {
        return roundedTo<From, To>(value);
    } else {
        if (std::in_range<To>(value)) {
            return static_cast<To>(value);
        }
        return std::cmp_less(value, 0) ? std::numeric_limits<To>::min() : std::numeric_limits<To>::max();
    }
}

} // namespace

void convertRun(const void* from, kxClassID fromClass, void* to, kxClassID toClass, std::size_t count)
{
    if (fromClass == toClass) {
        copyElements(to, from, count, elementSize(toClass));
        return;
    }
    withElementType(fromClass, [&]<typename From>(std::type_identity<From>) {
        withElementType(toClass, [&]<typename To>(std::type_identity<To>) {
            const auto* source = static_cast<const From*>(from);
            auto* target = static_cast<To*>(to);
            for (std::size_t i = 0; i < count; ++i) {
                target[i] = convertElement<To>(source[i]);
            }
        });
    });
}

} // namespace kxrt
