#include "support/call.hpp"

#include <ostream>

namespace zqsp::test {

bool isReference(Export callee)
{
    return callee <= Export::ReferenceByRanges;
}

/// The operation with its aliased operands described by what they are.
Operation resolved(Operation op)
{
    if (op.bIs != Alias::None) {
        op.b = RightSide::of(op.a);
    }
    if (op.iIs != Alias::None) {
        op.i = Subscript::ofModel(op.a);
    }
    if (op.jIs == Alias::SharesSubscript) {
        op.j = op.i;
    } else if (op.jIs != Alias::None) {
        op.j = Subscript::ofModel(op.a);
    }
    return op;
}

namespace {

bool takesRightSide(Export callee)
{
    return callee >= Export::Ass3 && callee <= Export::Ass6;
}

bool takesBareIndices(Export callee)
{
    return callee == Export::ReferenceByLists || callee == Export::ReferenceByRanges;
}

bool takesColumns(Export callee)
{
    return callee == Export::Ref6 || callee == Export::Ass6 || takesBareIndices(callee);
}

std::vector<unsigned> zeroBased(const Subscript& list)
{
    std::vector<unsigned> indices;
    for (const double value : list.values) {
        indices.push_back(static_cast<unsigned>(value) - 1);
    }
    return indices;
}

kxArray* referenceByLists(const kxArray* a, const Subscript& i, const Subscript& j)
{
    const std::vector<unsigned> rows = zeroBased(i);
    const std::vector<unsigned> columns = zeroBased(j);
    static const unsigned kNothing = 0; // a list without elements is not a null list
    const auto data = [](const Subscript& s, const std::vector<unsigned>& list) {
        return s.form == Form::Colon ? nullptr : (list.empty() ? &kNothing : list.data());
    };
    return kxSparseReference(a, data(i, rows), static_cast<unsigned>(rows.size()), data(j, columns),
                             static_cast<unsigned>(columns.size()));
}

kxArray* referenceByRanges(const kxArray* a, const Subscript& i, const Subscript& j)
{
    return kxSparseColonReference(a, static_cast<int>(i.start), static_cast<int>(i.step), static_cast<int>(i.stop),
                                  static_cast<int>(j.start), static_cast<int>(j.step), static_cast<int>(j.stop));
}

} // namespace

template <typename Description>
Array Call::operand(Alias is, const Description& description) const
{
    switch (is) {
    case Alias::None:
        return toArray(description);
    case Alias::SharesTarget:
        return Array(kxCreateSharedDataCopy(a_.get()));
    case Alias::SharesSubscript:
        return Array(kxCreateSharedDataCopy(i_.get()));
    case Alias::Target:
        break;
    }
    return {};
}

Call::Call(const Operation& operation) : Call(operation, toArray(operation.a)) {}

Call::Call(const Operation& operation, Array target) : op_(resolved(operation)), a_(std::move(target))
{
    const Export callee = op_.callee;
    if (takesRightSide(callee)) {
        b_ = operand(op_.bIs, op_.b);
    }
    if (callee == Export::Ref2 || callee == Export::Reshape || takesBareIndices(callee)) {
        return;
    }
    i_ = operand(op_.iIs, op_.i);
    if (takesColumns(callee)) {
        j_ = operand(op_.jIs, op_.j);
    }
}

std::vector<const kxArray*> Call::unchanging(bool completed) const
{
    std::vector<const kxArray*> all;
    if (!completed || isReference(op_.callee)) {
        all.push_back(a_.get());
    }
    const auto add = [&](const Array& array, Alias is) {
        if (array.get() != nullptr && (!completed || is == Alias::None || is == Alias::SharesSubscript)) {
            all.push_back(array.get());
        }
    };
    add(b_, op_.bIs);
    add(i_, op_.iIs);
    add(j_, op_.jIs);
    return all;
}

spStatus Call::make(kxArray** out) const
{
    kxArray* a = a_.get();
    const kxArray* b = pointer(b_);
    const kxArray* i = pointer(i_);
    const kxArray* j = pointer(j_);
    switch (op_.callee) {
    case Export::Ref2:
        return spRef2(a, out);
    case Export::Ref3:
        return spRef3(a, i, out);
    case Export::Ref4:
        return spRef4(a, i, out);
    case Export::Ref5:
        return spRef5(a, i, out);
    case Export::Ref6:
        return spRef6(a, i, j, out);
    case Export::ReferenceByLists:
        *out = referenceByLists(a, op_.i, op_.j);
        return spOK;
    case Export::ReferenceByRanges:
        *out = referenceByRanges(a, op_.i, op_.j);
        return spOK;
    case Export::Ass3:
        return spAss3(a, b, i);
    case Export::Ass4:
        return spAss4(a, b, i);
    case Export::Ass5:
        return spAss5(a, b, i);
    case Export::Ass6:
        return spAss6(a, b, i, j);
    case Export::DeleteColumns:
        return spDeleteColumns(a, i);
    case Export::DeleteRows:
        return spDeleteRows(a, i);
    case Export::DeleteElements:
        return spDeleteElements(a, i);
    case Export::Reshape:
        break;
    }
    spReshape(a, op_.newM, op_.newN);
    return spOK;
}

namespace {

const char* nameOf(Export callee)
{
    constexpr const char* kNames[] = {
        "spRef2",   "spRef3", "spRef4", "spRef5", "spRef6",          "kxSparseReference", "kxSparseColonReference",
        "spAss3",   "spAss4", "spAss5", "spAss6", "spDeleteColumns", "spDeleteRows",      "spDeleteElements",
        "spReshape"};
    return kNames[static_cast<std::size_t>(callee)];
}

const char* nameOf(Alias alias)
{
    switch (alias) {
    case Alias::None:
        break;
    case Alias::Target:
        return " is the target";
    case Alias::SharesTarget:
        return " shares the target's data";
    case Alias::SharesSubscript:
        return " shares I's data";
    }
    return "";
}

} // namespace

std::ostream& operator<<(std::ostream& out, const Operation& operation)
{
    const Operation op = resolved(operation);
    out << "\n" << nameOf(op.callee) << "\n  A = " << op.a;
    if (takesRightSide(op.callee)) {
        out << "\n  B" << nameOf(op.bIs) << " = " << op.b;
    }
    if (op.callee == Export::Reshape) {
        return out << "\n  to " << op.newM << "x" << op.newN;
    }
    if (op.callee != Export::Ref2) {
        out << "\n  I" << nameOf(op.iIs) << " = " << op.i;
    }
    if (takesColumns(op.callee)) {
        out << "\n  J" << nameOf(op.jIs) << " = " << op.j;
    }
    return out;
}

} // namespace zqsp::test
