#include "scipy.hpp"

#include <complex>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <utility>

namespace zqsp::python {
namespace {

using Complex = std::complex<double>;

/// Contiguous elements of this type, the array's own where they are that already.
template <typename T>
using Elements = py::array_t<T, py::array::c_style | py::array::forcecast>;
/// The same, column by column.
template <typename T>
using Columns = py::array_t<T, py::array::f_style | py::array::forcecast>;

py::module_ numpy()
{
    return py::module_::import("numpy");
}

kxClassID classOf(Storage storage)
{
    return storage == Storage::logical ? kxLOGICAL_CLASS : kxDOUBLE_CLASS;
}
kxComplexity complexityOf(Storage storage)
{
    return storage == Storage::complex ? kxCOMPLEX : kxREAL;
}

Storage storageOf(const py::dtype& dtype)
{
    if (dtype.kind() == 'b') {
        return Storage::logical;
    }
    if (dtype.kind() == 'f' && dtype.itemsize() == sizeof(double)) {
        return Storage::real;
    }
    if (dtype.kind() == 'c' && dtype.itemsize() == sizeof(Complex)) {
        return Storage::complex;
    }
    throw py::type_error("elements are float64, complex128 or bool, not " + text(dtype) +
                         "; convert them with astype()");
}

/// As 32-bit words; ValueError where they do not fit.
Elements<std::int32_t> indices(const py::array& values)
{
    Elements<std::int32_t> words(values);
    if (!words.is(values) && !numpy().attr("array_equal")(words, values).cast<bool>()) {
        throw py::value_error("the indices of the matrix do not fit 32 bits");
    }
    return words;
}

const unsigned* asWords(const Elements<std::int32_t>& array)
{
    return reinterpret_cast<const unsigned*>(array.data()); // the same bits
}

void split(const Complex* from, std::size_t count, kxArray* to)
{
    auto* re = static_cast<double*>(to->pr);
    auto* im = static_cast<double*>(to->pi);
    for (std::size_t e = 0; e < count; ++e) {
        re[e] = from[e].real();
        im[e] = from[e].imag();
    }
}

py::array joined(const kxArray* array, unsigned count)
{
    py::array_t<Complex> values(count);
    const auto* re = static_cast<const double*>(array->pr);
    const auto* im = static_cast<const double*>(array->pi);
    for (unsigned e = 0; e < count; ++e) {
        values.mutable_at(e) = {re[e], im == nullptr ? 0.0 : im[e]};
    }
    return values;
}

/// A complex matrix in the runtime's two blocks of values; rows and column starts are still lent.
Operand splitValues(const Operand& real, const Complex* values)
{
    const unsigned n = kx::kxGetN(real.array.get());
    Array array(kx::kxCreateSparseNumericMatrix(real.array->get_dimensions()[0], n, real.array->nzmax, kxDOUBLE_CLASS,
                                                kxCOMPLEX));
    const std::size_t count = real.array->nzmax;
    if (count != 0) {
        std::memcpy(array->ir, real.array->ir, count * sizeof(unsigned));
        split(values, count, array.get());
    }
    std::memcpy(array->jc, real.array->jc, (std::size_t{n} + 1) * sizeof(unsigned));
    return {std::move(array), py::none()};
}

/// The sparse matrix on lent blocks, its promises checked: SciPy believes what it is told about an array.
Operand lendSparse(const py::object& csc, kxClassID id, const py::array& values)
{
    const auto rows = indices(csc.attr("indices"));
    const auto starts = indices(csc.attr("indptr"));
    const auto shape = csc.attr("shape").cast<std::pair<py::ssize_t, py::ssize_t>>();
    const unsigned m = sizeOf(shape.first);
    const unsigned n = sizeOf(shape.second);
    const py::ssize_t stored = starts.size() == shape.second + 1 ? starts.at(shape.second) : -1;
    if (stored < 0 || stored > rows.size() || stored > values.size()) {
        throw py::value_error("the column starts of the matrix do not fit its arrays");
    }
    Operand made = lend(Array(kx::kxCreateSparseNumericMatrix(0, 0, 0, id, kxREAL)), m, n, values.data(),
                        py::make_tuple(values, rows, starts));
    kx::kxSetIr(made.array.get(), const_cast<unsigned*>(asWords(rows)));
    kx::kxSetJc(made.array.get(), const_cast<unsigned*>(asWords(starts)));
    made.array->nzmax = static_cast<unsigned>(stored);
    const std::string violation = kx::kxCheckSparse(made.array.get());
    if (!violation.empty()) {
        throw py::value_error("broken matrix: " + violation);
    }
    return made;
}

/// TypeError unless values of this type can be stored: numbers, complex ones only as complex.
void requireFits(const py::dtype& dtype, Storage storage)
{
    const bool fits = dtype.kind() == 'c' ? storage == Storage::complex : std::string("biuf").find(dtype.kind()) < 4;
    if (!fits) {
        throw py::type_error("values of type " + text(dtype) + " cannot be stored as " + text(dtypeOf(storage)));
    }
}

template <typename T>
Array full(const py::array& source, Storage storage)
{
    const Columns<T> values(source);
    const unsigned dims[2] = {values.ndim() < 2 ? 1 : sizeOf(values.shape(0)),
                              values.ndim() == 0 ? 1 : sizeOf(values.shape(values.ndim() - 1))};
    const auto count = static_cast<std::size_t>(values.size());
    Array array(kx::kxCreateNumericArray(2, dims, classOf(storage), complexityOf(storage)));
    if constexpr (std::is_same_v<T, Complex>) {
        split(values.data(), count, array.get());
    } else if (count != 0) {
        std::memcpy(array->pr, values.data(), count * sizeof(T));
    }
    return array;
}

} // namespace

Operand lend(Array array, unsigned m, unsigned n, const void* values, py::object lender)
{
    const unsigned dims[2] = {m, n};
    kx::kxSetDimensions(array.get(), dims, 2);
    for (void* own : {array->pr, static_cast<void*>(array->ir), static_cast<void*>(array->jc)}) {
        kx::kxFree(own);
    }
    array.get_deleter().lent = true;
    kx::kxSetData(array.get(), const_cast<void*>(values)); // lent to be read
    kx::kxSetIr(array.get(), nullptr);
    kx::kxSetJc(array.get(), nullptr);
    return {std::move(array), std::move(lender)};
}

py::dtype dtypeOf(Storage storage)
{
    switch (storage) {
    case Storage::complex:
        return py::dtype::of<Complex>();
    case Storage::logical:
        return py::dtype::of<bool>();
    default:
        return py::dtype::of<double>();
    }
}

bool isScipySparse(const py::handle& object)
{
    return py::module_::import("scipy.sparse").attr("issparse")(object).cast<bool>();
}

Seen fromScipy(const py::object& source, bool withoutZeros)
{
    py::object csc = source.attr("tocsc")();
    const bool dropsZeros = withoutZeros && !csc.attr("data").attr("all")().cast<bool>();
    if (dropsZeros || !csc.attr("has_canonical_format").cast<bool>()) {
        csc = csc.attr("copy")();
        csc.attr("sum_duplicates")();
        if (dropsZeros) {
            csc.attr("eliminate_zeros")();
        }
    }
    const py::array data = csc.attr("data");
    const Storage storage = storageOf(data.dtype());
    if (storage == Storage::complex) {
        const Elements<Complex> values(data);
        return {splitValues(lendSparse(csc, kxDOUBLE_CLASS, values), values.data()), storage};
    }
    if (storage == Storage::logical) {
        return {lendSparse(csc, kxLOGICAL_CLASS, Elements<bool>(data)), storage};
    }
    return {lendSparse(csc, kxDOUBLE_CLASS, Elements<double>(data)), storage};
}

py::object toScipy(const kxArray* array, Storage storage, const py::object& lender)
{
    const unsigned m = array->get_dimensions()[0];
    const unsigned n = kx::kxGetN(array);
    const unsigned count = array->jc[n];
    const auto csc = [&](const py::object& values, const py::object& rows, const py::object& starts) {
        return py::module_::import("scipy.sparse")
            .attr("csc_matrix")(py::make_tuple(values, rows, starts), py::arg("shape") = py::make_tuple(m, n));
    };
    if (!lender.is_none()) {
        const py::tuple lent = lender;
        return csc(lent[0], lent[1], lent[2]);
    }

    // One more holder of the blocks, for as long as NumPy has them.
    Array holder(kx::kxCreateSharedDataCopy(array));
    const py::capsule keeper(holder.get(), [](void* held) { kx::kxDestroyArray(static_cast<kxArray*>(held)); });
    (void)holder.release(); // the capsule has it
    // NumPy's signed words have the same bits, unless there are more entries than they can count.
    const char* signedWords = count > std::numeric_limits<std::int32_t>::max() ? "int64" : "int32";
    const char* conversion = std::strcmp(signedWords, "int64") == 0 ? "astype" : "view";
    const auto words = [&](const unsigned* block, py::ssize_t size) {
        return py::array_t<std::uint32_t>(size, block, keeper).attr(conversion)(signedWords);
    };
    py::array values;
    switch (storage) {
    case Storage::complex:
        values = joined(array, count);
        break;
    case Storage::logical:
        values = py::array_t<bool>(count, static_cast<const bool*>(array->pr), keeper);
        break;
    case Storage::real:
        values = py::array_t<double>(count, static_cast<const double*>(array->pr), keeper);
        break;
    }
    return csc(values, words(array->ir, count), words(array->jc, py::ssize_t{n} + 1));
}

Array rightSide(const py::object& value, Storage storage)
{
    if (isScipySparse(value)) {
        requireFits(value.attr("dtype"), storage);
        Operand seen = fromScipy(value.attr("astype")(dtypeOf(storage), py::arg("copy") = false)).operand;
        // An assignment may share the blocks of its right-hand side.
        return seen.lender.is_none() ? std::move(seen.array) : Array(kx::kxCreateDeepCopy(seen.array.get()));
    }
    const py::array array = numpy().attr("asarray")(value);
    requireFits(array.dtype(), storage);
    if (array.ndim() > 2) {
        throw py::value_error("the values to be assigned have more than two dimensions");
    }
    switch (storage) {
    case Storage::complex:
        return full<Complex>(array, storage);
    case Storage::logical:
        return full<bool>(array, storage);
    default:
        return full<double>(array, storage);
    }
}

} // namespace zqsp::python
