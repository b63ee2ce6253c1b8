#include "keys.hpp"

#include <algorithm>
#include <cstring>
#include <limits>
#include <type_traits>
#include <utility>

namespace zqsp::python {
namespace {

[[noreturn]] void raiseOutside(const std::string& value, const Axis& axis)
{
    throw py::index_error(std::string(axis.name) + " " + value + " is outside a matrix of shape " +
                          shapeText(axis.rows, axis.columns));
}

[[noreturn]] void raiseNoSubscript(const py::handle& key)
{
    throw py::index_error(
        text(py::repr(key)) +
        " is no subscript: integers, slices, masks and arrays of integers of up to two dimensions are");
}

/// What no index may reach.
std::int64_t reachOf(const Axis& axis)
{
    return axis.use == Use::growing ? std::int64_t{kx::kxGetMaxNumberOfElements()} : axis.extent;
}

/// From the front, 0-based.
std::int64_t inBounds(std::int64_t index, const Axis& axis)
{
    if (index >= reachOf(axis) || index < -axis.extent) {
        raiseOutside(std::to_string(index), axis);
    }
    return index < 0 ? index + axis.extent : index;
}

Index fromInteger(const py::object& key, const Axis& axis)
{
    const py::ssize_t value = PyNumber_AsSsize_t(key.ptr(), PyExc_IndexError);
    if (value == -1 && PyErr_Occurred() != nullptr) {
        PyErr_Clear();
        raiseOutside(text(key), axis);
    }
    Index index;
    index.first = inBounds(value, axis);
    return index;
}

Index fromSlice(const py::object& key, const Axis& axis)
{
    py::ssize_t start = 0;
    py::ssize_t stop = 0;
    py::ssize_t step = 0;
    if (PySlice_Unpack(key.ptr(), &start, &stop, &step) < 0) {
        throw py::error_already_set();
    }
    Index index;
    index.kind = Index::Kind::range;
    index.dimensions = 1;
    index.count = PySlice_AdjustIndices(axis.extent, &start, &stop, step);
    index.first = start;
    index.step = step;
    const auto* slice = reinterpret_cast<const PySliceObject*>(key.ptr());
    index.bare = slice->start == Py_None && slice->stop == Py_None && slice->step == Py_None;
    return index;
}

/// How many of the bytes, each 0 or 1, are 1: eight at a time, added up by a product in its highest byte.
py::ssize_t countSet(const unsigned char* bytes, py::ssize_t size)
{
    constexpr std::uint64_t kOnes = 0x0101010101010101U;
    py::ssize_t count = 0;
    py::ssize_t k = 0;
    for (; k + 8 <= size; k += 8) {
        std::uint64_t word = 0;
        std::memcpy(&word, bytes + k, 8);
        count += static_cast<py::ssize_t>((word * kOnes) >> 56U);
    }
    return count + std::count(bytes + k, bytes + size, 1);
}

/// The bytes are copied, as any byte but 0 counts as true, and as other threads may write to the mask meanwhile.
Index fromMask(const py::array& key, const Axis& axis)
{
    const py::array_t<bool, py::array::c_style | py::array::forcecast> mask(key);
    if (mask.ndim() != 1) {
        throw py::index_error("a mask of one dimension selects " + std::string(axis.name) + "s, not one of " +
                              std::to_string(mask.ndim()) + " dimensions");
    }
    Index index;
    index.kind = Index::Kind::mask;
    index.dimensions = 1;
    const py::ssize_t size = mask.size(); // a product, which the loops are not to form again at each byte
    const unsigned dims[2] = {1, sizeOf(std::max<py::ssize_t>(size, axis.extent))};
    index.words = Array(kx::kxCreateNumericArray(2, dims, kxLOGICAL_CLASS, kxREAL));
    auto* to = static_cast<unsigned char*>(index.words->pr);
    const auto* from = reinterpret_cast<const unsigned char*>(mask.data());
    for (py::ssize_t k = 0; k < size; ++k) {
        to[k] = from[k] != 0 ? 1 : 0;
    }
    index.count = countSet(to, size);
    for (py::ssize_t k = axis.extent; k < size; ++k) {
        if (to[k] != 0) {
            raiseOutside(std::to_string(k), axis);
        }
    }
    if (dims[1] != axis.extent) { // the trailing bytes are all unset
        const unsigned trimmed[2] = {1, static_cast<unsigned>(axis.extent)};
        kx::kxSetDimensions(index.words.get(), trimmed, 2);
    }
    return index;
}

/// One pass over what lies inside; another one only to name what does not.
template <typename Integer>
void storeWords(const Integer* values, py::ssize_t count, const Axis& axis, unsigned* to)
{
    using Unsigned = std::make_unsigned_t<Integer>;
    const auto extent = static_cast<Integer>(axis.extent);
    const auto limit = static_cast<Unsigned>(reachOf(axis));
    bool outside = false;
    for (py::ssize_t k = 0; k < count; ++k) {
        // What is still negative is large.
        const auto front = static_cast<Unsigned>(values[k] + (values[k] < 0 ? extent : 0));
        outside |= front >= limit;
        to[k] = static_cast<unsigned>(front) + 1U;
    }
    if (outside) {
        const auto [least, most] = std::minmax_element(values, values + count);
        inBounds(*least, axis);
        inBounds(*most, axis);
    }
}

Index fromIndices(const py::array& key, const Axis& axis)
{
    Index index;
    index.kind = Index::Kind::list;
    index.dimensions = static_cast<int>(key.ndim());
    index.count = key.size();
    index.rows = key.ndim() == 2 ? key.shape(0) : 1;
    index.width = key.shape(key.ndim() - 1);
    index.words = newWords(1, index.count);
    if (index.count == 0) {
        return index;
    }
    const char kind = key.dtype().kind();
    if (kind == 'u' && key.itemsize() == 8) {
        const auto most = key.attr("max")();
        if (PyObject_RichCompareBool(most.ptr(), py::int_(std::numeric_limits<std::int64_t>::max()).ptr(), Py_GT) ==
            1) {
            raiseOutside(text(most), axis);
        }
    }
    // Words stay words where every 1-based value fits one.
    if (kind == 'i' && key.itemsize() == 4 && axis.extent < std::numeric_limits<std::int32_t>::max()) {
        const py::array_t<std::int32_t, py::array::c_style | py::array::forcecast> values(key);
        storeWords(values.data(), index.count, axis, wordsOf(index.words));
    } else {
        const py::array_t<std::int64_t, py::array::c_style | py::array::forcecast> values(key);
        storeWords(values.data(), index.count, axis, wordsOf(index.words));
    }
    return index;
}

py::array arrayOf(const py::object& key)
{
    py::array array = py::array::ensure(key);
    if (!array) {
        raiseNoSubscript(key);
    }
    return array;
}

Index fromArray(const py::array& key, const py::object& shown, const Axis& axis)
{
    const char kind = key.dtype().kind();
    if (kind == 'b' && key.ndim() != 0) {
        return fromMask(key, axis);
    }
    const bool integers = kind == 'i' || kind == 'u' || key.size() == 0; // such as []
    if (!integers || key.ndim() < 1 || key.ndim() > 2) {
        raiseNoSubscript(shown);
    }
    return fromIndices(key, axis);
}

// ---- Keys ----

py::slice everything()
{
    return {py::none(), py::none(), py::none()};
}

/// A key with every ellipsis replaced, as SciPy does it.
py::object withoutEllipsis(const py::object& key)
{
    if (key.is(py::handle(Py_Ellipsis))) {
        return py::make_tuple(everything(), everything());
    }
    if (!PyTuple_Check(key.ptr())) {
        return key;
    }
    const auto keys = py::reinterpret_borrow<py::tuple>(key);
    const auto isEllipsis = [](const py::handle& item) { return item.is(py::handle(Py_Ellipsis)); };
    if (std::none_of(keys.begin(), keys.end(), isEllipsis)) {
        return key;
    }
    py::list before;
    py::list after;
    bool seen = false;
    for (const py::handle& item : keys) {
        if (isEllipsis(item)) {
            seen = true;
        } else {
            (seen ? after : before).append(item);
        }
    }
    for (auto missing = static_cast<py::ssize_t>(before.size() + after.size()); missing < 2; ++missing) {
        before.append(everything());
    }
    return py::tuple(before + after);
}

/// Whether a single key is a mask of two dimensions: as such an array, or as a SciPy matrix.
bool isMaskOfElements(const py::handle& key, const py::array& array)
{
    if (array) {
        return array.ndim() == 2 && array.dtype().kind() == 'b';
    }
    return py::dtype(key.attr("dtype")).kind() == 'b';
}

void broadcast(Selection& selection)
{
    makeList(selection.row);
    makeList(selection.column);
    const auto meet = [](py::ssize_t a, py::ssize_t b) { return a == 1 ? b : b == 1 || a == b ? a : -1; };
    selection.form = Selection::Form::pairs;
    selection.rows = meet(selection.row.rows, selection.column.rows);
    selection.columns = meet(selection.row.columns(), selection.column.columns());
    selection.flat = selection.row.dimensions < 2 && selection.column.dimensions < 2;
    if (selection.rows < 0 || selection.columns < 0) {
        throw py::value_error("rows of shape " + shapeText(selection.row.rows, selection.row.columns()) +
                              " and columns of shape " + shapeText(selection.column.rows, selection.column.columns()) +
                              " cannot be broadcast together");
    }
}

void makeRegion(Selection& selection)
{
    selection.form = Selection::Form::region;
    selection.rows = selection.row.count;
    selection.columns = selection.column.count;
}

/// A row subscript that stands as a column against a column subscript that lies as a row spans a region.
bool isOuter(const Index& row, const Index& column)
{
    return row.isColumn() && (column.dimensions == 1 || column.rows == 1);
}

void arrange(Selection& selection, Use use)
{
    using Kind = Index::Kind;
    Index& row = selection.row;
    Index& column = selection.column;
    const bool oneInteger = (row.kind == Kind::integer) != (column.kind == Kind::integer);
    if (row.kind == Kind::integer && column.kind == Kind::integer) {
        selection.form = Selection::Form::element;
        return;
    }
    const auto isFlat = [](const Index& index) { return index.dimensions < 2; };
    const bool oneRange = row.kind == Kind::range || column.kind == Kind::range;
    if (use == Use::reading) {
        selection.dropsAxis = oneInteger && isFlat(row) && isFlat(column);
        if (oneRange && !(isFlat(row) && isFlat(column))) {
            throw py::index_error("a slice beside an array of two dimensions would give three");
        }
        if (oneInteger || oneRange || isOuter(row, column)) {
            return makeRegion(selection);
        }
        return broadcast(selection);
    }
    if ((oneRange && isFlat(row) && isFlat(column)) || isOuter(row, column) ||
        (row.kind == Kind::integer && isFlat(column))) {
        return makeRegion(selection);
    }
    for (Index* index : {&row, &column}) { // a slice is a column of rows, or a row of columns
        if (index->kind == Kind::range) {
            makeList(*index);
            index->dimensions = 2;
            index->rows = index == &row ? index->count : 1;
            index->width = index == &row ? 1 : index->count;
        }
    }
    broadcast(selection);
}

} // namespace

bool isScipySparse(const py::handle& object)
{
    if (py::isinstance<py::array>(object) || PyFloat_Check(object.ptr()) || PyLong_Check(object.ptr())) {
        return false;
    }
    static const auto* issparse = new py::object(py::module_::import("scipy.sparse").attr("issparse"));
    return PyObject_IsTrue((*issparse)(object).ptr()) == 1;
}

std::pair<py::ssize_t, py::ssize_t> grownShape(const Selection& pairs, py::ssize_t rows, py::ssize_t columns)
{
    const auto reach = [](const Index& list, py::ssize_t extent) {
        const unsigned* words = wordsOf(list.words);
        return std::max<py::ssize_t>(extent, list.count == 0 ? 0 : *std::max_element(words, words + list.count));
    };
    return {reach(pairs.row, rows), reach(pairs.column, columns)};
}

Index indexOf(const py::object& key, const Axis& axis)
{
    PyObject* raw = key.ptr();
    if (PyLong_Check(raw)) {
        return fromInteger(key, axis);
    }
    if (PySlice_Check(raw)) {
        return fromSlice(key, axis);
    }
    if (py::isinstance<py::array>(key)) {
        const auto array = py::reinterpret_borrow<py::array>(key);
        const char kind = array.dtype().kind();
        return array.ndim() == 0 && (kind == 'i' || kind == 'u') ? fromInteger(key, axis) : fromArray(array, key, axis);
    }
    if (PyIndex_Check(raw) != 0) {
        return fromInteger(key, axis);
    }
    if (isScipySparse(key)) {
        throw py::index_error("a sparse subscript is a mask of the matrix's shape, and stands alone");
    }
    return fromArray(arrayOf(key), key, axis);
}

void makeList(Index& index)
{
    if (index.kind == Index::Kind::list) {
        return;
    }
    Array made = newWords(1, index.count);
    unsigned* to = wordsOf(made);
    if (index.kind == Index::Kind::mask) {
        const auto* set = static_cast<const unsigned char*>(index.words->pr);
        for (unsigned k = 0; k < columnsOf(index.words.get()); ++k) {
            if (set[k] != 0) {
                *to++ = k + 1;
            }
        }
    } else {
        for (py::ssize_t k = 0; k < index.count; ++k) {
            to[k] = static_cast<unsigned>(index.first + k * index.step) + 1U;
        }
    }
    index.words = std::move(made);
    index.kind = Index::Kind::list;
    index.rows = 1;
    index.width = index.count;
}

Selection selectionOf(const py::object& given, py::ssize_t rows, py::ssize_t columns, Use use)
{
    const Axis rowAxis{"row", rows, rows, columns, use};
    const Axis columnAxis{"column", columns, rows, columns, use};
    Selection selection;
    selection.extents = {rows, columns};
    const auto arrangeTwo = [&](const py::object& row, const py::object& column) {
        selection.row = indexOf(row, rowAxis);
        selection.column = indexOf(column, columnAxis);
        arrange(selection, use);
    };

    const py::object key = withoutEllipsis(given);
    if (PyTuple_Check(key.ptr())) {
        const auto keys = py::reinterpret_borrow<py::tuple>(key);
        if (keys.size() == 2) {
            arrangeTwo(keys[0], keys[1]);
        } else if (keys.size() == 1) {
            arrangeTwo(keys[0], everything());
        } else {
            throw py::index_error("a matrix takes one subscript or two, not " + std::to_string(keys.size()));
        }
        return selection;
    }
    const bool plain = PySlice_Check(key.ptr()) || PyLong_Check(key.ptr());
    if (!plain) {
        const bool sparse = isScipySparse(key);
        const py::array array = sparse ? py::reinterpret_steal<py::array>(py::handle()) : arrayOf(key);
        if (isMaskOfElements(key, array)) {
            const py::tuple places = (sparse ? key : py::object(array)).attr("nonzero")();
            arrangeTwo(places[0], places[1]);
            return selection;
        }
        if (!sparse && array.ndim() != 0) {
            arrangeTwo(array, everything());
            return selection;
        }
    }
    arrangeTwo(key, everything());
    return selection;
}

} // namespace zqsp::python
