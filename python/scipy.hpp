// What crosses the border to SciPy: matrices in compressed columns or rows, in and out.
#ifndef ZQSP_PYTHON_SCIPY_HPP
#define ZQSP_PYTHON_SCIPY_HPP

#include "elements.hpp"

#include <optional>

namespace zqsp::python {

/// The arrays of a SciPy matrix in compressed columns, or in compressed rows, which are the columns of its transpose.
struct Compressed
{
    py::object matrix;
    py::array data;
    py::array indices;
    py::array starts;
    py::ssize_t rows = 0;
    py::ssize_t columns = 0;
    bool byRows = false;

    /// Of the array that lies in memory.
    [[nodiscard]] py::ssize_t storedRows() const { return byRows ? columns : rows; }
    [[nodiscard]] py::ssize_t storedColumns() const { return byRows ? rows : columns; }
    [[nodiscard]] py::ssize_t entries() const;
};

/// Nothing for another format, and for what is no matrix of SciPy.
std::optional<Compressed> compressed(const py::object& matrix);
/// compressed() of what `tocsc` makes of a SciPy matrix, arrays found sound, entries sorted and no element stored twice
/// (in a copy where need be). ValueError for broken arrays, which are not shown to SciPy's own code before. Cost: a
/// pass.
Compressed canonical(const py::object& matrix);
/// Whether the entries are in order and no element is stored twice, as SciPy's own mark says. Where there is none yet,
/// one pass decides and leaves the mark. ValueError for broken arrays that this pass meets.
bool isCanonical(const Compressed& source);

/// The arrays without a copy, where they are contiguous and the indices are 32-bit words; a copy of them else. Numbered
/// elements get numbers for values. Only the ends of the column starts are looked at: ValueError where they do not fit.
/// `elements` of complexity get no values yet.
Operand lentArray(const Compressed& source, const Elements& elements);
/// An array with blocks of its own. Numbered elements and complex ones included; no checks but those of lentArray().
Array ownedArray(const Compressed& source, const Elements& elements);
/// The same, with room for and check of what comes from anywhere, in one pass: nothing, where entries are out of order
/// or stored twice (see canonical()); ValueError for broken arrays.
std::optional<Array> checkedArray(const Compressed& source, const Elements& elements);
/// ValueError for what canonical() would not give; no copy.
void requireSound(const kxArray* array);

/// A SciPy matrix of the class `type` and this shape on the blocks of a sparse array, which it owns from now on.
py::object toScipy(Array array, const Elements& elements, py::handle type, bool byRows, const py::array& numbered = {});
/// The same on arrays of NumPy, which are in order.
py::object scipyMatrix(py::handle type, py::ssize_t rows, py::ssize_t columns, const py::array& data,
                       const py::object& indices, const py::object& starts);
/// The elements of a row or column: of one dimension for SciPy's arrays, a numpy.matrix with one row for its matrices.
py::object denseRow(Array vector, const Elements& elements, bool forArray, const py::array& numbered = {});
/// Whether this is one of SciPy's array classes rather than one of its matrix classes.
bool isArrayType(py::handle type);
/// data, indices and starts on the blocks of an array.
struct Blocks
{
    py::array data;
    py::object indices;
    py::object starts;
};
Blocks blocksOf(Array array, const Elements& elements, const py::array& numbered = {});

} // namespace zqsp::python

#endif
