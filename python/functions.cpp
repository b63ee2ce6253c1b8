#include "functions.hpp"

#include "operations.hpp"
#include "scipy.hpp"
#include "values.hpp"

#include <algorithm>
#include <cstring>
#include <span>
#include <utility>
#include <vector>

namespace zqsp::python {
namespace {

unsigned long answered = 0;

py::object answer(py::object result)
{
    ++answered;
    return result;
}

py::object notImplemented()
{
    return py::reinterpret_borrow<py::object>(Py_NotImplemented);
}

/// Nothing where the matrix is not in compressed columns or rows, or not in order.
std::optional<Compressed> readable(const py::object& matrix)
{
    auto source = compressed(matrix);
    if (source && !isCanonical(*source)) {
        source.reset();
    }
    return source;
}

/// Whether the arrays can be lent as they are.
bool isLendable(const Compressed& source)
{
    using Words = py::array_t<std::int32_t, py::array::c_style>;
    return py::isinstance<Words>(source.indices) && py::isinstance<Words>(source.starts) &&
           (source.data.flags() & py::array::c_style) != 0;
}

py::object read(const Compressed& source, Selection&& selection)
{
    const Selection::Form form = selection.form;
    const py::handle type(reinterpret_cast<PyObject*>(Py_TYPE(source.matrix.ptr())));
    if ((form == Selection::Form::pairs && !countable(source.rows, source.columns)) ||
        (selection.dropsAxis && isArrayType(type))) {
        return notImplemented();
    }
    const auto [rows, columns] = std::pair{selection.rows, selection.columns};
    const bool flat = selection.flat && rows * columns != 0;
    const Elements elements = movableElements(source.data.dtype());
    const Operand lent = lentArray(source, elements);
    const Subscripts subscripts = subscriptsOf(std::move(selection), sizeOf(source.storedRows()), source.byRows);
    Array found = reference(lent.array.get(), subscripts);
    if (form == Selection::Form::element) {
        return scalarOf(found.get(), entriesOf(found.get()) != 0, elements, source.data);
    }
    if (form == Selection::Form::pairs) {
        if (flat) {
            return denseRow(std::move(found), elements, isArrayType(type), source.data);
        }
        reshape(found.get(), source.byRows ? columns : rows, source.byRows ? rows : columns);
    }
    return toScipy(std::move(found), elements, type, source.byRows, source.data);
}

/// What numbered entries stand for when those of the matrix come first.
py::array followedBy(const py::array& data, const py::array& values, const Elements& elements)
{
    if (!elements.numbered) {
        return {};
    }
    return py::module_::import("numpy").attr("concatenate")(py::make_tuple(data, values.attr("reshape")(-1)));
}

/// An array after an assignment, and what its numbers stand for. Nothing where the call is not served.
struct Written
{
    Array array;
    py::array numbered;
};
std::optional<Written> written(const Compressed& source, const Elements& elements, Selection&& selection,
                               const py::object& value)
{
    const auto already = static_cast<std::size_t>(source.data.size());
    const auto values = valuesFor(value, selection, elements, source.byRows, already);
    if (!values) {
        return Written{ownedArray(source, elements), source.data};
    }
    auto [rows, columns] = std::pair{source.rows, source.columns};
    const bool pairs = selection.form == Selection::Form::pairs;
    if (pairs) {
        std::tie(rows, columns) = grownShape(selection, rows, columns);
        if (!countable(rows, columns)) {
            return {};
        }
    }
    const unsigned m = sizeOf(source.byRows ? columns : rows);
    const unsigned n = sizeOf(source.byRows ? rows : columns);
    const Subscripts subscripts = subscriptsOf(std::move(selection), m, source.byRows);
    Array target = ownedArray(source, elements);
    if (pairs) {
        growTo(target.get(), m, n);
    }
    assign(target.get(), values->array.get(), subscripts);
    return Written{std::move(target), followedBy(source.data, values->numbered, elements)};
}

/// The entries at which the selected elements are stored, in the order of the stored columns; nothing if one of them is
/// not stored, or they are too many to be searched one by one.
std::optional<std::vector<unsigned>> storedPlaces(const Compressed& source, const Selection& selection)
{
    constexpr py::ssize_t kMost = 64;
    const auto flatIndex = [](const Index& index) { return index.dimensions < 2 && index.kind != Index::Kind::mask; };
    if (selection.rows * selection.columns > kMost || !flatIndex(selection.row) || !flatIndex(selection.column)) {
        return {};
    }
    const bool pairs = selection.form == Selection::Form::pairs;
    const auto valueAt = [](const Index& index, py::ssize_t k) {
        switch (index.kind) {
        case Index::Kind::integer:
            return index.first;
        case Index::Kind::range:
            return index.first + index.step * k;
        default:
            return std::int64_t{wordsOf(index.words)[index.count == 1 ? 0 : k]} - 1;
        }
    };
    const auto* starts = static_cast<const std::int32_t*>(source.starts.data());
    const auto* indices = static_cast<const std::int32_t*>(source.indices.data());
    const py::ssize_t outer = pairs ? 1 : source.byRows ? selection.rows : selection.columns;
    const py::ssize_t inner = pairs ? selection.columns : source.byRows ? selection.columns : selection.rows;
    std::vector<unsigned> places;
    for (py::ssize_t b = 0; b < outer; ++b) {
        for (py::ssize_t a = 0; a < inner; ++a) {
            const std::int64_t row = valueAt(selection.row, pairs ? a : source.byRows ? b : a);
            const std::int64_t column = valueAt(selection.column, pairs ? a : source.byRows ? a : b);
            const std::int64_t major = source.byRows ? row : column;
            const std::int64_t minor = source.byRows ? column : row;
            const auto* end = indices + starts[major + 1];
            const auto* found = std::lower_bound(indices + starts[major], end, minor);
            if (found == end || *found != minor) {
                return {};
            }
            places.push_back(static_cast<unsigned>(found - indices));
        }
    }
    return places;
}

/// The mask of `extent` elements that the words do not name.
Array allBut(const Array& words, unsigned extent)
{
    const unsigned dims[2] = {1, extent};
    Array mask(kx::kxCreateNumericArray(2, dims, kxLOGICAL_CLASS, kxREAL));
    auto* kept = static_cast<unsigned char*>(mask->pr);
    std::fill_n(kept, extent, static_cast<unsigned char>(1));
    for (const unsigned word : std::span(wordsOf(words), kx::kxGetNumberOfElements(words.get()))) {
        kept[word - 1] = 0;
    }
    return mask;
}

/// Values, or the one value, to entries.
void overwrite(py::array data, const std::vector<unsigned>& places, const py::array& values)
{
    const auto width = static_cast<std::size_t>(data.itemsize());
    auto* to = static_cast<std::byte*>(data.mutable_data());
    const auto* from = static_cast<const std::byte*>(values.data());
    const std::size_t step = values.size() == 1 ? 0 : width;
    for (const unsigned place : places) {
        std::memcpy(to + place * width, from, width);
        from += step;
    }
}

} // namespace

py::object getItem(const py::object& matrix, const py::object& key)
{
    const auto source = readable(matrix);
    return source ? answer(read(*source, selectionOf(key, source->rows, source->columns, Use::reading)))
                  : notImplemented();
}

py::object setItem(const py::object& matrix, const py::object& key, const py::object& value, bool grow)
{
    const auto source = readable(matrix);
    if (!source) {
        return notImplemented();
    }
    const Elements elements = movableElements(source->data.dtype());
    auto made = written(*source, elements,
                        selectionOf(key, source->rows, source->columns, grow ? Use::growing : Use::writing), value);
    if (!made) {
        return notImplemented();
    }
    return answer(toScipy(std::move(made->array), elements, py::type::of(matrix), source->byRows, made->numbered));
}

py::object deleted(const py::object& matrix, const py::object& key)
{
    const auto source = readable(matrix);
    if (!source) {
        return notImplemented();
    }
    const Elements elements = movableElements(source->data.dtype());
    Subscripts subscripts = erasedBy(selectionOf(key, source->rows, source->columns, Use::reading),
                                     sizeOf(source->storedRows()), source->byRows);
    Array target;
    if (subscripts.first->is_colon_index()) { // of stored columns, what stays is copied at once
        subscripts.second = allBut(subscripts.second, sizeOf(source->storedColumns()));
        const Operand lent = lentArray(*source, elements);
        target = reference(lent.array.get(), subscripts);
    } else {
        target = ownedArray(*source, elements);
        erase(target.get(), subscripts);
    }
    return answer(toScipy(std::move(target), elements, py::type::of(matrix), source->byRows, source->data));
}

py::object reshaped(const py::object& matrix, std::pair<py::ssize_t, py::ssize_t> shape, bool byColumns)
{
    const auto source = readable(matrix);
    if (!source) {
        return notImplemented();
    }
    const Elements elements = movableElements(source->data.dtype());
    const bool byRows = source->byRows;
    const bool turned = byColumns == byRows; // the stored order is the other one
    Array target = ownedArray(*source, elements);
    if (turned) {
        target = Array(kx::kxTranspose(target.get()));
    }
    const auto [rows, columns] = shape;
    const bool asRows = byRows != turned;
    reshape(target.get(), asRows ? columns : rows, asRows ? rows : columns);
    if (turned) {
        target = Array(kx::kxTranspose(target.get()));
    }
    return answer(toScipy(std::move(target), elements, py::type::of(matrix), byRows, source->data));
}

py::object tryGetItem(const py::object& matrix, const py::object& key)
{
    const auto source = compressed(matrix);
    if (!source || !isLendable(*source) || !isCanonical(*source)) {
        return notImplemented();
    }
    Selection selection = selectionOf(key, source->rows, source->columns, Use::reading);
    py::object result = read(*source, std::move(selection));
    return result.is(notImplemented()) ? result : answer(std::move(result));
}

py::object trySetItem(const py::object& matrix, const py::object& key, const py::object& value)
{
    const auto source = compressed(matrix);
    if (!source || !isLendable(*source) || !isCanonical(*source)) {
        return notImplemented();
    }
    const py::dtype dtype = source->data.dtype();
    Selection selection = selectionOf(key, source->rows, source->columns, Use::writing);
    if (!isScipySparse(value) && source->data.writeable()) {
        if (const auto places = storedPlaces(*source, selection)) {
            overwrite(source->data, *places, denseValues(value, selection, dtype, source->byRows));
            return answer(py::none());
        }
    }
    const Elements elements = movableElements(dtype);
    auto made = written(*source, elements, std::move(selection), value);
    if (!made) {
        return notImplemented();
    }
    const Blocks blocks = blocksOf(std::move(made->array), elements, made->numbered);
    py::setattr(matrix, "data", blocks.data);
    py::setattr(matrix, "indices", blocks.indices);
    py::setattr(matrix, "indptr", blocks.starts);
    return answer(py::none());
}

unsigned long answeredCalls()
{
    return answered;
}

} // namespace zqsp::python
