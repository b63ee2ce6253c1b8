// The library's calls, chosen by the subscripts at hand. They run without the interpreter's lock where there is much to
// move; errors of the library come as the runtime's.
#ifndef ZQSP_PYTHON_OPERATIONS_HPP
#define ZQSP_PYTHON_OPERATIONS_HPP

#include "subscripts.hpp"

namespace zqsp::python {

/// A new array. The subscript of elements gives its shape.
Array reference(const kxArray* array, const Subscripts& subscripts);
/// In place; the array shares no block. It grows where the subscripts ask for it.
void assign(kxArray* array, const kxArray* values, const Subscripts& subscripts);
/// Makes the array at least m-by-n.
void growTo(kxArray* array, unsigned m, unsigned n);
/// In place: elements, or all columns or rows that are named while the other subscript is the colon. ValueError for
/// other regions.
void erase(kxArray* array, const Subscripts& subscripts);
/// What `del` of a selection takes away, made subscripts: rows, where all columns are named, or columns. ValueError for
/// anything else.
Subscripts erasedBy(Selection&& selection, unsigned storedRows, bool byRows);
/// In place, counted down the stored columns; ValueError for another number of elements.
void reshape(kxArray* array, py::ssize_t m, py::ssize_t n);

} // namespace zqsp::python

#endif
