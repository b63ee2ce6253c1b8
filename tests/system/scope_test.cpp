// What a target keeps: its scope, unless its content comes about anew; its blocks, where nothing is added; and a full
// one all, where a call changes nothing.
#include "support/operation.hpp"

#include <gtest/gtest.h>

using namespace zqsp::test;

namespace {

/// Those that change what subscripts name.
std::vector<Export> changingExports()
{
    std::vector<Export> all = everyExport();
    std::erase_if(all, [](Export callee) { return !isAssignment(callee) && !isDeletion(callee); });
    return all;
}

} // namespace

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

/// In place means in the blocks that were there. Only the column starts of a new row vector are new.
TEST(Blocks, AreKeptWhereNothingIsAdded)
{
    for (const Storage storage : sparseStorages()) {
        for (const Export callee : changingExports()) {
            const Call call({.callee = callee,
                             .a = patterned(storage, 5, 6, storage.classId != kxLOGICAL_CLASS),
                             .b = RightSide::scalar(0),
                             .i = Subscript::list({3, 1, 4}),
                             .j = Subscript::list({2, 6})});
            const kxArray* a = call.target();
            const auto blocks = [a] { return std::vector<const void*>{a->pr, a->pi, a->ir}; };
            const auto before = blocks();
            const void* const starts = a->jc;
            ASSERT_EQ(call.make(nullptr), spOK);
            EXPECT_EQ(blocks(), before) << storage << nameOf(callee);
            EXPECT_TRUE(starts == a->jc || callee == Export::DeleteElements) << storage << nameOf(callee);
        }
    }
}

TEST(FullTargets, StayFullWhereNothingIsSelected)
{
    Model a = patterned(kReal, 2, 3);
    a.sparse = false;
    const Subscript none = Subscript::list({});
    const Subscript one = Subscript::list({1});
    const RightSide five = RightSide::scalar(5);
    for (const Export callee : changingExports()) {
        const Operation op{.callee = callee, .a = a, .b = five, .i = none, .j = one};
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
