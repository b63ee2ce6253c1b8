// The subscript of a deletion is the target itself or shares its data.
#include "support/call.hpp"
#include "support/patterns.hpp"
#include "support/self_subscripts.hpp"

using namespace zqsp::test;

namespace {

constexpr Export kDeletions[] = {Export::DeleteColumns, Export::DeleteRows, Export::DeleteElements};

} // namespace

TEST(DeletionAliases, Random)
{
    unsigned completed = 0;
    property(4000, [&] {
        const Model a = drawSelfSubscript(true);
        for (const Export callee : kDeletions) {
            const Alias alias = drawOneIn(2) ? Alias::Target : Alias::SharesTarget;
            const Operation op{.callee = callee, .a = a, .iIs = alias};
            completed += predict(op).ended.completed() ? 1U : 0U;
            holds(op);
        }
    });
    EXPECT_GT(completed, 200U);
}

TEST(DeletionAliases, Faults)
{
    for (const Model& a : {patterned({kxLOGICAL_CLASS, false}, 1, 6), patterned({kxLOGICAL_CLASS, false}, 3, 1),
                           patterned({kxLOGICAL_CLASS, false}, 2, 3), Model::of({}, {{1, 3}, {2, 1}}),
                           Model::of({kxUINT8_CLASS, false}, {{3, 1, 3}})}) {
        for (const Export callee : kDeletions) {
            for (const Alias alias : {Alias::Target, Alias::SharesTarget}) {
                EXPECT_EQ("", checkFaults({.callee = callee, .a = a, .iIs = alias}));
            }
        }
    }
}

TEST(DeletionAliases, TheOtherHolderKeepsItsValues)
{
    for (const Model& a : {Model::of({kxLOGICAL_CLASS, false}, {{1, 0, 0}, {0, 1, 0}, {0, 0, 0}}),
                           Model::of({}, {{1, 3}, {2, 1}}), Model::of({kxSINGLE_CLASS, false}, {{1}})}) {
        for (const Export callee : kDeletions) {
            const Call call({.callee = callee, .a = a, .iIs = Alias::SharesTarget});
            kxSetArrayScope(call.target(), kxELEMENT_SCOPE);
            const Snapshot other(call.unchanging(false).back());
            call.make(nullptr);
            EXPECT_EQ(other.changes(), "");
            EXPECT_EQ(call.target()->scope, kxELEMENT_SCOPE);
        }
    }
}
