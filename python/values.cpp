#include "values.hpp"

#include "scipy.hpp"
#include "subscripts.hpp"

#include <pybind11/stl.h>
#include <zqspmatrix.h>

#include <algorithm>
#include <string>
#include <utility>

namespace zqsp::python {
namespace {

using namespace py::literals;

py::object numpy(const char* name)
{
    return py::module_::import("numpy").attr(name);
}

py::array asArray(const py::object& value, const py::dtype& dtype, const char* order)
{
    static const auto* asarray = new py::object(numpy("asarray"));
    return (*asarray)(value, dtype, order);
}

/// Numbers for the values that are not zero.
Array numberedArray(const py::array& values, unsigned m, unsigned n, std::size_t already)
{
    Array array = newWords(m, n);
    const py::array_t<bool, py::array::f_style | py::array::forcecast> stored(values.attr("__ne__")(0));
    const bool* isStored = stored.data();
    for (py::ssize_t k = 0, size = values.size(); k < size; ++k) {
        wordsOf(array)[k] = isStored[k] ? static_cast<unsigned>(already + static_cast<std::size_t>(k)) + 1U : 0U;
    }
    return array;
}

/// A full array of contiguous values.
Values fullValues(const py::array& values, py::ssize_t m, py::ssize_t n, const Elements& elements, std::size_t already)
{
    if (elements.numbered) {
        const py::array row = values.attr("reshape")(-1, "order"_a = "A");
        return {numberedArray(row, sizeOf(m), sizeOf(n), already), row};
    }
    const unsigned dims[2] = {sizeOf(m), sizeOf(n)};
    Array array(kx::kxCreateNumericArray(2, dims, elements.id, elements.complexity));
    storeValues(values.data(), static_cast<std::size_t>(values.size()), elements, array.get());
    return {std::move(array), {}};
}

std::vector<py::ssize_t> squeezed(std::vector<py::ssize_t> shape)
{
    std::erase(shape, 1);
    return shape;
}

/// Values of the selection's shape, in the order of the stored columns.
py::array arranged(const py::array& values, const Selection& selection, const char* order)
{
    std::vector<py::ssize_t> shape{selection.rows, selection.columns};
    if (selection.flat) {
        shape.erase(shape.begin());
    }
    const std::vector<py::ssize_t> given(values.shape(), values.shape() + values.ndim());
    if (given == shape) {
        return values;
    }
    const py::tuple wanted = py::cast(shape);
    py::object made = values;
    if (squeezed(given) != squeezed(shape)) {
        made = numpy("broadcast_to")(values, wanted);
    }
    return numpy("asarray")(made.attr("reshape")(wanted), "order"_a = order);
}

/// Lists that repeat one of `from` as often as `to` says.
Array repeated(py::ssize_t from, py::ssize_t to)
{
    if (from == to) {
        return Array(kx::kxCreateColon());
    }
    Array ones = newWords(1, to);
    std::fill_n(wordsOf(ones), to, 1U);
    return ones;
}

/// In compressed columns or rows, of the target's type, in order.
Compressed sparseLike(const py::object& value, const Elements& elements, bool byRows)
{
    py::object made = value.attr("astype")(elements.dtype);
    made = made.attr(byRows ? "tocsr" : "tocsc")();
    auto source = compressed(made);
    if (!isCanonical(*source)) {
        made = made.attr("copy")();
        made.attr("sum_duplicates")();
        source = compressed(made);
    }
    return std::move(*source);
}

std::optional<Values> sparseValues(const py::object& value, const Selection& selection, const Elements& elements,
                                   bool byRows, std::size_t already)
{
    const auto [rows, columns] = value.attr("shape").cast<std::pair<py::ssize_t, py::ssize_t>>();
    const auto fits = [](py::ssize_t given, py::ssize_t wanted) { return given == wanted || given == 1; };
    if (!fits(rows, selection.rows) || !fits(columns, selection.columns)) {
        throw py::value_error("a matrix of shape " + shapeText(rows, columns) +
                              " cannot be assigned to elements of shape " +
                              shapeText(selection.rows, selection.columns));
    }
    if (selection.rows == 0 || selection.columns == 0) {
        return {};
    }
    const Compressed source = sparseLike(value, elements, byRows);
    Values made{ownedArray(source, elements), source.data};
    if (elements.numbered) {
        auto* numbers = static_cast<unsigned*>(made.array->pr);
        std::for_each_n(numbers, entriesOf(made.array.get()),
                        [&](unsigned& number) { number += static_cast<unsigned>(already); });
    }
    const bool single = rows == 1 && columns == 1;
    if (!single && (rows != selection.rows || columns != selection.columns)) {
        Array rowList = repeated(rows, selection.rows);
        Array columnList = repeated(columns, selection.columns);
        if (byRows) {
            std::swap(rowList, columnList);
        }
        kxArray* spread = nullptr;
        kxHandleSparseSubscriptError(spRef6(made.array.get(), rowList.get(), columnList.get(), &spread));
        made.array = Array(spread);
    }
    return made;
}

} // namespace

std::optional<Values> valuesFor(const py::object& value, const Selection& selection, const Elements& elements,
                                bool byRows, std::size_t already)
{
    if (PyFloat_Check(value.ptr()) && elements.id == kxDOUBLE_CLASS && elements.complexity == kxREAL) {
        if (selection.rows * selection.columns == 0) {
            return {};
        }
        Values made{Array(kx::kxCreateDoubleMatrix(1, 1, kxREAL)), {}};
        *static_cast<double*>(made.array->pr) = PyFloat_AS_DOUBLE(value.ptr());
        return made;
    }
    const bool element = selection.form == Selection::Form::element;
    if (!element && isScipySparse(value)) {
        return sparseValues(value, selection, elements, byRows, already);
    }
    const py::array dense = denseValues(value, selection, elements.dtype, byRows);
    if (selection.rows * selection.columns == 0 || dense.size() == 0) {
        return {};
    }
    const bool single = dense.size() == 1;
    return fullValues(dense,
                      single   ? 1
                      : byRows ? selection.columns
                               : selection.rows,
                      single   ? 1
                      : byRows ? selection.rows
                               : selection.columns,
                      elements, already);
}

py::array denseValues(const py::object& value, const Selection& selection, const py::dtype& dtype, bool byRows)
{
    const char* order = byRows ? "C" : "F";
    const py::array values = asArray(value, dtype, order);
    if (selection.form == Selection::Form::element && values.size() != 1) {
        throw py::value_error("one element cannot be assigned " + std::to_string(values.size()) + " values");
    }
    return values.size() == 1 && values.ndim() <= 2 ? values : arranged(values, selection, order);
}

Array languageValues(const py::object& value, const Elements& elements)
{
    const auto requireFits = [&](const py::dtype& dtype) {
        const bool complex = dtype.kind() == 'c';
        const bool real = std::string("biuf").find(dtype.kind()) != std::string::npos;
        if (!(real || (complex && elements.complexity == kxCOMPLEX))) {
            throw py::type_error("values of type " + text(dtype) + " cannot be stored as " + text(elements.dtype));
        }
    };
    if (isScipySparse(value)) {
        requireFits(value.attr("dtype"));
        return ownedArray(sparseLike(value, elements, false), elements);
    }
    static const auto* asarray = new py::object(numpy("asarray"));
    const py::array given = (*asarray)(value);
    requireFits(given.dtype());
    if (given.ndim() > 2) {
        throw py::value_error("values to be assigned have up to two dimensions, not " + std::to_string(given.ndim()));
    }
    const py::array values = asArray(given, elements.dtype, "F");
    return fullValues(values, values.ndim() < 2 ? 1 : values.shape(0),
                      values.ndim() == 0 ? 1 : values.shape(values.ndim() - 1), elements, 0)
        .array;
}

} // namespace zqsp::python
