// The Python module zqspmatrix: its one class, its documentation, and errors as Python's exceptions.
#include "matrix.hpp"

#include <pybind11/stl.h>
#include <zqspmatrix.h>

#include <string>

namespace zqsp::python {
namespace {

constexpr const char* kModuleDoc =
    R"(Subscripted reference, assignment, deletion and reshape of sparse matrices in compressed columns.)";

constexpr const char* kClassDoc = R"(A sparse matrix of float64, complex128 or bool, made of a SciPy sparse matrix.

    >>> S = Matrix(scipy.sparse.csc_matrix([[1., 0, 2], [0, 3, 0]]))

S stands on the arrays of a csc_matrix with sorted 32-bit indices as they are (complex values are copied, and so is
anything else); they are copied before S is changed for the first time, and S never changes the SciPy matrix. Until
then, what changes the arrays from outside changes S. tocsc() likewise hands its arrays to NumPy without a copy.

Subscripts are 0-based: integers, slices, boolean masks (NumPy, SciPy), arrays of integers, in any order, with
repeats; negative ones count from the end.

    S[i, j]     rows i and columns j. Two arrays select a region, as with numpy.ix_, and not single elements
    S[k]        elements, counted down the columns (NumPy's order 'F'); a row is S[i, :]
    S[:]        all elements as one column

With integers alone, the value is a number, else a Matrix of two dimensions. One subscript gives its own shape, one
dimension being a row; but a vector of a vector keeps its direction, and a mask of two dimensions gives a column.

    S[i, j] = B, S[k] = B     B is a number, or has the shape selected (a vector: its length). The last of repeated
                              subscripts wins. The dtype of S stays: complex values into a real S are a TypeError
    del S[:, j], del S[i, :]  columns, rows; the other subscript must be the bare colon
    del S[k]                  elements; what is no column becomes a row
    S.shape = m, n            reshape in place, counted down the columns

Nothing outside the shape is assigned: that is an IndexError, as in SciPy. To let S grow, use assign().

An error leaves S as it was: IndexError (a subscript), ValueError (a shape or size), TypeError (a type), MemoryError.)";

constexpr const char* kAssignDoc = R"(S.assign((i, j), B) is S[i, j] = B; S.assign(k, B) is S[k] = B.

With grow=True, integers and arrays of integers may lie outside the shape, and S grows to cover them (by a single
subscript only if it is a vector or empty). Slices are still clipped to the shape; the bare colon of a 0-by-0 S takes its
length from B.)";

std::string repr(const Matrix& matrix)
{
    const auto [m, n] = matrix.shape();
    return "<Matrix of " + text(matrix.dtype()) + ", " + std::to_string(m) + "-by-" + std::to_string(n) + ", " +
           std::to_string(matrix.entries()) + " stored>";
}

/// The exception that tells a Python user the kind of the runtime's error.
PyObject* exceptionFor(const std::string& identifier)
{
    if (identifier == "kx:outOfMemory") {
        return PyExc_MemoryError;
    }
    for (const char* kind :
         {"kx:subscript:", ":index_to_remove_exceeds_matrix_dimensions", ":pmaxsize", "kx:sizeLimit"}) {
        if (identifier.find(kind) != std::string::npos) {
            return PyExc_IndexError;
        }
    }
    return PyExc_ValueError;
}

void translateErrors(std::exception_ptr thrown)
{
    try {
        std::rethrow_exception(std::move(thrown));
    } catch (const kxrt::Error& error) {
        PyErr_SetString(exceptionFor(error.identifier()), error.what());
    }
}

} // namespace
} // namespace zqsp::python

PYBIND11_MODULE(zqspmatrix, module)
{
    using namespace zqsp::python;
    module.doc() = kModuleDoc;
    module.attr("__version__") = libzqspmatrix_version;
    py::register_local_exception_translator(translateErrors);

    py::class_<Matrix>(module, "Matrix", kClassDoc)
        .def(py::init<const py::object&>(), py::arg("source"))
        .def_property("shape", &Matrix::shape, &Matrix::reshape, "(rows, columns); assigning reshapes in place.")
        .def_property_readonly("dtype", &Matrix::dtype, "float64, complex128 or bool; it never changes.")
        .def_property_readonly("nnz", &Matrix::entries, "The number of stored elements.")
        .def("__getitem__", &Matrix::get)
        .def("__setitem__", [](Matrix& matrix, const py::object& key,
                               const py::object& value) { matrix.assign(key, value, Use::writing); })
        .def("__delitem__", &Matrix::remove)
        .def(
            "assign",
            [](Matrix& matrix, const py::object& key, const py::object& value, bool grow) {
                matrix.assign(key, value, grow ? Use::growing : Use::writing);
            },
            py::arg("key"), py::arg("value"), py::arg("grow") = false, kAssignDoc)
        .def(
            "reshape",
            [](const Matrix& matrix, py::ssize_t rows, py::ssize_t columns) {
                Matrix made = matrix.copy();
                made.reshape({rows, columns});
                return made;
            },
            py::arg("rows"), py::arg("columns"), "A new matrix of this shape, counted down the columns.")
        .def("copy", &Matrix::copy, "A matrix of its own.")
        .def("tocsc", &Matrix::toScipy,
             "A csc_matrix on the arrays of this one, which are copied before this one changes (complex: a copy).")
        .def(
            "toarray", [](const Matrix& matrix) { return matrix.toScipy().attr("toarray")(); },
            "A NumPy array of all elements.")
        .def("__repr__", &repr);
}
