#include "support/right_side.hpp"

#include <cmath>
#include <functional>
#include <numeric>
#include <ostream>

namespace zqsp::test {

RightSide RightSide::full(std::vector<unsigned> dims, std::vector<Value> values, Storage storage)
{
    RightSide b;
    b.kind = Kind::Full;
    b.dims = std::move(dims);
    while (b.dims.size() > 2 && b.dims.back() == 1) { // as the runtime has it
        b.dims.pop_back();
    }
    b.values = std::move(values);
    b.storage = storage;
    return b;
}

RightSide RightSide::of(const Model& sparse)
{
    RightSide b;
    b.kind = Kind::Sparse;
    b.dims = {sparse.m, sparse.n};
    b.storage = sparse.storage;
    b.model = sparse;
    return b;
}

RightSide RightSide::literal(Kind kind)
{
    RightSide b;
    b.kind = kind;
    return b;
}

std::uint64_t RightSide::numel() const
{
    return std::accumulate(dims.begin(), dims.end(), std::uint64_t{1}, std::multiplies<>());
}

unsigned RightSide::n() const
{
    return std::accumulate(dims.begin() + 1, dims.end(), 1U, std::multiplies<>());
}

namespace {

Value convertValue(Value value, Storage to)
{
    if (to.classId == kxLOGICAL_CLASS) {
        if (std::isnan(value.real()) || std::isnan(value.imag())) {
            throw Failure{spOK, kInvalidOperandError};
        }
        return value != 0.0 ? 1 : 0;
    }
    if (to.classId == kxCHAR_CLASS && value.imag() != 0) {
        throw Failure{spOK, kInvalidOperandError};
    }
    return {convertElement(value.real(), to.classId), to.complex ? convertElement(value.imag(), to.classId) : 0};
}

} // namespace

RightSide RightSide::converted(kxClassID id) const
{
    RightSide b = *this;
    if (id == storage.classId) {
        return b;
    }
    b.storage = {id, storage.complex && isNumeric(id)};
    if (b.isLiteral()) {
        b.kind = Kind::Full;
    }
    for (Value& value : b.values) {
        value = convertValue(value, b.storage);
    }
    b.model.storage = b.storage;
    b.model.entries.clear();
    for (const auto& [place, value] : model.entries) {
        if (const Value v = convertValue(value, b.storage); v != 0.0) {
            b.model.entries[place] = v;
        }
    }
    return b;
}

RightSide RightSide::squeezed() const
{
    if (dims.size() == 2) {
        return *this;
    }
    RightSide b = *this;
    b.dims.clear();
    for (const unsigned length : dims) {
        if (length != 1) {
            b.dims.push_back(length);
        }
    }
    if (b.dims.size() > 2) {
        throw Failure{spAssignDimMismatch, ""};
    }
    b.dims.resize(2, 1);
    return b;
}

Model RightSide::asSparse() const
{
    if (kind == Kind::Sparse) {
        return model;
    }
    Model sparse = Model::empty(storage, m(), n());
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (values[i] != 0.0) {
            sparse.entries[sparse.place(i)] = values[i];
        }
    }
    return sparse.fit();
}

std::vector<Value> RightSide::elements() const
{
    if (kind != Kind::Sparse) {
        return values;
    }
    std::vector<Value> all(model.numel());
    for (const auto& [place, value] : model.entries) {
        all[model.linear(place)] = value;
    }
    return all;
}

Array toArray(const RightSide& b)
{
    if (b.isLiteral()) {
        Array literal(kxCreateEmptyLiteral());
        if (!b.isDeletion()) {
            kxSetArrayScope(literal.get(), kxELEMENT_SCOPE);
        }
        return literal;
    }
    if (b.kind == RightSide::Kind::Sparse) {
        return toArray(b.model);
    }
    const auto [id, complex] = b.storage;
    Array array(
        kxCreateNumericArray(static_cast<unsigned>(b.dims.size()), b.dims.data(), id, complex ? kxCOMPLEX : kxREAL));
    for (std::size_t i = 0; i < b.values.size(); ++i) {
        writeElement(array->pr, id, i, b.values[i].real());
        if (complex) {
            writeElement(array->pi, id, i, b.values[i].imag());
        }
    }
    return array;
}

std::ostream& operator<<(std::ostream& out, const RightSide& b)
{
    if (b.isLiteral()) {
        return out << (b.isDeletion() ? "[]" : "contained []");
    }
    if (b.kind == RightSide::Kind::Sparse) {
        return out << b.model;
    }
    out << "full " << nameOf(b.storage) << ' ';
    for (std::size_t d = 0; d < b.dims.size(); ++d) {
        out << (d > 0 ? "x" : "") << b.dims[d];
    }
    out << " [";
    for (const Value value : b.values) {
        out << ' ' << value.real();
        if (b.storage.complex) {
            out << std::showpos << value.imag() << 'i' << std::noshowpos;
        }
    }
    return out << " ]";
}

} // namespace zqsp::test
