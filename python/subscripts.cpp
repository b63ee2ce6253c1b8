#include "subscripts.hpp"

#include "scipy.hpp"

#include <zqspmatrix.h>

#include <string>
#include <utility>

namespace zqsp::python {
namespace {

/// A 0-based index, from the end where negative, as the library counts.
template <typename Integer>
double oneBased(Integer index, const Axis& axis)
{
    const std::int64_t extent = axis.extent();
    const bool outside = std::cmp_greater_equal(index, extent) && axis.use != Use::growing;
    if (outside || std::cmp_less(index, -extent)) {
        kxHandleSparseSubscriptError(axis.use == Use::deleting ? spIndexToRemoveOutOfRange : spIndexOutOfRange);
    }
    return static_cast<double>(index) + (std::cmp_less(index, 0) ? static_cast<double>(extent) + 1.0 : 1.0);
}

Array fromInteger(const py::object& key, const Axis& axis)
{
    const py::ssize_t index = PyNumber_AsSsize_t(key.ptr(), PyExc_IndexError);
    if (index == -1 && PyErr_Occurred() != nullptr) {
        throw py::error_already_set();
    }
    Array array(kx::kxCreateDoubleMatrix(1, 1, kxREAL));
    *static_cast<double*>(array->pr) = oneBased(index, axis);
    return array;
}

/// Clipped to the extent, as slices are; the bare colon stays one.
Array fromSlice(const py::object& key, const Axis& axis)
{
    const auto* slice = reinterpret_cast<const PySliceObject*>(key.ptr());
    if (slice->start == Py_None && slice->stop == Py_None && slice->step == Py_None) {
        return Array(kx::kxCreateColon());
    }
    py::ssize_t start = 0;
    py::ssize_t stop = 0;
    py::ssize_t step = 0;
    if (PySlice_Unpack(key.ptr(), &start, &stop, &step) < 0) {
        throw py::error_already_set();
    }
    const py::ssize_t count = PySlice_AdjustIndices(axis.extent(), &start, &stop, step);
    if (count == 0) {
        return Array(kx::kxCreateColonObject(1, 1, 0));
    }
    const auto first = static_cast<double>(start + 1);
    const auto stride = static_cast<double>(step);
    return Array(kx::kxCreateColonObject(first, stride, first + stride * static_cast<double>(count - 1)));
}

void requireMaskShape(py::ssize_t rows, py::ssize_t columns, const Axis& axis)
{
    const bool isVector = (rows == 1 || columns == 1) && rows * columns == axis.extent();
    if (!isVector && !(rows == axis.rows && columns == axis.columns)) {
        throw py::index_error("a mask of shape (" + std::to_string(rows) + ", " + std::to_string(columns) +
                              ") does not fit an extent of " + std::to_string(axis.extent()));
    }
}

Operand fromMask(const py::array& key, const Axis& axis)
{
    const py::array_t<bool, py::array::f_style | py::array::forcecast> mask(key);
    if (mask.ndim() == 0 || mask.ndim() > 2) {
        throw py::index_error("a mask has one or two dimensions");
    }
    const py::ssize_t rows = mask.ndim() == 1 ? 1 : mask.shape(0);
    const py::ssize_t columns = mask.shape(mask.ndim() - 1);
    requireMaskShape(rows, columns, axis);
    const unsigned none[2] = {0, 0};
    return lend(Array(kx::kxCreateNumericArray(2, none, kxLOGICAL_CLASS, kxREAL)), sizeOf(rows), sizeOf(columns),
                mask.data(), mask);
}

Operand fromSparseMask(const py::object& key, const Axis& axis)
{
    if (py::dtype(key.attr("dtype")).kind() != 'b') {
        throw py::index_error("a sparse subscript must be a mask, of dtype bool");
    }
    const auto shape = key.attr("shape").cast<std::pair<py::ssize_t, py::ssize_t>>();
    requireMaskShape(shape.first, shape.second, axis);
    return fromScipy(key, true).operand; // every stored entry of a sparse mask selects
}

/// Integer: the widest type of the same signedness.
template <typename Integer>
Array fromIndices(const py::array& key, const Axis& axis)
{
    const py::array_t<Integer, py::array::f_style | py::array::forcecast> indices(key);
    if (indices.ndim() > 2) {
        throw py::index_error("an array of indices has at most two dimensions");
    }
    const py::ssize_t rows = indices.ndim() < 2 ? 1 : indices.shape(0);
    const py::ssize_t columns = indices.ndim() == 0 ? 1 : indices.shape(indices.ndim() - 1);
    Array array(kx::kxCreateDoubleMatrix(sizeOf(rows), sizeOf(columns), kxREAL));
    auto* to = static_cast<double*>(array->pr);
    const Integer* from = indices.data();
    for (py::ssize_t k = 0; k < indices.size(); ++k) {
        to[k] = oneBased(from[k], axis);
    }
    return array;
}

} // namespace

bool isInteger(const py::handle& key)
{
    return PyIndex_Check(key.ptr()) != 0 && !PyBool_Check(key.ptr()) && !py::isinstance<py::array>(key);
}

Operand subscript(const py::object& key, const Axis& axis)
{
    if (isInteger(key)) {
        return {fromInteger(key, axis), py::none()};
    }
    if (py::isinstance<py::slice>(key)) {
        return {fromSlice(key, axis), py::none()};
    }
    if (isScipySparse(key)) {
        return fromSparseMask(key, axis);
    }
    const py::array array = py::module_::import("numpy").attr("asarray")(key);
    switch (array.dtype().kind()) {
    case 'b':
        return fromMask(array, axis);
    case 'u':
        return {fromIndices<std::uint64_t>(array, axis), py::none()};
    case 'i':
        return {fromIndices<std::int64_t>(array, axis), py::none()};
    default:
        if (array.size() == 0) { // such as []
            return {fromIndices<std::int64_t>(array, axis), py::none()};
        }
        throw py::index_error("a subscript is an integer, a slice, a mask, or an array of integers");
    }
}

} // namespace zqsp::python
