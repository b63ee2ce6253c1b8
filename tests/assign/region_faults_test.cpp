// Every allocation of A(I,J) = B, A(:,J) = B and A(I,:) = B fails once: the target stays byte for byte as it was.
#include "assign/region_cases.hpp"
#include "support/draw.hpp"
#include "support/generators.hpp"
#include "support/patterns.hpp"

using namespace zqsp::test;

namespace {

void holdsThroughFaults(const Operation& operation, unsigned& faults)
{
    const std::string complaint = checkFaults(operation, &faults);
    if (!complaint.empty()) {
        RC_FAIL(complaint);
    }
}

Model drawTarget()
{
    switch (draw(12)) {
    case 11:
        return Model::unset();
    case 10:
        return emptyFull({kxSINGLE_CLASS, false}, draw(3), 0);
    case 9:
        return drawModel(drawStorage(), Shape::Dense);
    default:
        return drawModel(drawStorage(), Shape::Small);
    }
}

} // namespace

TEST(RegionFaults, EveryPath)
{
    unsigned faults = 0;
    property(1200, [&] {
        const Model a = drawTarget();
        const auto wanted = [](unsigned extent) {
            return Wanted{
                .extent = extent, .purpose = Purpose::Assignment, .growth = drawOneIn(3) ? 2U : 0U, .mayFail = false};
        };
        const Subscript i = drawSubscript(wanted(a.m));
        const Subscript j = drawSubscript(wanted(a.n));
        const unsigned height = namedBy(i, a.m);
        const unsigned width = namedBy(j, a.n);
        holdsThroughFaults(toRegion(a, i, j, drawRightSide(height, width)), faults);
        holdsThroughFaults(toColumns(a, j, drawRightSide(a.m, width)), faults);
        holdsThroughFaults(toRows(a, i, drawRightSide(height, a.n)), faults);
    });
    EXPECT_GT(faults, 1000U);
}

TEST(RegionFaults, Aliases)
{
    unsigned faults = 0;
    for (const Storage storage : {Storage{kxDOUBLE_CLASS, true}, Storage{kxLOGICAL_CLASS, false}}) {
        const Model a = patterned(storage, 3, 3);
        const Subscript s = Subscript::list({5, 1, 2});
        for (const Alias is : {Alias::Target, Alias::SharesTarget}) {
            EXPECT_EQ("", checkFaults({.callee = Export::Ass4, .a = a, .i = s, .bIs = is}, &faults));
            EXPECT_EQ("", checkFaults({.callee = Export::Ass5, .a = a, .i = s, .bIs = is}, &faults));
            EXPECT_EQ("", checkFaults({.callee = Export::Ass6, .a = a, .i = s, .j = s, .bIs = is}, &faults));
            const RightSide one = RightSide::scalar(1);
            EXPECT_EQ("", checkFaults({.callee = Export::Ass6, .a = a, .b = one, .i = s, .jIs = is}, &faults));
        }
    }
    EXPECT_GT(faults, 50U);
}

TEST(RegionFaults, Deletions)
{
    const Model a = patterned({kxDOUBLE_CLASS, true}, 4, 4);
    const RightSide mark = RightSide::literal();
    for (const Subscript& s : {Subscript::list({3, 1}), Subscript::range(4, -2, 1), Subscript::mask({0, 1})}) {
        EXPECT_EQ("", checkFaults(toColumns(a, s, mark)));
        EXPECT_EQ("", checkFaults(toRows(a, s, mark)));
    }
}
