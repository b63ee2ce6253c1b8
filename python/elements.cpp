#include "elements.hpp"

#include <complex>
#include <cstring>
#include <numeric>
#include <string_view>

namespace zqsp::python {
namespace {

using Complex = std::complex<double>;

/// kxUNKNOWN_CLASS where the runtime has none.
kxClassID realClassOf(const py::dtype& dtype)
{
    const bool isNative = dtype.byteorder() == '=' || dtype.byteorder() == '|';
    const auto size = dtype.itemsize();
    if (!isNative) {
        return kxUNKNOWN_CLASS;
    }
    switch (dtype.kind()) {
    case 'b':
        return kxLOGICAL_CLASS;
    case 'f':
        return size == 8 ? kxDOUBLE_CLASS : size == 4 ? kxSINGLE_CLASS : kxUNKNOWN_CLASS;
    case 'i':
        return size == 8 ? kxINT64_CLASS : size == 4 ? kxINT32_CLASS : size == 2 ? kxINT16_CLASS : kxINT8_CLASS;
    case 'u':
        return size == 8 ? kxUINT64_CLASS : size == 4 ? kxUINT32_CLASS : size == 2 ? kxUINT16_CLASS : kxUINT8_CLASS;
    default:
        return kxUNKNOWN_CLASS;
    }
}

bool isComplex128(const py::dtype& dtype)
{
    return dtype.kind() == 'c' && dtype.itemsize() == sizeof(Complex) && dtype.byteorder() == '=';
}

py::array joined(const kxArray* array, std::size_t count)
{
    py::array_t<Complex> values(static_cast<py::ssize_t>(count));
    const auto* re = static_cast<const double*>(array->pr);
    const auto* im = static_cast<const double*>(array->pi);
    Complex* to = values.mutable_data();
    for (std::size_t e = 0; e < count; ++e) {
        to[e] = {re[e], im == nullptr ? 0.0 : im[e]};
    }
    return values;
}

/// A NumPy scalar with these bytes, by the function of NumPy's C interface that pybind11 does not show. Its place in
/// the table is part of NumPy's binary interface.
py::object numpyScalar(void* bytes, const py::dtype& dtype)
{
    using Make = PyObject* (*)(void* data, PyObject* descriptor, PyObject* base);
    constexpr std::size_t kPyArrayScalar = 60;
    static const auto make = [] {
        const py::object table = py::module_::import("numpy.core.multiarray").attr("_ARRAY_API");
        return reinterpret_cast<Make>(static_cast<void**>(PyCapsule_GetPointer(table.ptr(), nullptr))[kPyArrayScalar]);
    }();
    auto made = py::reinterpret_steal<py::object>(make(bytes, dtype.ptr(), nullptr));
    if (!made) {
        throw py::error_already_set();
    }
    return made;
}

/// The numbered values, one after another.
py::array collected(const unsigned* numbers, std::size_t count, const Elements& elements, const py::array& from)
{
    py::array values(elements.dtype, static_cast<py::ssize_t>(count));
    const auto size = static_cast<std::size_t>(elements.dtype.itemsize());
    const auto* source = static_cast<const std::byte*>(from.data());
    auto* to = static_cast<std::byte*>(values.mutable_data());
    const auto collect = [&](auto width) {
        for (std::size_t e = 0; e < count; ++e) {
            std::memcpy(to + e * width, source + (numbers[e] - std::size_t{1}) * width, width);
        }
    };
    if (size == sizeof(Complex)) {
        collect(std::integral_constant<std::size_t, sizeof(Complex)>());
    } else {
        collect(size);
    }
    return values;
}

} // namespace

Elements elementsOf(const py::dtype& dtype)
{
    if (isComplex128(dtype)) {
        return {dtype, kxDOUBLE_CLASS, kxCOMPLEX, false};
    }
    const kxClassID id = realClassOf(dtype);
    if (id == kxUNKNOWN_CLASS) {
        throw py::type_error("elements of type " + text(dtype) +
                             " are not served; bool, the integers, float32, float64 and complex128 are (astype())");
    }
    return {dtype, id, kxREAL, false};
}

Elements movableElements(const py::dtype& dtype)
{
    const kxClassID id = realClassOf(dtype);
    if (id != kxUNKNOWN_CLASS) {
        return {dtype, id, kxREAL, false};
    }
    if (std::string_view("fciu").find(dtype.kind()) == std::string_view::npos) {
        throw py::type_error("elements of type " + text(dtype) + " are no numbers");
    }
    return {dtype, kxUINT32_CLASS, kxREAL, true};
}

Numbers numbersTo(std::size_t count)
{
    using Block = std::vector<unsigned>;
    static auto* block = new std::shared_ptr<const Block>(std::make_shared<Block>());
    if ((*block)->size() < count) {
        Block made(count);
        std::iota(made.begin(), made.end(), 1U);
        *block = std::make_shared<Block>(std::move(made));
    }
    auto* held = new std::shared_ptr<const Block>(*block);
    return {(*held)->data(),
            py::capsule(held, [](void* holder) { delete static_cast<std::shared_ptr<const Block>*>(holder); })};
}

py::array valuesOf(const kxArray* array, std::size_t count, const Elements& elements, const py::object& keeper,
                   const py::array& numbered)
{
    if (elements.numbered) {
        return collected(static_cast<const unsigned*>(array->pr), count, elements, numbered);
    }
    if (elements.complexity == kxCOMPLEX) {
        return joined(array, count);
    }
    return {elements.dtype, {static_cast<py::ssize_t>(count)}, {}, array->pr, keeper};
}

void storeValues(const void* from, std::size_t count, const Elements& elements, kxArray* to)
{
    if (elements.complexity == kxCOMPLEX) {
        const auto* values = static_cast<const Complex*>(from);
        auto* re = static_cast<double*>(to->pr);
        auto* im = static_cast<double*>(to->pi);
        for (std::size_t e = 0; e < count; ++e) {
            re[e] = values[e].real();
            im[e] = values[e].imag();
        }
    } else if (count != 0) {
        std::memcpy(to->pr, from, count * static_cast<std::size_t>(elements.dtype.itemsize()));
    }
}

py::object scalarOf(const kxArray* array, bool stored, const Elements& elements, const py::array& numbered)
{
    constexpr std::size_t kLargest = 32; // bytes, of a complex number of two long doubles
    const auto size = static_cast<std::size_t>(elements.dtype.itemsize());
    alignas(kLargest) std::byte value[kLargest] = {};
    if (stored && elements.complexity == kxCOMPLEX) {
        const double* im = static_cast<const double*>(array->pi);
        const Complex joint(*static_cast<const double*>(array->pr), im == nullptr ? 0.0 : *im);
        std::memcpy(value, &joint, sizeof joint);
    } else if (stored) {
        const auto* from = static_cast<const std::byte*>(array->pr);
        if (elements.numbered) {
            from = static_cast<const std::byte*>(numbered.data()) +
                   (*static_cast<const unsigned*>(array->pr) - std::size_t{1}) * size;
        }
        std::memcpy(value, from, size);
    }
    return numpyScalar(value, elements.dtype);
}

} // namespace zqsp::python
