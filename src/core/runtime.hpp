// The array library's names inside the library, and the few questions that every export asks of an array.
#ifndef ZQSP_CORE_RUNTIME_HPP
#define ZQSP_CORE_RUNTIME_HPP

#include <kx_array.hpp>

#include <cstdint>

namespace zqsp {

using namespace matrix::detail::noninlined::kx_array_api;

/// The element class, asking the object where the stored id is not the true one.
inline kxClassID classOf(const kxArray* array)
{
    constexpr unsigned kHighestPlainClass = 16;
    return array->class_id > kHighestPlainClass ? array->_get_class_id_non_trivial() : array->class_id;
}

inline unsigned rowsOf(const kxArray* array)
{
    return array->get_dimensions()[0];
}

/// The number of columns, as kxGetN counts them, of an array whose dimensions are at hand.
inline unsigned columnsOf(const kxArray* array, const unsigned* dims)
{
    return array->ndims == 2 ? dims[1] : kxGetN(array);
}

/// The number of elements, also where it exceeds the maximum, at which kxGetNumberOfElements stops.
inline std::uint64_t elementsOf(const kxArray* array)
{
    const unsigned* dims = array->get_dimensions();
    return std::uint64_t{dims[0]} * columnsOf(array, dims);
}

inline bool hasFlag(const kxArray* array, kxArrayFlag flag)
{
    return (array->flags & flag) != 0;
}

inline bool isSparse(const kxArray* array)
{
    return hasFlag(array, kxFLAG_SPARSE);
}

/// An array is complex when it may be and an imaginary part is there.
inline bool isComplex(const kxArray* array)
{
    return hasFlag(array, kxFLAG_MAY_BE_COMPLEX) && array->pi != nullptr;
}

inline kxComplexity complexityOf(const kxArray* array)
{
    return isComplex(array) ? kxCOMPLEX : kxREAL;
}

/// The door: a runtime may check the sparse operands of every call. Raises what it raises for a broken one, which is
/// its maker's fault: the library trusts what it is given.
template <typename... Arrays>
void checkOperands(const Arrays*... arrays)
{
    if (kxCheckOperand == nullptr) {
        return;
    }
    const auto check = [](const kxArray* array) {
        if (isSparse(array)) {
            kxCheckOperand(array);
        }
    };
    (check(arrays), ...);
}

/// An empty array that is not sparse yet: an assignment creates its content afresh.
inline bool isUnset(const kxArray* array)
{
    return !isSparse(array) && kxIsEmpty(array);
}

} // namespace zqsp

#endif
