// The element classes as C++ types: the one switch over them.
#ifndef KX_ELEMENT_TYPES_HPP
#define KX_ELEMENT_TYPES_HPP

#include <kx_array.hpp>

#include <cstdint>
#include <type_traits>

/// f(std::type_identity<T>{}) with the element type of a class; that of double for an unknown one. What elements of
/// classes logical and char are in C++ is for the caller to say.
template <typename Logical, typename Char, typename F>
decltype(auto) kxWithElementType(kxClassID id, F&& f)
{
    switch (id) {
    case kxLOGICAL_CLASS:
        return f(std::type_identity<Logical>{});
    case kxCHAR_CLASS:
        return f(std::type_identity<Char>{});
    case kxSINGLE_CLASS:
        return f(std::type_identity<float>{});
    case kxINT8_CLASS:
        return f(std::type_identity<std::int8_t>{});
    case kxUINT8_CLASS:
        return f(std::type_identity<std::uint8_t>{});
    case kxINT16_CLASS:
        return f(std::type_identity<std::int16_t>{});
    case kxUINT16_CLASS:
        return f(std::type_identity<std::uint16_t>{});
    case kxINT32_CLASS:
        return f(std::type_identity<std::int32_t>{});
    case kxUINT32_CLASS:
        return f(std::type_identity<std::uint32_t>{});
    case kxINT64_CLASS:
        return f(std::type_identity<std::int64_t>{});
    case kxUINT64_CLASS:
        return f(std::type_identity<std::uint64_t>{});
    default:
        return f(std::type_identity<double>{});
    }
}

#endif
