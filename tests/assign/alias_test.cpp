// Targets that one of their own operands is, or shares data with: the result is what private copies would give, and the
// other holder keeps its values.
#include "assign/cases.hpp"
#include "support/draw.hpp"
#include "support/self_subscripts.hpp"

using namespace zqsp::test;

namespace {

Alias drawAlias()
{
    return drawFrom<Alias>({Alias::Target, Alias::SharesTarget});
}

/// `count` indices below `extent`, 1-based, in any order and with repeats.
Subscript drawList(unsigned count, unsigned extent)
{
    std::vector<double> indices;
    for (const unsigned index : drawMany(count, extent)) {
        indices.push_back(index + 1.0);
    }
    return at(std::move(indices));
}

/// A(K) = B in which the target is B, K or both.
Operation drawToElements()
{
    Operation op = toElements(drawSelfSubscript(false), Subscript::colon(), RightSide::literal());
    const auto count = static_cast<unsigned>(op.a.numel());
    const unsigned which = 1 + draw(3);
    if ((which & 1U) != 0) {
        op.bIs = drawAlias();
    } else if (!drawOneIn(8)) { // else the target is deleted from
        op.b = drawRightSide(drawOneIn(2) ? count : op.a.nnz());
    }
    if ((which & 2U) != 0) {
        op.iIs = drawAlias();
    } else if (!drawOneIn(3)) {
        op.i = drawList(count, count);
    }
    return op;
}

} // namespace

TEST(AssignmentAliases, Elements)
{
    unsigned completed = 0;
    property(6000, [&] {
        const Operation op = drawToElements();
        completed += predict(op).ended.completed() ? 1U : 0U;
        holds(op);
    });
    EXPECT_GT(completed, 400U);
    property(500, [] { survivesFaults(drawToElements()); });
}

TEST(AssignmentAliases, RightSidesOfRegions)
{
    property(3000, [] {
        const Model a = drawModel(drawStorage(), Shape::Small);
        RC_PRE(!a.isEmpty());
        const Subscript i = drawList(a.m, a.m + draw(3));
        const Subscript j = drawList(a.n, a.n + draw(3));
        const Alias is = drawAlias();
        holds({.callee = Export::Ass4, .a = a, .i = j, .bIs = is});
        holds({.callee = Export::Ass5, .a = a, .i = i, .bIs = is});
        holds({.callee = Export::Ass6, .a = a, .i = i, .j = j, .bIs = is});
        // Where it does not fit, the target stays as it is.
        holds({.callee = Export::Ass6, .a = a, .i = drawList(a.m + 1, a.m), .j = j, .bIs = is});
    });
}

TEST(AssignmentAliases, SubscriptsOfRegions)
{
    property(3000, [] {
        const Model a = drawSelfSubscript(false);
        const Subscript other = drawList(draw(4), 6);
        const unsigned own = namedBy(Subscript::ofModel(a), 0);
        const unsigned others = namedBy(other, 0);
        const Alias is = drawAlias();
        const Alias bIs = drawOneIn(3) ? Alias::None : drawAlias();
        const RightSide block = drawRightSide(own, own);
        holds({.callee = Export::Ass6, .a = a, .b = block, .iIs = is, .jIs = drawAlias()});
        holds({.callee = Export::Ass6, .a = a, .b = block, .iIs = is, .jIs = Alias::SharesSubscript});
        holds({.callee = Export::Ass6, .a = a, .b = drawRightSide(own, others), .j = other, .iIs = is});
        holds({.callee = Export::Ass6, .a = a, .b = drawRightSide(others, own), .i = other, .jIs = is});
        holds({.callee = Export::Ass4, .a = a, .b = drawRightSide(a.m, own), .bIs = bIs, .iIs = is});
        holds({.callee = Export::Ass5, .a = a, .b = drawRightSide(own, a.n), .bIs = bIs, .iIs = is});
    });
}
