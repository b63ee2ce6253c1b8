// Element classes as C++ types.
#ifndef KX_ELEMENTS_HPP
#define KX_ELEMENTS_HPP

#include "errors.hpp"

#include <kx_array.hpp>
#include <kx_element_types.hpp>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace kxrt {

/// An element of class logical: any non-zero byte is true.
struct Logical
{
    std::uint8_t byte;
};

namespace detail {
constexpr unsigned char sizeInTable(unsigned id)
{
    switch (id) {
    case kxLOGICAL_CLASS:
    case kxINT8_CLASS:
    case kxUINT8_CLASS:
        return 1;
    case kxCHAR_CLASS:
    case kxINT16_CLASS:
    case kxUINT16_CLASS:
        return 2;
    case kxSINGLE_CLASS:
    case kxINT32_CLASS:
    case kxUINT32_CLASS:
        return 4;
    case kxDOUBLE_CLASS:
    case kxINT64_CLASS:
    case kxUINT64_CLASS:
        return 8;
    default:
        return 0;
    }
}
constexpr unsigned kClasses = 16;
constexpr auto kElementSizes = [] {
    std::array<unsigned char, kClasses> sizes{};
    for (unsigned id = 0; id < kClasses; ++id) {
        sizes[id] = sizeInTable(id);
    }
    return sizes;
}();
} // namespace detail

/// Bytes per element; 0 for an unknown class.
constexpr std::size_t elementSize(kxClassID id)
{
    return id < detail::kClasses ? detail::kElementSizes[id] : 0;
}

constexpr bool isKnownClass(kxClassID id)
{
    return elementSize(id) != 0;
}
/// Whether arrays of the class may be complex.
constexpr bool mayBeComplex(kxClassID id)
{
    return isKnownClass(id) && id != kxLOGICAL_CLASS && id != kxCHAR_CLASS;
}

/// kx:invalidOperand for a class that holds no elements.
inline void requireKnownClass(kxClassID id)
{
    if (!isKnownClass(id)) {
        raiseUnknownClass(id);
    }
}

/// f(std::type_identity<T>{}) with the element type of a known class.
template <typename Function>
decltype(auto) withElementType(kxClassID id, Function&& f)
{
    return kxWithElementType<Logical, std::uint16_t>(id, f);
}

/// f(std::type_identity<T>{}) with an unsigned type as wide as an element, where only its bytes matter.
template <typename Function>
decltype(auto) withElementWidth(kxClassID id, Function&& f)
{
    switch (elementSize(id)) {
    case 1:
        return f(std::type_identity<std::uint8_t>{});
    case 2:
        return f(std::type_identity<std::uint16_t>{});
    case 4:
        return f(std::type_identity<std::uint32_t>{});
    default:
        return f(std::type_identity<std::uint64_t>{});
    }
}

/// Whether the element compares different from zero (NaN does, -0 does not).
template <typename T>
constexpr bool isNonZero(T value)
{
    if constexpr (std::is_same_v<T, Logical>) {
        return value.byte != 0;
    } else {
        return value != T{0};
    }
}

/// memcpy that may be given null pointers with a count of 0.
inline void copyElements(void* to, const void* from, std::size_t count, std::size_t size)
{
    if (count != 0) {
        std::memcpy(to, from, count * size);
    }
}

} // namespace kxrt

#endif
