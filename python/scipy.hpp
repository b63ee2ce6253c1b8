// What crosses the border to NumPy and SciPy: whole matrices, and right-hand sides.
#ifndef ZQSP_PYTHON_SCIPY_HPP
#define ZQSP_PYTHON_SCIPY_HPP

#include "arrays.hpp"

namespace zqsp::python {

/// The element types a Matrix may have: float64, complex128, bool.
enum class Storage
{
    real,
    complex,
    logical
};

py::dtype dtypeOf(Storage storage);

bool isScipySparse(const py::handle& object);

/// A SciPy matrix of any format, seen as a runtime array: on its own blocks where it is in compressed columns with
/// ascending rows and 32-bit indices, and not complex. `withoutZeros`: explicit zeros are dropped (from a copy).
/// TypeError for other element types, ValueError for broken matrices.
struct Seen
{
    Operand operand;
    Storage storage;
};
Seen fromScipy(const py::object& source, bool withoutZeros = false);

/// A csc_matrix. Its arrays hold the blocks of `array`, or are those that were lent (complex values are copied).
py::object toScipy(const kxArray* array, Storage storage, const py::object& lender);

/// The right-hand side of an assignment into a matrix of this storage, on blocks of its own: a number, an array of up
/// to two dimensions (of one: a row), or a SciPy matrix. TypeError where complex or other values do not fit.
Array rightSide(const py::object& value, Storage storage);

} // namespace zqsp::python

#endif
