#include "subscripts.hpp"

#include "elements.hpp"
#include "scipy.hpp"

#include <cstring>
#include <utility>

namespace zqsp::python {
namespace {

Array scalar(std::int64_t oneBased)
{
    Array array(kx::kxCreateDoubleMatrix(1, 1, kxREAL));
    *static_cast<double*>(array->pr) = static_cast<double>(oneBased);
    return array;
}

bool isWhole(const Index& index, std::int64_t extent)
{
    return index.kind == Index::Kind::range && index.first == 0 && index.step == 1 && index.count == extent;
}

Array rangeOf(const Index& index)
{
    if (index.count == 0) {
        return Array(kx::kxCreateColonObject(1, 1, 0));
    }
    const auto first = static_cast<double>(index.first + 1);
    const auto step = static_cast<double>(index.step);
    return Array(kx::kxCreateColonObject(first, step, first + step * static_cast<double>(index.count - 1)));
}

/// The bare colon where all of a dimension is named by a slice.
Array subscriptOf(Index&& index, std::int64_t extent)
{
    switch (index.kind) {
    case Index::Kind::integer:
        return scalar(index.first + 1);
    case Index::Kind::range:
        return isWhole(index, extent) ? Array(kx::kxCreateColon()) : rangeOf(index);
    default:
        return std::move(index.words);
    }
}

/// The places of pairs, counted down stored columns. An array stored by rows takes them in the transposed shape, so
/// that what comes out is stored by rows too.
Array placesOf(const Selection& selection, unsigned storedRows, bool byRows)
{
    const unsigned* rows = wordsOf(selection.row.words);
    const unsigned* columns = wordsOf(selection.column.words);
    const bool asColumn = selection.flat && !byRows;
    const py::ssize_t count = selection.rows * selection.columns;
    Array places =
        asColumn ? newWords(count, 1)
                 : newWords(byRows ? selection.columns : selection.rows, byRows ? selection.rows : selection.columns);
    // How far the next row and the next column of the selection lie in each list; 0 where it is broadcast.
    const auto stepsOf = [](const Index& index) {
        return std::pair{index.rows == 1 ? 0 : index.columns(), py::ssize_t{index.columns() == 1 ? 0 : 1}};
    };
    const std::pair rowSteps = stepsOf(selection.row);
    const std::pair columnSteps = stepsOf(selection.column);
    unsigned* to = wordsOf(places);
    const auto place = [=](unsigned row, unsigned column) {
        return byRows ? column + (row - 1) * storedRows : row + (column - 1) * storedRows;
    };
    if (selection.rows == 1 && rowSteps.second == 1 && columnSteps.second == 1) { // list by list
        for (py::ssize_t j = 0; j < count; ++j) {
            to[j] = place(rows[j], columns[j]);
        }
        return places;
    }
    const auto placeAt = [&](py::ssize_t i, py::ssize_t j) {
        return place(rows[i * rowSteps.first + j * rowSteps.second],
                     columns[i * columnSteps.first + j * columnSteps.second]);
    };
    if (byRows) {
        for (py::ssize_t i = 0; i < selection.rows; ++i) {
            for (py::ssize_t j = 0; j < selection.columns; ++j) {
                *to++ = placeAt(i, j);
            }
        }
    } else {
        for (py::ssize_t j = 0; j < selection.columns; ++j) {
            for (py::ssize_t i = 0; i < selection.rows; ++i) {
                *to++ = placeAt(i, j);
            }
        }
    }
    return places;
}

// ---- The matrix language's forms ----

void requireMaskShape(py::ssize_t rows, py::ssize_t columns, const Axis& axis)
{
    const bool isVector = rows == 1 || columns == 1;
    const bool isMatrix = rows == axis.rows && columns == axis.columns;
    if (rows * columns != axis.extent || !(isVector || isMatrix)) {
        throw py::index_error("a mask of shape " + shapeText(rows, columns) + " does not fit the " +
                              std::to_string(axis.extent) + " " + axis.name + "s of a matrix of shape " +
                              shapeText(axis.rows, axis.columns));
    }
}

Array maskOf(const py::array& key, const Axis& axis)
{
    const py::array_t<bool, py::array::f_style | py::array::forcecast> mask(key);
    if (mask.ndim() == 0 || mask.ndim() > 2) {
        throw py::index_error("a mask has one or two dimensions, not " + std::to_string(mask.ndim()));
    }
    const py::ssize_t rows = mask.ndim() == 1 ? 1 : mask.shape(0);
    const py::ssize_t columns = mask.shape(mask.ndim() - 1);
    requireMaskShape(rows, columns, axis);
    const unsigned dims[2] = {sizeOf(rows), sizeOf(columns)};
    Array array(kx::kxCreateNumericArray(2, dims, kxLOGICAL_CLASS, kxREAL));
    const auto* from = reinterpret_cast<const unsigned char*>(mask.data());
    auto* to = static_cast<unsigned char*>(array->pr);
    for (py::ssize_t k = 0, size = mask.size(); k < size; ++k) {
        to[k] = from[k] != 0 ? 1 : 0; // NumPy takes any byte for true
    }
    return array;
}

/// Every stored entry of a sparse mask selects, so entries that are False go first.
Array sparseMaskOf(const py::object& key, const Axis& axis)
{
    if (py::dtype(key.attr("dtype")).kind() != 'b') {
        throw py::index_error("a sparse subscript must be a mask, of dtype bool");
    }
    const auto shape = key.attr("shape").cast<std::pair<py::ssize_t, py::ssize_t>>();
    requireMaskShape(shape.first, shape.second, axis);
    py::object mask = key.attr("tocsc")();
    if (mask.is(key)) {
        mask = key.attr("copy")();
    }
    mask.attr("eliminate_zeros")();
    return ownedArray(canonical(std::move(mask)), elementsOf(py::dtype::of<bool>()));
}

/// The shape of an array of indices, in the order of its columns.
Array shaped(Index&& index)
{
    const py::ssize_t columns = index.columns();
    Array array = newWords(index.rows, columns);
    unsigned* to = wordsOf(array);
    for (py::ssize_t j = 0; j < columns; ++j) {
        for (py::ssize_t i = 0; i < index.rows; ++i) {
            *to++ = wordsOf(index.words)[i * columns + j];
        }
    }
    return array;
}

bool isInteger(const py::handle& key)
{
    const bool isList = py::isinstance<py::array>(key) && py::reinterpret_borrow<py::array>(key).ndim() != 0;
    return PyIndex_Check(key.ptr()) != 0 && !isList;
}

Array languageSubscript(const py::object& key, const Axis& axis)
{
    if (isScipySparse(key)) {
        return sparseMaskOf(key, axis);
    }
    const bool plain = PyIndex_Check(key.ptr()) != 0 || PySlice_Check(key.ptr());
    if (!plain || py::isinstance<py::array>(key)) {
        const py::array array = py::array::ensure(key);
        if (array && array.dtype().kind() == 'b' && array.ndim() != 0) {
            return maskOf(array, axis);
        }
        PyErr_Clear();
    }
    Index index = indexOf(key, axis);
    if (index.kind == Index::Kind::range) { // a slice that happens to name everything is a row
        return index.bare ? Array(kx::kxCreateColon()) : rangeOf(index);
    }
    return index.dimensions == 2 ? shaped(std::move(index)) : subscriptOf(std::move(index), axis.extent);
}

} // namespace

bool countable(py::ssize_t rows, py::ssize_t columns)
{
    const auto most = static_cast<py::ssize_t>(kx::kxGetMaxNumberOfElements());
    return rows == 0 || columns <= most / rows;
}

Subscripts subscriptsOf(Selection&& selection, unsigned storedRows, bool byRows)
{
    if (selection.form == Selection::Form::pairs) {
        return {placesOf(selection, storedRows, byRows), {}, false};
    }
    Array row = subscriptOf(std::move(selection.row), selection.extents.first);
    Array column = subscriptOf(std::move(selection.column), selection.extents.second);
    if (byRows) {
        std::swap(row, column);
    }
    return {std::move(row), std::move(column), false};
}

Subscripts regionSubscripts(const py::object& key, py::ssize_t rows, py::ssize_t columns, Use use)
{
    if (!PyTuple_Check(key.ptr()) || PyTuple_GET_SIZE(key.ptr()) != 2) {
        throw py::index_error("a region has two subscripts, as in M.region[rows, columns]");
    }
    const auto keys = py::reinterpret_borrow<py::tuple>(key);
    return {languageSubscript(keys[0], {"row", rows, rows, columns, use}),
            languageSubscript(keys[1], {"column", columns, rows, columns, use}),
            isInteger(keys[0]) && isInteger(keys[1])};
}

Subscripts elementSubscripts(const py::object& key, py::ssize_t rows, py::ssize_t columns, Use use)
{
    if (PyTuple_Check(key.ptr())) {
        throw py::index_error("elements have one subscript, as in M.elements[places]");
    }
    if (!countable(rows, columns)) {
        throw py::index_error("the elements of a matrix of shape " + shapeText(rows, columns) +
                              " are too many for one subscript; use M[rows, columns] or M.region");
    }
    const std::int64_t elements = std::int64_t{rows} * columns;
    return {languageSubscript(key, {"element", elements, rows, columns, use}), {}, isInteger(key)};
}

} // namespace zqsp::python
