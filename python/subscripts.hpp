// Subscripts as the library takes them: made of a selection, or of the matrix language's own forms.
#ifndef ZQSP_PYTHON_SUBSCRIPTS_HPP
#define ZQSP_PYTHON_SUBSCRIPTS_HPP

#include "keys.hpp"

namespace zqsp::python {

/// One subscript for the elements, counted down the stored columns, or one each for stored rows and columns.
struct Subscripts
{
    Array first;
    Array second;        ///< empty where there is one only
    bool single = false; ///< an element is named, by integers alone; of the matrix language's forms only
};

/// Of a matrix with `storedRows` rows as it lies in memory; `byRows` when that is the transpose of what was selected
/// from. Pairs need an array whose elements can all be counted, see countable().
Subscripts subscriptsOf(Selection&& selection, unsigned storedRows, bool byRows);

/// Whether the elements of a matrix can be told apart by one subscript.
bool countable(py::ssize_t rows, py::ssize_t columns);

/// M.region[key]: two subscripts, each of one dimension.
Subscripts regionSubscripts(const py::object& key, py::ssize_t rows, py::ssize_t columns, Use use);
/// M.elements[key]: one subscript, whose shape counts.
Subscripts elementSubscripts(const py::object& key, py::ssize_t rows, py::ssize_t columns, Use use);

} // namespace zqsp::python

#endif
