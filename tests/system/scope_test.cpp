// Whether a target keeps its scope: it does unless its content comes about anew. And a full one stays full where a call
// changes nothing.
#include "support/call.hpp"
#include "support/patterns.hpp"

#include <gtest/gtest.h>

using namespace zqsp::test;

TEST(Scope, OfTargets)
{
    const Model a = patterned(kReal, 2, 3);
    const Model mask = patterned(kLogical, 2, 3, false);
    const Subscript one = Subscript::list({1});
    const Subscript colon = Subscript::colon();
    const RightSide five = RightSide::scalar(5);
    const auto shares = Alias::SharesTarget;
    const std::pair<Operation, kxVariableScope> cases[] = {
        {{.callee = Export::Ass3, .a = a, .b = five, .i = colon}, kxELEMENT_SCOPE},
        {{.callee = Export::Ass3, .a = a, .b = RightSide::of(reshaped(a, 6, 1)), .i = colon}, kxELEMENT_SCOPE},
        {{.callee = Export::Ass3, .a = mask, .b = five, .iIs = shares}, kxELEMENT_SCOPE},
        {{.callee = Export::Ass4, .a = a, .i = Subscript::range(3, -1, 1), .bIs = shares}, kxELEMENT_SCOPE},
        {{.callee = Export::DeleteElements, .a = mask, .iIs = shares}, kxELEMENT_SCOPE},
        {{.callee = Export::Ass3, .a = Model::unset(), .b = five, .i = one}, kxTEMPORARY_SCOPE},
        {{.callee = Export::Ass4, .a = Model::unset(), .b = five, .i = one}, kxTEMPORARY_SCOPE},
        {{.callee = Export::Ass6, .a = Model::unset(), .b = five, .i = one, .j = one}, kxTEMPORARY_SCOPE},
        {{.callee = Export::DeleteColumns, .a = a, .i = colon}, kxTEMPORARY_SCOPE},
        {{.callee = Export::DeleteRows, .a = a, .i = colon}, kxTEMPORARY_SCOPE},
        {{.callee = Export::DeleteElements, .a = a, .i = colon}, kxTEMPORARY_SCOPE}};
    for (const auto& [op, expected] : cases) {
        const Call call(op);
        kxSetArrayScope(call.target(), kxELEMENT_SCOPE);
        EXPECT_EQ(call.make(nullptr), spOK) << op;
        EXPECT_EQ(call.target()->scope, expected) << op;
    }
}

TEST(FullTargets, StayFullWhereNothingIsSelected)
{
    Model a = patterned(kReal, 2, 3);
    a.sparse = false;
    const Subscript none = Subscript::list({});
    const Subscript one = Subscript::list({1});
    const RightSide five = RightSide::scalar(5);
    for (const Operation& op : {Operation{.callee = Export::Ass3, .a = a, .b = five, .i = none},
                                Operation{.callee = Export::Ass4, .a = a, .b = five, .i = none},
                                Operation{.callee = Export::Ass5, .a = a, .b = five, .i = none},
                                Operation{.callee = Export::Ass6, .a = a, .b = five, .i = none, .j = one},
                                Operation{.callee = Export::DeleteColumns, .a = a, .i = none},
                                Operation{.callee = Export::DeleteRows, .a = a, .i = none},
                                Operation{.callee = Export::DeleteElements, .a = a, .i = none}}) {
        const Call call(op);
        const Snapshot before(call.target());
        EXPECT_EQ(call.make(nullptr), spOK) << op;
        EXPECT_EQ("", before.changes()) << op;
    }
    const Call changing({.callee = Export::Ass3, .a = a, .b = five, .i = one});
    kxSetArrayScope(changing.target(), kxELEMENT_SCOPE);
    EXPECT_EQ(changing.make(nullptr), spOK);
    EXPECT_TRUE(isSparse(changing.target()));
    EXPECT_EQ(changing.target()->scope, kxELEMENT_SCOPE);
}
