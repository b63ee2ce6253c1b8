// Runtime arrays as this module holds them: with blocks of their own, or on blocks that NumPy arrays lend.
#ifndef ZQSP_PYTHON_ARRAYS_HPP
#define ZQSP_PYTHON_ARRAYS_HPP

#include <kx_runtime.hpp>
#include <pybind11/numpy.h>

#include <memory>
#include <string>

namespace zqsp::python {

namespace py = pybind11;
namespace kx = matrix::detail::noninlined::kx_array_api;

/// Destroys an array; lent blocks stay where they are.
struct Destroy
{
    bool lent = false;
    void operator()(kxArray* array) const noexcept
    {
        if (lent) {
            kx::kxSetData(array, nullptr);
            kx::kxSetIr(array, nullptr);
            kx::kxSetJc(array, nullptr);
        }
        kx::kxDestroyArray(array);
    }
};
using Array = std::unique_ptr<kxArray, Destroy>;

/// An array and what keeps its lent blocks alive. The runtime cannot count holders of such blocks, so they are handed
/// only to calls that read an array, or a mask, and keep nothing of it.
struct Operand
{
    Array array;
    py::object lender;
};

/// A size or count as the runtime has it; ValueError above its maximum.
inline unsigned sizeOf(py::ssize_t size)
{
    if (size > static_cast<py::ssize_t>(kx::kxGetMaxNumberOfElements())) {
        throw py::value_error("a size of " + std::to_string(size) + " is too large");
    }
    return static_cast<unsigned>(size);
}

/// str(object).
inline std::string text(const py::handle& object)
{
    return py::str(object);
}

/// Puts an array of this shape onto lent blocks, its own given back. `array` is new and empty.
Operand lend(Array array, unsigned m, unsigned n, const void* values, py::object lender);

} // namespace zqsp::python

#endif
