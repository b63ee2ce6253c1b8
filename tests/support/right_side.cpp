#include "support/right_side.hpp"

#include <cmath>
#include <ostream>

namespace zqsp::test {

RightSide RightSide::full(std::vector<unsigned> dims, const std::vector<Value>& values, Storage storage)
{
    while (dims.size() > 2 && dims.back() == 1) { // as the runtime has it
        dims.pop_back();
    }
    unsigned n = 1;
    for (std::size_t d = 1; d < dims.size(); ++d) {
        n *= dims[d];
    }
    Model model = emptyFull(storage, dims[0], n);
    for (std::size_t i = 0; i < values.size(); ++i) {
        model.entries[model.place(i)] = values[i];
    }
    return {.kind = Kind::Full, .dims = std::move(dims), .model = model};
}

RightSide RightSide::of(const Model& sparse)
{
    return {.kind = Kind::Sparse, .dims = {sparse.m, sparse.n}, .model = sparse};
}

RightSide RightSide::literal(Kind kind)
{
    return {.kind = kind};
}

namespace {

Value convertValue(Value value, Storage to)
{
    if (to.classId == kxLOGICAL_CLASS) {
        if (std::isnan(value.real()) || std::isnan(value.imag())) {
            throw Failure(kInvalidOperandError);
        }
        return value != 0.0 ? 1 : 0;
    }
    if (to.classId == kxCHAR_CLASS && value.imag() != 0) {
        throw Failure(kInvalidOperandError);
    }
    return {convertElement(value.real(), to.classId), to.complex ? convertElement(value.imag(), to.classId) : 0};
}

} // namespace

RightSide RightSide::converted(kxClassID id) const
{
    RightSide b = *this;
    if (id == storage().classId) {
        return b;
    }
    b.model.storage = {id, storage().complex && isNumeric(id)};
    if (b.isLiteral()) {
        b.kind = Kind::Full;
    }
    for (auto& [place, value] : b.model.entries) {
        value = convertValue(value, b.storage());
    }
    if (kind == Kind::Sparse) {
        std::erase_if(b.model.entries, [](const auto& entry) { return entry.second == 0.0; });
    }
    return b;
}

RightSide RightSide::squeezed() const
{
    if (dims.size() == 2) {
        return *this;
    }
    std::vector<unsigned> kept;
    for (const unsigned length : dims) {
        if (length != 1) {
            kept.push_back(length);
        }
    }
    if (kept.size() > 2) {
        throw Failure(spAssignDimMismatch);
    }
    kept.resize(2, 1);
    return full(std::move(kept), elements(), storage());
}

Model RightSide::asSparse() const
{
    Model sparse = model;
    if (kind != Kind::Sparse) {
        sparse.sparse = true;
        std::erase_if(sparse.entries, [](const auto& entry) { return entry.second == 0.0; });
    }
    return sparse.fit();
}

std::vector<Value> RightSide::elements() const
{
    std::vector<Value> all(model.numel());
    for (const auto& [place, value] : model.entries) {
        all[model.linear(place)] = value;
    }
    return all;
}

Array toArray(const RightSide& b)
{
    if (!b.isLiteral()) {
        Array array = toArray(b.model);
        if (b.dims.size() > 2) {
            kxSetDimensions(array.get(), b.dims.data(), static_cast<unsigned>(b.dims.size()));
        }
        return array;
    }
    Array literal(kxCreateEmptyLiteral());
    if (!b.isDeletion()) {
        kxSetArrayScope(literal.get(), kxELEMENT_SCOPE);
    }
    return literal;
}

std::ostream& operator<<(std::ostream& out, const RightSide& b)
{
    if (b.isLiteral()) {
        return out << (b.isDeletion() ? "[]" : "contained []");
    }
    out << b.model;
    for (std::size_t d = 0; b.dims.size() > 2 && d < b.dims.size(); ++d) {
        out << (d > 0 ? "-by-" : " as ") << b.dims[d];
    }
    return out;
}

} // namespace zqsp::test
