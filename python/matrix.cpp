#include "matrix.hpp"

#include <zqspmatrix.h>

#include <complex>
#include <string>

namespace zqsp::python {
namespace {

bool isColon(const Operand& subscript)
{
    return subscript.array->is_colon_index();
}

/// TypeError unless it is a SciPy matrix.
const py::object& requireSparse(const py::object& source)
{
    if (!isScipySparse(source)) {
        throw py::type_error("a Matrix is made of a SciPy sparse matrix");
    }
    return source;
}

} // namespace

Matrix::Matrix(const py::object& source) : Matrix(fromScipy(requireSparse(source))) {}

Matrix::Matrix(Seen seen)
    : array_(std::move(seen.operand.array)), lender_(std::move(seen.operand.lender)), storage_(seen.storage)
{
}

std::pair<unsigned, unsigned> Matrix::shape() const
{
    return {array_->get_dimensions()[0], kx::kxGetN(array_.get())};
}

unsigned Matrix::entries() const
{
    return array_->jc[shape().second];
}

Matrix::Subscripts Matrix::convert(const py::object& key, Use use) const
{
    const auto [m, n] = shape();
    if (!py::isinstance<py::tuple>(key)) {
        return {subscript(key, {m, n, use}), {}, isInteger(key)};
    }
    const py::tuple keys = key;
    if (keys.size() != 2) {
        throw py::index_error("a matrix takes one subscript or two, not " + std::to_string(keys.size()));
    }
    return {subscript(keys[0], {m, 1, use}), subscript(keys[1], {n, 1, use}), isInteger(keys[0]) && isInteger(keys[1])};
}

py::object Matrix::get(const py::object& key) const
{
    const auto [I, J, single] = convert(key, Use::reading);
    kxArray* result = nullptr;
    spStatus status = spOK;
    if (!J.array) {
        status = isColon(I) ? spRef2(array_.get(), &result) : spRef3(array_.get(), I.array.get(), &result);
    } else if (isColon(I)) {
        status = spRef4(array_.get(), J.array.get(), &result);
    } else if (isColon(J)) {
        status = spRef5(array_.get(), I.array.get(), &result);
    } else {
        status = spRef6(array_.get(), I.array.get(), J.array.get(), &result);
    }
    kxHandleSparseSubscriptError(status);
    Matrix made(Array(result), storage_);
    return single ? made.element() : py::cast(std::move(made));
}

py::object Matrix::element() const
{
    const bool stored = entries() != 0;
    if (storage_ == Storage::logical) {
        return py::bool_(stored && *static_cast<const bool*>(array_->pr));
    }
    const double re = stored ? *static_cast<const double*>(array_->pr) : 0.0;
    if (storage_ == Storage::real) {
        return py::float_(re);
    }
    const double im = stored && array_->pi != nullptr ? *static_cast<const double*>(array_->pi) : 0.0;
    return py::reinterpret_steal<py::object>(PyComplex_FromDoubles(re, im));
}

void Matrix::assign(const py::object& key, const py::object& value, Use use)
{
    const Array B = rightSide(py::isinstance<Matrix>(value) ? value.cast<const Matrix&>().toScipy() : value, storage_);
    const auto [I, J, single] = convert(key, use);
    makePrivate();
    spStatus status = spOK;
    if (!J.array) {
        status = spAss3(array_.get(), B.get(), I.array.get());
    } else if (isColon(I)) {
        status = spAss4(array_.get(), B.get(), J.array.get());
    } else if (isColon(J)) {
        status = spAss5(array_.get(), B.get(), I.array.get());
    } else {
        status = spAss6(array_.get(), B.get(), I.array.get(), J.array.get());
    }
    kxHandleSparseSubscriptError(status);
}

void Matrix::remove(const py::object& key)
{
    const auto [I, J, single] = convert(key, Use::deleting);
    makePrivate();
    spStatus status = spOK;
    if (!J.array) {
        status = spDeleteElements(array_.get(), I.array.get());
    } else if (isColon(I)) {
        status = spDeleteColumns(array_.get(), J.array.get());
    } else if (isColon(J)) {
        status = spDeleteRows(array_.get(), I.array.get());
    } else { // allowed where nothing is selected
        const Array nothing(kx::kxCreateEmptyLiteral());
        status = spAss6(array_.get(), nothing.get(), I.array.get(), J.array.get());
    }
    kxHandleSparseSubscriptError(status);
}

void Matrix::reshape(std::pair<py::ssize_t, py::ssize_t> shape)
{
    const auto [m, n] = this->shape();
    const auto [newM, newN] = shape;
    if (newM < 0 || newN < 0 || !spReshapeOk(m, n, sizeOf(newM), sizeOf(newN))) {
        throw py::value_error("cannot reshape " + std::to_string(m) + "-by-" + std::to_string(n) + " to " +
                              std::to_string(newM) + "-by-" + std::to_string(newN));
    }
    makePrivate();
    spReshape(array_.get(), sizeOf(newM), sizeOf(newN));
}

Matrix Matrix::copy() const
{
    return {Array(kx::kxCreateDeepCopy(array_.get())), storage_};
}

void Matrix::makePrivate()
{
    if (lender_.is_none()) {
        kxrt::make_private(array_.get());
    } else {
        *this = copy();
    }
}

} // namespace zqsp::python
