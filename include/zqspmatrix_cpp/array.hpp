// Runtime arrays behind the C++ interface: who frees them, and what their elements are in C++.
#ifndef ZQSPMATRIX_CPP_ARRAY_HPP
#define ZQSPMATRIX_CPP_ARRAY_HPP

#include "error.hpp"

#include <kx_runtime.hpp>

#include <complex>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <span>
#include <string>
#include <type_traits>
#include <utility>

namespace zqspmatrix {
namespace detail {

namespace kx = ::matrix::detail::noninlined::kx_array_api;

template <typename T>
inline constexpr bool isComplexNumber = false;
template <typename R>
inline constexpr bool isComplexNumber<std::complex<R>> = true;

template <typename T>
struct RealPart
{
    using type = T;
};
template <typename R>
struct RealPart<std::complex<R>>
{
    using type = R;
};
template <typename T>
using RealPartOf = typename RealPart<T>::type;

template <typename T>
concept Character = std::same_as<T, char> || std::same_as<T, wchar_t> || std::same_as<T, char8_t> ||
    std::same_as<T, char16_t> || std::same_as<T, char32_t>;

/// A number that counts: neither a truth value nor a character.
template <typename T>
concept Integer = std::integral<T> && !std::same_as<T, bool> && !Character<T>;

/// The class in which the runtime holds elements (or their parts) of type T; unknown where it has none.
template <typename T>
constexpr kxClassID classOf()
{
    using R = RealPartOf<T>;
    if constexpr (std::same_as<T, bool>) {
        return kxLOGICAL_CLASS;
    } else if constexpr (std::same_as<R, double>) {
        return kxDOUBLE_CLASS;
    } else if constexpr (std::same_as<R, float>) {
        return kxSINGLE_CLASS;
    } else if constexpr (Integer<T> && sizeof(T) <= sizeof(std::uint64_t)) {
        constexpr unsigned kSignedOf[] = {0, kxINT8_CLASS, kxINT16_CLASS, 0, kxINT32_CLASS, 0, 0, 0, kxINT64_CLASS};
        return static_cast<kxClassID>(kSignedOf[sizeof(T)] + (std::unsigned_integral<T> ? 1U : 0U));
    } else {
        return kxUNKNOWN_CLASS;
    }
}

/// Frees an array; lent blocks stay where they are.
struct Release
{
    bool lentStructure = false; ///< column starts and rows are somebody else's
    bool lentValues = false;    ///< so are the values

    void operator()(kxArray* array) const noexcept
    {
        if (lentStructure) {
            kx::kxSetIr(array, nullptr);
            kx::kxSetJc(array, nullptr);
        }
        if (lentValues) {
            kx::kxSetData(array, nullptr);
        }
        kx::kxDestroyArray(array);
    }
    [[nodiscard]] bool lent() const noexcept { return lentStructure || lentValues; }
};
using Array = std::unique_ptr<kxArray, Release>;

inline unsigned rowsOf(const kxArray* array)
{
    return array->get_dimensions()[0];
}
inline unsigned columnsOf(const kxArray* array)
{
    return array->get_dimensions()[1];
}
inline unsigned entriesOf(const kxArray* array)
{
    return array->jc[columnsOf(array)];
}

inline std::string shapeText(const kxArray* array)
{
    return std::to_string(rowsOf(array)) + "-by-" + std::to_string(columnsOf(array));
}

/// A number of rows, columns or elements as the runtime has it.
template <Integer N>
unsigned sizeOf(N size, const char* what)
{
    const unsigned most = kx::kxGetMaxNumberOfElements();
    if (std::cmp_less(size, 0) || std::cmp_greater(size, most)) {
        failOperand(std::to_string(size) + " is no number of " + what + "; these go from 0 to " + std::to_string(most));
    }
    return static_cast<unsigned>(size);
}

template <typename T>
Array newSparse(unsigned m, unsigned n, unsigned capacity)
{
    return Array(
        kx::kxCreateSparseNumericMatrix(m, n, capacity, classOf<T>(), isComplexNumber<T> ? kxCOMPLEX : kxREAL));
}

/// A zeroed full column.
template <typename T>
Array newColumn(std::size_t length)
{
    const unsigned dims[] = {sizeOf(length, "values"), 1};
    return Array(kx::kxCreateNumericArray(2, dims, classOf<T>(), isComplexNumber<T> ? kxCOMPLEX : kxREAL));
}

/// Writes the values of a contiguous sequence into the first places of an array of their class.
template <typename T>
void storeValues(kxArray* array, std::span<const T> values)
{
    if constexpr (isComplexNumber<T>) {
        auto* re = static_cast<RealPartOf<T>*>(array->pr);
        auto* im = static_cast<RealPartOf<T>*>(array->pi);
        for (std::size_t e = 0; e < values.size(); ++e) {
            re[e] = values[e].real();
            im[e] = values[e].imag();
        }
    } else if (!values.empty()) {
        std::memcpy(array->pr, values.data(), values.size_bytes());
    }
}

/// The element at a place of an array of class classOf<T>(), which may lack an imaginary part.
template <typename T>
T valueAt(const kxArray* array, std::size_t place)
{
    const auto* re = static_cast<const RealPartOf<T>*>(array->pr);
    if constexpr (isComplexNumber<T>) {
        const auto* im = static_cast<const RealPartOf<T>*>(array->pi);
        return {re[place], im == nullptr ? RealPartOf<T>() : im[place]};
    } else {
        return re[place];
    }
}

/// An m-by-n matrix on lent compressed columns. Complex values are copied, as the runtime holds their parts apart.
template <typename T>
Array lend(unsigned m, unsigned n, const unsigned* starts, const unsigned* rows, std::span<const T> values)
{
    const auto capacity = static_cast<unsigned>(values.size());
    Array array = newSparse<T>(0, 0, isComplexNumber<T> ? capacity : 0);
    kx::kxFree(array->ir);
    kx::kxFree(array->jc);
    array.get_deleter().lentStructure = true;
    kx::kxSetIr(array.get(), const_cast<unsigned*>(rows)); // lent to be read
    kx::kxSetJc(array.get(), const_cast<unsigned*>(starts));
    if constexpr (isComplexNumber<T>) {
        storeValues(array.get(), values);
    } else {
        kx::kxFree(array->pr);
        array.get_deleter().lentValues = true;
        kx::kxSetData(array.get(), const_cast<T*>(values.data()));
    }
    array->nzmax = capacity;
    kx::kxSetM(array.get(), m);
    kx::kxSetN(array.get(), n);
    return array;
}

} // namespace detail

/// What a matrix can hold: bool, double, float, the integers of 8 to 64 bits, and complex numbers of float and double.
template <typename T>
concept Element = detail::classOf<T>()
!= kxUNKNOWN_CLASS;

} // namespace zqspmatrix

#endif
