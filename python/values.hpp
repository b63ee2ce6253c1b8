// Right-hand sides of assignments.
#ifndef ZQSP_PYTHON_VALUES_HPP
#define ZQSP_PYTHON_VALUES_HPP

#include "elements.hpp"
#include "keys.hpp"

#include <optional>

namespace zqsp::python {

/// Values on blocks of their own, of the target's class.
struct Values
{
    Array array;
    py::array numbered; ///< what numbers above those of the target's entries stand for
};

/// A right-hand side by SciPy's rules: a number, an array or sequence that can be broadcast to the selection, or a
/// sparse matrix of its shape, or with one row or column that is repeated. Values are converted to the target's type as
/// numpy.asarray() does it. `already`: how many values the target has, for numbers. Nothing where nothing is selected.
/// ValueError for other shapes, TypeError for other values.
std::optional<Values> valuesFor(const py::object& value, const Selection& selection, const Elements& elements,
                                bool byRows, std::size_t already);

/// The same of what is not sparse: one value, or as many as are selected, in the order of the stored columns.
py::array denseValues(const py::object& value, const Selection& selection, const py::dtype& dtype, bool byRows);

/// A right-hand side of the matrix language's forms: a number, an array of up to two dimensions (one: a row), a sparse
/// matrix. TypeError where complex values would lose a part.
Array languageValues(const py::object& value, const Elements& elements);

} // namespace zqsp::python

#endif
