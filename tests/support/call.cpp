#include "support/operation.hpp"

#include <algorithm>
#include <ostream>

namespace zqsp::test {

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

/// The arrays of a call, as the export takes them.
struct Operands
{
    const Operation& op;
    kxArray* a;
    const kxArray* b;
    const kxArray* i;
    const kxArray* j;
    kxArray** out;
};

std::vector<unsigned> zeroBased(const Subscript& list)
{
    std::vector<unsigned> indices;
    for (const double value : list.values) {
        indices.push_back(static_cast<unsigned>(value) - 1);
    }
    return indices;
}

spStatus referenceByLists(const Operands& x)
{
    const std::vector<unsigned> rows = zeroBased(x.op.i);
    const std::vector<unsigned> columns = zeroBased(x.op.j);
    static const unsigned kNothing = 0; // a list without elements is not a null list
    const auto data = [](const Subscript& s, const std::vector<unsigned>& list) {
        return s.form == Form::Colon ? nullptr : (list.empty() ? &kNothing : list.data());
    };
    *x.out = kxSparseReference(x.a, data(x.op.i, rows), static_cast<unsigned>(rows.size()), data(x.op.j, columns),
                               static_cast<unsigned>(columns.size()));
    return spOK;
}

spStatus referenceByRanges(const Operands& x)
{
    const auto word = [](double value) { return static_cast<int>(value); };
    const auto& [op, a, b, i, j, out] = x;
    *out = kxSparseColonReference(a, word(op.i.start), word(op.i.step), word(op.i.stop), word(op.j.start),
                                  word(op.j.step), word(op.j.stop));
    return spOK;
}

/// What there is to know of an export.
struct ExportTraits
{
    const char* name;
    unsigned subscripts;
    Model (*model)(const Operation&);
    spStatus (*call)(const Operands&);
};

/// In the order of Export.
const ExportTraits kExports[] = {
    {"spRef2", 0, [](const Operation& op) { return refAll(op.a); },
     [](const Operands& x) { return spRef2(x.a, x.out); }},
    {"spRef3", 1, [](const Operation& op) { return refLinear(op.a, op.i); },
     [](const Operands& x) { return spRef3(x.a, x.i, x.out); }},
    {"spRef4", 1, [](const Operation& op) { return refColumns(op.a, op.i); },
     [](const Operands& x) { return spRef4(x.a, x.i, x.out); }},
    {"spRef5", 1, [](const Operation& op) { return refRows(op.a, op.i); },
     [](const Operands& x) { return spRef5(x.a, x.i, x.out); }},
    {"spRef6", 2, [](const Operation& op) { return refGeneral(op.a, op.i, op.j); },
     [](const Operands& x) { return spRef6(x.a, x.i, x.j, x.out); }},
    {"kxSparseReference", 2, [](const Operation& op) { return refByLists(op.a, op.i, op.j); }, referenceByLists},
    {"kxSparseColonReference", 2, [](const Operation& op) { return refByRanges(op.a, op.i, op.j); }, referenceByRanges},
    {"spAss3", 1, [](const Operation& op) { return assignLinear(op.a, op.b, op.i); },
     [](const Operands& x) { return spAss3(x.a, x.b, x.i); }},
    {"spAss4", 1, [](const Operation& op) { return assignColumns(op.a, op.b, op.i); },
     [](const Operands& x) { return spAss4(x.a, x.b, x.i); }},
    {"spAss5", 1, [](const Operation& op) { return assignRows(op.a, op.b, op.i); },
     [](const Operands& x) { return spAss5(x.a, x.b, x.i); }},
    {"spAss6", 2, [](const Operation& op) { return assignGeneral(op.a, op.b, op.i, op.j); },
     [](const Operands& x) { return spAss6(x.a, x.b, x.i, x.j); }},
    {"spDeleteColumns", 1, [](const Operation& op) { return deleteColumns(op.a, op.i); },
     [](const Operands& x) { return spDeleteColumns(x.a, x.i); }},
    {"spDeleteRows", 1, [](const Operation& op) { return deleteRows(op.a, op.i); },
     [](const Operands& x) { return spDeleteRows(x.a, x.i); }},
    {"spDeleteElements", 1, [](const Operation& op) { return deleteElements(op.a, op.i); },
     [](const Operands& x) { return spDeleteElements(x.a, x.i); }},
    {"spReshape", 0, [](const Operation& op) { return reshaped(op.a, op.newM, op.newN); },
     [](const Operands& x) {
         spReshape(x.a, x.op.newM, x.op.newN);
         return spOK;
     }}};

const ExportTraits& traitsOf(Export callee)
{
    return kExports[static_cast<std::size_t>(callee)];
}

bool takesBareIndices(Export callee)
{
    return callee == Export::ReferenceByLists || callee == Export::ReferenceByRanges;
}

} // namespace

std::vector<Export> everyExport()
{
    std::vector<Export> all(std::size(kExports));
    std::generate(all.begin(), all.end(), [next = 0]() mutable { return static_cast<Export>(next++); });
    return all;
}

const char* nameOf(Export callee)
{
    return traitsOf(callee).name;
}

bool isReference(Export callee)
{
    return callee <= Export::ReferenceByRanges;
}

bool isAssignment(Export callee)
{
    return callee >= Export::Ass3 && callee <= Export::Ass6;
}

bool isDeletion(Export callee)
{
    return callee >= Export::DeleteColumns && callee <= Export::DeleteElements;
}

Model modelled(const Operation& operation)
{
    return traitsOf(operation.callee).model(operation);
}

template <typename Description>
Array Call::operand(Alias is, const Description& description) const
{
    switch (is) {
    case Alias::None:
        return toArray(description);
    case Alias::SharesTarget:
        return Array(kxCreateSharedDataCopy(a_.get()));
    case Alias::SharesSubscript:
        return Array(kxCreateSharedDataCopy(pointer(i_)));
    case Alias::Target:
        break;
    }
    return {};
}

Call::Call(const Operation& operation) : Call(operation, toArray(operation.a)) {}

Call::Call(const Operation& operation, Array target) : op_(resolved(operation)), a_(std::move(target))
{
    const unsigned subscripts = takesBareIndices(op_.callee) ? 0 : traitsOf(op_.callee).subscripts;
    if (isAssignment(op_.callee)) {
        b_ = operand(op_.bIs, op_.b);
    }
    if (subscripts > 0) {
        i_ = operand(op_.iIs, op_.i);
    }
    if (subscripts > 1) {
        j_ = operand(op_.jIs, op_.j);
    }
}

std::vector<const kxArray*> Call::unchanging(bool completed) const
{
    std::vector<const kxArray*> all;
    if (!completed || isReference(op_.callee)) {
        all.push_back(a_.get());
    }
    for (const Array* operand : {&b_, &i_, &j_}) {
        if (operand->get() != nullptr) {
            all.push_back(operand->get());
        }
    }
    return all;
}

spStatus Call::make(kxArray** out) const
{
    return traitsOf(op_.callee).call({op_, a_.get(), pointer(b_), pointer(i_), pointer(j_), out});
}

namespace {

const char* nameOf(Alias alias)
{
    constexpr const char* kNames[] = {"", " is the target", " shares the target's data", " shares I's data"};
    return kNames[static_cast<std::size_t>(alias)];
}

} // namespace

std::ostream& operator<<(std::ostream& out, const Operation& operation)
{
    const Operation op = resolved(operation);
    out << "\n" << nameOf(op.callee) << "\n  A = " << op.a;
    if (isAssignment(op.callee)) {
        out << "\n  B" << nameOf(op.bIs) << " = " << op.b;
    }
    if (op.callee == Export::Reshape) {
        out << "\n  to " << op.newM << "x" << op.newN;
    }
    if (traitsOf(op.callee).subscripts > 0) {
        out << "\n  I" << nameOf(op.iIs) << " = " << op.i;
    }
    if (traitsOf(op.callee).subscripts > 1) {
        out << "\n  J" << nameOf(op.jIs) << " = " << op.j;
    }
    return out;
}

} // namespace zqsp::test
