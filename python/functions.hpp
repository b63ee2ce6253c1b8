// Subscripts on SciPy's own matrices, which stay SciPy's.
#ifndef ZQSP_PYTHON_FUNCTIONS_HPP
#define ZQSP_PYTHON_FUNCTIONS_HPP

#include "arrays.hpp"

namespace zqsp::python {

/// Each takes a matrix in compressed columns or rows, and gives NotImplemented for what it does not serve: another
/// format, entries out of order, what NumPy gives one dimension, pairs beyond what one subscript can name.

/// C[key].
py::object getItem(const py::object& matrix, const py::object& key);
/// A new matrix: C after C[key] = value. With `grow`, it may become larger.
py::object setItem(const py::object& matrix, const py::object& key, const py::object& value, bool grow);
/// A new matrix without the rows or columns.
py::object deleted(const py::object& matrix, const py::object& key);
/// A new matrix, counted down the columns or along the rows.
py::object reshaped(const py::object& matrix, std::pair<py::ssize_t, py::ssize_t> shape, bool byColumns);

/// C[key], where that is a matter of this package alone; NotImplemented also for keys that raise, and for arrays that
/// would have to be converted.
py::object tryGetItem(const py::object& matrix, const py::object& key);
/// C[key] = value, changing the matrix; likewise. Few stored elements are written where they are.
py::object trySetItem(const py::object& matrix, const py::object& key, const py::object& value);

/// How many of these calls were answered here.
unsigned long answeredCalls();

} // namespace zqsp::python

#endif
