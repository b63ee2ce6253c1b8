// Targets that one of their own operands is, or shares data with: the result is what private copies would give, and the
// other holder keeps its values.
#include "assign/cases.hpp"
#include "support/draw.hpp"
#include "support/generators.hpp"

using namespace zqsp::test;

namespace {

/// `count` indices below `extent`, 1-based, in any order and with repeats.
Subscript drawList(unsigned count, std::uint64_t extent)
{
    std::vector<double> indices;
    for (const unsigned index : drawMany(count, std::max(static_cast<unsigned>(extent), 1U))) {
        indices.push_back(index + 1.0);
    }
    return at(std::move(indices));
}

/// Any operand may be the target or share its data; their sizes fit more often than not.
Operation drawAliased()
{
    const auto alias = [] { return drawFrom<Alias>({Alias::None, Alias::Target, Alias::None, Alias::SharesTarget}); };
    Operation op{.callee = drawFrom<Export>({Export::Ass3, Export::Ass4, Export::Ass5, Export::Ass6}),
                 .a = drawOneIn(4) ? drawModel(drawStorage(), Shape::Small, false) : drawSelfSubscript(false),
                 .bIs = alias(),
                 .iIs = alias(),
                 .jIs = drawOneIn(4) ? Alias::SharesSubscript : alias()};
    const unsigned own = namedBy(Subscript::ofModel(op.a), 0);
    const auto named = [&](Alias is, std::uint64_t extent) {
        return is != Alias::None ? own : op.bIs != Alias::None ? static_cast<unsigned>(extent) : draw(4);
    };
    const std::uint64_t extent = op.callee == Export::Ass3 ? op.a.numel() : op.callee == Export::Ass4 ? op.a.n : op.a.m;
    const unsigned count = named(op.iIs, extent);
    const unsigned columns = op.jIs == Alias::SharesSubscript ? count : named(op.jIs, op.a.n);
    op.i = drawList(count, extent + draw(3));
    op.j = drawList(columns, op.a.n + draw(3));
    if (op.callee == Export::Ass3) {
        op.b = drawOneIn(8) ? RightSide::literal() : drawRightSide(count);
    } else {
        op.b = drawRightSide(op.callee == Export::Ass4 ? op.a.m : count, op.callee == Export::Ass4   ? count
                                                                         : op.callee == Export::Ass5 ? op.a.n
                                                                                                     : columns);
    }
    return op;
}

} // namespace

TEST(AssignmentAliases, AnyOperand)
{
    unsigned completed = 0;
    property(15000, [&] {
        const Operation op = drawAliased();
        completed += predict(op).ended.completed() ? 1U : 0U;
        holds(op);
    });
    RecordProperty("completed", static_cast<int>(completed));
    EXPECT_GT(completed, 1000U);
    property(500, [] { survivesFaults(drawAliased()); });
}
