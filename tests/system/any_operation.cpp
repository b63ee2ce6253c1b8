#include "system/any_operation.hpp"

#include "support/draw.hpp"

#include <algorithm>

namespace zqsp::test {

namespace {

constexpr unsigned kVast = 10000; // more than a model lists

/// An extent of the target that a subscript leaves open: that of an empty square target comes from the right-hand side.
unsigned openExtent(const Model& a, unsigned extent)
{
    return a.isEmpty() && a.m == a.n ? draw(4) : extent;
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

/// `count` indices below `extent` and a little more, in any order and with repeats.
Subscript drawList(std::uint64_t count, std::uint64_t extent)
{
    std::vector<double> indices;
    for (const unsigned index : drawMany(count, static_cast<unsigned>(extent) + 1 + draw(2))) {
        indices.push_back(index + 1.0);
    }
    return Subscript::list(std::move(indices));
}

/// Where an operand of an assignment is the target, the others are drawn anew, to fit it more often than not.
void fitToAliases(Operation& op)
{
    const Model& a = op.a;
    if (op.bIs != Alias::None) {
        const std::uint64_t lines = op.callee == Export::Ass3 ? a.numel() : op.callee == Export::Ass4 ? a.n : a.m;
        op.i = drawList(lines, lines);
        op.j = drawList(a.n, a.n);
        return;
    }
    const unsigned own = namedBy(Subscript::ofModel(a), 0);
    if (op.callee == Export::Ass3) {
        op.b = drawRightSide(own);
    } else if (op.callee == Export::Ass4) {
        op.b = drawRightSide(a.m, own);
    } else {
        const unsigned columns = op.callee == Export::Ass5 ? a.n : namedBy(op.j, a.n);
        op.b = drawRightSide(own, op.jIs == Alias::None ? columns : own);
    }
}

/// Now and then an operand of a small target is the target, or shares its data, or both subscripts share theirs.
void alias(Operation& op)
{
    const bool assigns = isAssignment(op.callee);
    if (op.callee == Export::Ref6 && drawOneIn(10)) {
        op.jIs = Alias::SharesSubscript;
    }
    if (!op.a.sparse || op.a.numel() > 100 || !(assigns || isDeletion(op.callee)) || !drawOneIn(assigns ? 10 : 4)) {
        return;
    }
    Alias& operand = assigns && drawOneIn(2) ? op.bIs : op.iIs;
    operand = drawFrom<Alias>({Alias::Target, Alias::SharesTarget});
    if (assigns && !op.b.isDeletion()) {
        op.iIs = drawOneIn(4) ? operand : op.iIs;
        op.jIs = op.callee == Export::Ass6 && op.iIs != Alias::None && drawOneIn(2) ? Alias::SharesSubscript : op.jIs;
        fitToAliases(op);
    }
}

} // namespace

Model drawTarget(Export callee, Storage storage)
{
    if (isAssignment(callee) && drawOneIn(6)) {
        return drawUnmadeTarget(storage);
    }
    if ((isAssignment(callee) || isDeletion(callee)) && drawOneIn(4)) {
        return drawSelfSubscript();
    }
    const bool isFull = isDeletion(callee) && drawOneIn(8);
    Model a = drawModel(storage, !isFull);
    a.sparse = !isFull;
    return a;
}

Operation drawOperation(Export callee, const Model& a, bool mayFail, unsigned most)
{
    const Purpose purpose = isReference(callee)               ? Purpose::Reference
                            : callee >= Export::DeleteColumns ? Purpose::Deletion
                                                              : Purpose::Assignment;
    const auto adjusted = [&](Wanted wanted) {
        wanted.mayFail = mayFail;
        wanted.most = most;
        wanted.growth = purpose == Purpose::Assignment && drawOneIn(5) ? 1 + draw(12) : 0;
        return wanted;
    };
    const auto rows = [&] { return drawSubscript(adjusted(wantedRows(a, purpose))); };
    const auto columns = [&] { return drawSubscript(adjusted(wantedColumns(a, purpose))); };
    const auto elements = [&] { return drawSubscript(adjusted(wantedElements(a, purpose))); };
    const auto bareList = [&](const Wanted& wanted) {
        return drawOneIn(5) ? Subscript::colon() : drawBareList(adjusted(wanted));
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
        op.i = bareList(wantedRows(a));
        op.j = bareList(wantedColumns(a));
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
        op.b = deletionOr(a, drawRightSide(openExtent(a, a.m), namedBy(op.i, a.n)));
        break;
    case Export::Ass5:
        op.i = rows();
        op.b = deletionOr(a, drawRightSide(namedBy(op.i, a.m), openExtent(a, a.n)));
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
