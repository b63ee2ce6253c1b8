#include "system/any_operation.hpp"

#include "support/draw.hpp"

#include <algorithm>

namespace zqsp::test {

namespace {

constexpr unsigned kVast = 10000; // more than a model lists

Wanted growing(Wanted wanted, bool mayFail)
{
    wanted.mayFail = mayFail;
    wanted.growth = wanted.purpose == Purpose::Assignment && drawOneIn(5) ? 3 : 0;
    return wanted;
}

Subscript bareRange(unsigned extent)
{
    constexpr unsigned kHighest = 0x7FFFFFFF;
    const unsigned reach = std::min(extent, kHighest - 2) + 2;
    const double first = draw(reach);
    const double step = drawFrom<double>({1, -1, 2, -3});
    const double last = extent < kVast ? draw(reach) : first + step * draw(9) + draw(2);
    return Subscript::range(first, step, std::clamp<double>(last, 0, kHighest));
}

/// Now and then the mark of a deletion, which needs a target with a class.
RightSide deletionOr(const Model& a, const RightSide& b)
{
    return a.sparse && drawOneIn(10) ? RightSide::literal() : b;
}

void drawReshape(const Model& a, Operation& op)
{
    std::vector<unsigned> divisors;
    const std::uint64_t elements = a.numel();
    for (unsigned d = 1; d <= 64 && elements > 0; ++d) {
        if (elements % d == 0 && elements / d <= 0xFFFFFFFFU) {
            divisors.push_back(d);
        }
    }
    if (elements == 0) {
        op.newM = draw(4);
    } else if (divisors.empty()) {
        op.newM = a.m;
        op.newN = a.n;
    } else {
        const unsigned d = drawFrom(divisors);
        const auto other = static_cast<unsigned>(elements / d);
        op.newM = other < kVast ? d : other;
        op.newN = other < kVast ? other : d;
    }
}

/// Now and then an operand of a small target is the target, or shares its data.
void alias(Operation& op)
{
    const bool assigns = isAssignment(op.callee);
    const bool deletes = op.callee >= Export::DeleteColumns && op.callee <= Export::DeleteElements;
    if (!op.a.sparse || op.a.numel() > 100 || !(assigns || deletes) || !drawOneIn(10)) {
        return;
    }
    Alias& operand = assigns && drawOneIn(2) ? op.bIs : op.iIs;
    operand = drawFrom<Alias>({Alias::Target, Alias::SharesTarget});
}

} // namespace

Model drawTarget(Export callee)
{
    const unsigned kind = isAssignment(callee) ? draw(12) : 0;
    if (kind == 11) {
        return Model::unset();
    }
    Model a = kind == 10 ? Model::empty({kxSINGLE_CLASS, false}, draw(3), 0) : drawModel();
    a.sparse = kind != 10;
    return a;
}

Operation drawOperation(Export callee, const Model& a, bool mayFail)
{
    const bool deletes = callee >= Export::DeleteColumns;
    const Purpose purpose = isReference(callee) ? Purpose::Reference
                            : deletes           ? Purpose::Deletion
                                                : Purpose::Assignment;
    const auto rows = [&] { return drawSubscript(growing(wantedRows(a, purpose), mayFail)); };
    const auto columns = [&] { return drawSubscript(growing(wantedColumns(a, purpose), mayFail)); };
    const auto elements = [&] { return drawSubscript(growing(wantedElements(a, purpose), mayFail)); };
    const auto bareList = [&](unsigned extent) {
        return drawBareList({.extent = extent, .purpose = purpose, .mayFail = mayFail});
    };
    Operation op{.callee = callee, .a = a};
    switch (callee) {
    case Export::Ref2:
        break;
    case Export::Ref3:
    case Export::DeleteElements:
        op.i = elements();
        break;
    case Export::Ref4:
    case Export::DeleteColumns:
        op.i = columns();
        break;
    case Export::Ref5:
    case Export::DeleteRows:
        op.i = rows();
        break;
    case Export::Ref6:
        op.i = rows();
        op.j = columns();
        break;
    case Export::ReferenceByLists:
        op.i = drawOneIn(4) ? Subscript::colon() : bareList(a.m);
        op.j = bareList(a.n);
        break;
    case Export::ReferenceByRanges:
        op.i = bareRange(a.m);
        op.j = bareRange(a.n);
        break;
    case Export::Ass3:
        op.i = elements();
        op.b = deletionOr(a, drawRightSide(namedBy(op.i, a.numel())));
        break;
    case Export::Ass4:
        op.i = columns();
        op.b = deletionOr(a, drawRightSide(a.m, namedBy(op.i, a.n)));
        break;
    case Export::Ass5:
        op.i = rows();
        op.b = deletionOr(a, drawRightSide(namedBy(op.i, a.m), a.n));
        break;
    case Export::Ass6:
        op.i = rows();
        op.j = columns();
        op.b = drawRightSide(namedBy(op.i, a.m), namedBy(op.j, a.n));
        break;
    case Export::Reshape:
        drawReshape(a, op);
        break;
    }
    alias(op);
    return op;
}

unsigned drawMaximum(const Operation& op)
{
    if (op.a.numel() > 0xFFFFFFFFU - 2 || op.b.numel() > kVast) {
        return 0xFFFFFFFFU - draw(2);
    }
    std::uint64_t least = op.b.numel();
    for (const Subscript* s : {&op.i, &op.j}) {
        const bool stays = s->form == Form::Mask || op.callee == Export::ReferenceByRanges;
        least = stays ? least : std::max(least, s->numel());
    }
    const auto elements = static_cast<unsigned>(op.a.numel());
    if (elements > kVast) {
        return elements - 2 + draw(5);
    }
    return static_cast<unsigned>(least) + draw(drawOneIn(2) ? 4 : elements + 20);
}

} // namespace zqsp::test
