// The subscript or the right-hand side of A(K) = B is the target itself or shares its data.
#include "assign/linear_cases.hpp"
#include "support/call.hpp"
#include "support/self_subscripts.hpp"

using namespace zqsp::test;
using namespace zqsp::test::linear;

namespace {

/// An assignment in which the target is an operand in one way or another.
Operation drawAliased()
{
    const std::vector<Alias> aliases = {Alias::Target, Alias::SharesTarget};
    Operation op = assign(drawSelfSubscript(false), RightSide::literal(), Subscript::colon());
    const auto count = static_cast<unsigned>(op.a.numel());
    const unsigned which = 1 + draw(3);
    if ((which & 1U) != 0) {
        op.bIs = drawFrom(aliases);
    } else {
        op.b = drawRightSide(drawOneIn(2) ? count : op.a.nnz());
    }
    if ((which & 2U) != 0) {
        op.iIs = drawFrom(aliases);
    } else if (!drawOneIn(3)) {
        std::vector<double> k;
        for (const unsigned position : drawMany(count, count)) {
            k.push_back(1.0 + position);
        }
        op.i = Subscript::list(k);
    }
    return op;
}

} // namespace

TEST(LinearAssignmentAliases, Random)
{
    unsigned completed = 0;
    property(6000, [&] {
        const Operation op = drawAliased();
        completed += predict(op).ended.completed() ? 1U : 0U;
        holds(op);
    });
    EXPECT_GT(completed, 400U);
}

TEST(LinearAssignmentAliases, Faults)
{
    property(500, [] {
        const std::string complaint = checkFaults(drawAliased());
        if (!complaint.empty()) {
            RC_FAIL(complaint);
        }
    });
}

TEST(LinearAssignmentAliases, TheOtherHolderKeepsItsValues)
{
    const Model numbers = Model::of({}, {{4, 2}, {1, 3}});
    const Model mask = patterned(kLogical, 2, 3, false);
    const RightSide nine = RightSide::scalar(9);
    const RightSide zero = RightSide::scalar(0);
    const Subscript backwards = Subscript::list({4, 3, 2, 1});
    const Operation cases[] = {
        {.callee = Export::Ass3, .a = numbers, .b = nine, .iIs = Alias::SharesTarget},
        {.callee = Export::Ass3, .a = numbers, .b = zero, .iIs = Alias::SharesTarget},
        {.callee = Export::Ass3, .a = numbers, .b = RightSide::literal(), .iIs = Alias::SharesTarget},
        {.callee = Export::Ass3, .a = numbers, .i = backwards, .bIs = Alias::SharesTarget},
        {.callee = Export::Ass3, .a = numbers, .i = Subscript::colon(), .bIs = Alias::SharesTarget},
        {.callee = Export::Ass3, .a = mask, .b = zero, .iIs = Alias::SharesTarget},
        {.callee = Export::Ass3, .a = mask, .b = RightSide::scalar(1), .iIs = Alias::SharesTarget}};
    for (const Operation& op : cases) {
        const Call call(op);
        kxSetArrayScope(call.target(), kxELEMENT_SCOPE);
        const std::vector<const kxArray*> operands = call.unchanging(false);
        const std::vector<Snapshot> others(operands.begin() + 1, operands.end()); // behind the target
        EXPECT_EQ(call.make(nullptr), spOK);
        for (const Snapshot& other : others) {
            EXPECT_EQ(other.changes(), "") << op;
        }
        EXPECT_EQ(call.target()->scope, kxELEMENT_SCOPE);
        EXPECT_EQ("", checkOperation(op));
    }
}
