#include "scipy.hpp"

#include "order.hpp"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <unordered_map>
#include <utility>

namespace zqsp::python {
namespace {

using Words = py::array_t<std::int32_t, py::array::c_style | py::array::forcecast>;

/// A name that attributes are asked for by, made once.
py::handle interned(const char* name)
{
    return PyUnicode_InternFromString(name);
}

/// An attribute, from the object's own dictionary where it lies there.
py::object attribute(const py::object& object, const py::object& own, py::handle name)
{
    if (own) {
        if (PyObject* found = PyDict_GetItemWithError(own.ptr(), name.ptr())) {
            return py::reinterpret_borrow<py::object>(found);
        }
    }
    return object.attr(name);
}

py::object dictionaryOf(const py::object& object)
{
    PyObject* own = PyObject_GenericGetDict(object.ptr(), nullptr);
    if (own == nullptr) {
        PyErr_Clear();
    }
    return py::reinterpret_steal<py::object>(own);
}

py::array arrayAttribute(const py::object& object, const py::object& own, py::handle name)
{
    py::object value = attribute(object, own, name);
    if (!py::isinstance<py::array>(value)) {
        throw py::value_error("broken matrix: " + text(name) + " is no array");
    }
    return py::reinterpret_steal<py::array>(value.release());
}

/// As 32-bit words; ValueError where they do not fit.
Words wordsFrom(const py::array& values)
{
    if (Words::check_(values)) {
        return py::reinterpret_borrow<Words>(values);
    }
    Words words(values);
    if (!words.is(values) && values.itemsize() > 4) {
        static const auto* equal = new py::object(py::module_::import("numpy").attr("array_equal"));
        if (!(*equal)(words, values).cast<bool>()) {
            throw py::value_error("the indices of the matrix do not fit 32 bits");
        }
    }
    return words;
}

unsigned* asWords(const Words& array)
{
    return reinterpret_cast<unsigned*>(const_cast<std::int32_t*>(array.data())); // the same bits, to be read
}

/// The arrays as the library reads them, their ends checked.
struct Pieces
{
    Words indices;
    Words starts;
    py::object holder; ///< of the values
    const void* values;
    unsigned m;
    unsigned n;
    unsigned entries;
};

Pieces piecesOf(const Compressed& source, bool numbered = false)
{
    py::array data = source.data;
    if ((data.flags() & py::array::c_style) == 0) {
        static const auto* contiguous = new py::object(py::module_::import("numpy").attr("ascontiguousarray"));
        data = (*contiguous)(data);
    }
    Pieces made{wordsFrom(source.indices),   wordsFrom(source.starts),       data, data.data(),
                sizeOf(source.storedRows()), sizeOf(source.storedColumns()), 0};
    const bool whole = made.starts.size() == py::ssize_t{made.n} + 1 && made.starts.ndim() == 1;
    const py::ssize_t stored = whole ? made.starts.data()[made.n] : -1;
    if (stored < 0 || made.starts.data()[0] != 0 || stored > made.indices.size() || stored > data.size()) {
        throw py::value_error("broken matrix: the column starts do not fit its arrays");
    }
    made.entries = static_cast<unsigned>(stored);
    if (numbered) {
        Numbers numbers = numbersTo(made.entries);
        made.values = numbers.first;
        made.holder = std::move(numbers.holder);
    }
    return made;
}

Order orderIn(const Pieces& pieces)
{
    return orderOf({asWords(pieces.starts), asWords(pieces.indices), pieces.m, pieces.n, pieces.entries});
}

/// Blocks of its own. `order`, if asked for, is that of the copy, which nobody else can change.
Array copyOf(const Pieces& pieces, const Elements& elements, Order* order = nullptr)
{
    Array array(kx::kxCreateSparseNumericMatrix(pieces.m, 0, pieces.entries, elements.id, elements.complexity));
    auto* starts = static_cast<unsigned*>(kx::kxMalloc((std::size_t{pieces.n} + 1) * sizeof(unsigned))); // not zeroed
    kx::kxFree(array->jc);
    kx::kxSetJc(array.get(), starts);
    kx::kxSetN(array.get(), pieces.n);
    const Unlocked unlocked(pieces.entries);
    if (order != nullptr) {
        *order = orderOf({array->jc, array->ir, pieces.m, pieces.n, pieces.entries, asWords(pieces.starts),
                          asWords(pieces.indices)});
    } else {
        std::memcpy(array->jc, pieces.starts.data(), (std::size_t{pieces.n} + 1) * sizeof(unsigned));
        if (starts[pieces.n] != pieces.entries) {
            throw py::value_error("broken matrix: another thread changes its arrays");
        }
        std::memcpy(array->ir, pieces.indices.data(), pieces.entries * sizeof(unsigned));
    }
    if (elements.numbered) {
        std::copy_n(static_cast<const unsigned*>(pieces.values), pieces.entries, static_cast<unsigned*>(array->pr));
    } else {
        storeValues(pieces.values, pieces.entries, elements, array.get());
    }
    return array;
}

/// What a fresh matrix of this class holds in its dictionary besides its arrays.
PyObject* templateOf(py::handle type)
{
    static auto* known = new std::unordered_map<PyObject*, PyObject*>();
    const auto found = known->find(type.ptr());
    if (found != known->end()) {
        return found->second;
    }
    PyObject* made = nullptr;
    const py::module_ sparse = py::module_::import("scipy.sparse");
    for (const char* name : {"csc_matrix", "csr_matrix", "csc_array", "csr_array"}) {
        if (py::hasattr(sparse, name) && type.is(sparse.attr(name))) {
            made = py::dict(type(py::make_tuple(0, 0)).attr("__dict__")).release().ptr();
        }
    }
    type.inc_ref();
    return known->emplace(type.ptr(), made).first->second;
}

} // namespace

py::ssize_t Compressed::entries() const
{
    return data.size();
}

std::optional<Compressed> compressed(const py::object& matrix)
{
    static const py::handle names[] = {interned("format"), interned("data"), interned("indices"), interned("indptr"),
                                       interned("_shape"), interned("csc"),  interned("csr")};
    const auto format = py::reinterpret_steal<py::object>(PyObject_GetAttr(matrix.ptr(), names[0].ptr()));
    if (!format) {
        PyErr_Clear();
        return {};
    }
    const auto isFormat = [&](py::handle name) {
        return format.is(name) || PyUnicode_Compare(format.ptr(), name.ptr()) == 0;
    };
    const bool byRows = isFormat(names[6]);
    if (!byRows && !isFormat(names[5])) {
        return {};
    }
    const py::object own = dictionaryOf(matrix);
    PyObject* shape = own ? PyDict_GetItemWithError(own.ptr(), names[4].ptr()) : nullptr;
    if (shape == nullptr) { // not SciPy's own
        return {};
    }
    const auto [rows, columns] = py::handle(shape).cast<std::pair<py::ssize_t, py::ssize_t>>();
    return Compressed{matrix,
                      arrayAttribute(matrix, own, names[1]),
                      arrayAttribute(matrix, own, names[2]),
                      arrayAttribute(matrix, own, names[3]),
                      rows,
                      columns,
                      byRows};
}

bool isCanonical(const Compressed& source)
{
    static const py::handle mark = interned("_has_canonical_format");
    const py::object own = dictionaryOf(source.matrix);
    PyObject* marked = own ? PyDict_GetItemWithError(own.ptr(), mark.ptr()) : nullptr;
    if (marked != nullptr) {
        return marked == Py_True;
    }
    const Pieces pieces = piecesOf(source);
    const Order order = orderIn(pieces);
    if (order == Order::sound) {
        py::setattr(source.matrix, "has_canonical_format", py::bool_(true));
    }
    return order == Order::sound;
}

Compressed canonical(const py::object& matrix)
{
    // Broken arrays must be found before SciPy's own code runs over them.
    if (const auto source = compressed(matrix)) {
        const Pieces pieces = piecesOf(*source);
        const Order order = orderIn(pieces);
        if (!source->byRows && order == Order::sound) {
            return *source;
        }
    }
    py::object made = matrix.attr("tocsc")();
    if (made.is(matrix)) {
        made = matrix.attr("copy")();
    }
    made.attr("sum_duplicates")();
    auto result = compressed(made);
    if (!result) {
        throw py::type_error("tocsc() gives no matrix in compressed columns");
    }
    return std::move(*result);
}

Operand lentArray(const Compressed& source, const Elements& elements)
{
    const Pieces pieces = piecesOf(source, elements.numbered);
    Array array(kx::kxCreateSparseNumericMatrix(0, 0, 0, elements.id, kxREAL));
    for (void* own : {array->pr, static_cast<void*>(array->ir), static_cast<void*>(array->jc)}) {
        kx::kxFree(own);
    }
    array.get_deleter().lent = true;
    const unsigned dims[2] = {pieces.m, pieces.n};
    kx::kxSetDimensions(array.get(), dims, 2);
    kx::kxSetData(array.get(), const_cast<void*>(pieces.values)); // lent to be read
    kx::kxSetIr(array.get(), asWords(pieces.indices));
    kx::kxSetJc(array.get(), asWords(pieces.starts));
    array->nzmax = pieces.entries;
    return {std::move(array), py::make_tuple(pieces.holder, pieces.indices, pieces.starts)};
}

Array ownedArray(const Compressed& source, const Elements& elements)
{
    return copyOf(piecesOf(source, elements.numbered), elements);
}

std::optional<Array> checkedArray(const Compressed& source, const Elements& elements)
{
    const Pieces pieces = piecesOf(source, elements.numbered);
    Order order = Order::sound;
    Array array = copyOf(pieces, elements, &order);
    return order == Order::sound ? std::optional<Array>(std::move(array)) : std::nullopt;
}

void requireSound(const kxArray* array)
{
    if (orderOf({array->jc, array->ir, rowsOf(array), columnsOf(array), entriesOf(array)}) == Order::unsorted) {
        throw py::value_error("entries are not in order, or stored twice; call sum_duplicates() first");
    }
}

Blocks blocksOf(Array array, const Elements& elements, const py::array& numbered)
{
    const unsigned n = columnsOf(array.get());
    const unsigned count = array->jc[n];
    kxArray* held = array.release();
    const py::capsule keeper(held, [](void* block) { kx::kxDestroyArray(static_cast<kxArray*>(block)); });
    Blocks made{valuesOf(held, count, elements, keeper, numbered), {}, {}};
    // NumPy's signed words have the same bits, unless there are more entries than they can count.
    const bool narrow = count <= static_cast<unsigned>(std::numeric_limits<std::int32_t>::max());
    const auto words = [&](unsigned* block, py::ssize_t size) -> py::object {
        if (narrow) {
            return py::array_t<std::int32_t>(size, reinterpret_cast<std::int32_t*>(block), keeper);
        }
        return py::array_t<std::uint32_t>(size, block, keeper).attr("astype")("int64");
    };
    made.indices = words(held->ir, count);
    made.starts = words(held->jc, py::ssize_t{n} + 1);
    return made;
}

py::object denseRow(Array vector, const Elements& elements, bool forArray, const py::array& numbered)
{
    const bool isRow = rowsOf(vector.get()) == 1;
    const unsigned count = entriesOf(vector.get());
    const unsigned size = isRow ? columnsOf(vector.get()) : rowsOf(vector.get());
    static const auto* zeros = new py::object(py::module_::import("numpy").attr("zeros"));
    py::array made = forArray ? (*zeros)(size, elements.dtype) : (*zeros)(py::make_tuple(1, size), elements.dtype);
    const kxArray* held = vector.get();
    const py::array values = valuesOf(held, count, elements, py::none(), numbered);
    const auto width = static_cast<std::size_t>(elements.dtype.itemsize());
    auto* to = static_cast<std::byte*>(made.mutable_data());
    const auto* from = static_cast<const std::byte*>(values.data());
    unsigned e = 0;
    for (unsigned j = 0; j < columnsOf(held); ++j) {
        for (; e < held->jc[j + 1]; ++e) {
            std::memcpy(to + (isRow ? j : held->ir[e]) * width, from + e * width, width);
        }
    }
    if (forArray) {
        return made;
    }
    static const auto* matrix = new py::object(py::module_::import("numpy").attr("matrix"));
    return made.attr("view")(*matrix);
}

bool isArrayType(py::handle type)
{
    static const auto* arrays = new py::object([] {
        const py::module_ sparse = py::module_::import("scipy.sparse");
        return py::make_tuple(sparse.attr("csc_array"), sparse.attr("csr_array"));
    }());
    return PyObject_IsSubclass(type.ptr(), arrays->ptr()) == 1;
}

py::object toScipy(Array array, const Elements& elements, py::handle type, bool byRows, const py::array& numbered)
{
    const unsigned m = rowsOf(array.get());
    const unsigned n = columnsOf(array.get());
    const Blocks blocks = blocksOf(std::move(array), elements, numbered);
    return scipyMatrix(type, byRows ? n : m, byRows ? m : n, blocks.data, blocks.indices, blocks.starts);
}

py::object scipyMatrix(py::handle type, py::ssize_t rows, py::ssize_t columns, const py::array& data,
                       const py::object& indices, const py::object& starts)
{
    static const py::handle names[] = {interned("data"),
                                       interned("indices"),
                                       interned("indptr"),
                                       interned("_shape"),
                                       interned("_has_sorted_indices"),
                                       interned("_has_canonical_format")};
    PyObject* common = templateOf(type);
    if (common == nullptr) { // somebody's own class: as SciPy makes its results
        py::object made = type(py::make_tuple(data, indices, starts), py::arg("shape") = py::make_tuple(rows, columns));
        py::setattr(made, "has_canonical_format", py::bool_(true));
        return made;
    }
    const auto own = py::reinterpret_steal<py::object>(PyDict_Copy(common));
    const py::object values[] = {data,           indices, starts, py::make_tuple(rows, columns), py::bool_(true),
                                 py::bool_(true)};
    for (std::size_t k = 0; k < std::size(names); ++k) {
        if (PyDict_SetItem(own.ptr(), names[k].ptr(), values[k].ptr()) != 0) {
            throw py::error_already_set();
        }
    }
    auto* pyType = reinterpret_cast<PyTypeObject*>(type.ptr());
    static const auto* nothing = new py::tuple();
    auto made = py::reinterpret_steal<py::object>(pyType->tp_new(pyType, nothing->ptr(), nullptr));
    if (!made || PyObject_GenericSetDict(made.ptr(), own.ptr(), nullptr) != 0) {
        throw py::error_already_set();
    }
    return made;
}

} // namespace zqsp::python
