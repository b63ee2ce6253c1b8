// A(K) = B that fails: the order of the checks; and [] from a target without a class.
#include "assign/cases.hpp"

using namespace zqsp::test;

TEST(LinearAssignmentErrors, OrderOfTheChecks)
{
    // B of the target's class, the subscript as such, the number of elements, past the end of a matrix wherever that
    // index stands, the values, the first bad one first.
    std::vector<Subscript> subscripts = oddSubscripts();
    for (const double first : kOddValues) {
        subscripts.push_back(at({first}).as(kxSINGLE_CLASS));
        for (const double second : kOddValues) {
            subscripts.push_back(at({first, second}));
        }
    }
    for (const Model& a : {patterned(kReal, 2, 2), patterned(kLogical, 2, 2), patterned(kReal, 1, 4),
                           Model::empty(kReal, 0, 3), Model::unset()}) {
        for (const RightSide& b :
             {RightSide::scalar(1), RightSide::scalar(0), row({1, 2}), row({1, kNaN}),
              RightSide::literal(RightSide::Kind::ContainedLiteral), RightSide::full({0, 3}, {})}) {
            for (const Subscript& k : subscripts) {
                EXPECT_EQ("", checkOperation(toElements(a, k, b)));
            }
        }
    }
}

/// Of a deletion from nothing the models know nothing.
TEST(LinearAssignmentErrors, TheLiteralDeletesFromNothing)
{
    const Array unset = toArray(Model::unset());
    const Array marker = toArray(RightSide::literal());
    for (const Subscript& k : {at({}), Subscript::colon(), Subscript::mask({0}), Subscript::range(1, 1, 0)}) {
        EXPECT_EQ(run([&] { return spAss3(unset.get(), marker.get(), toArray(k).get()); }), Ended());
        EXPECT_EQ(unset->class_id, kxUNKNOWN_CLASS);
    }
    const Array one = toArray(at({1}));
    expectFails([&] { return spAss3(unset.get(), marker.get(), one.get()); }, spIndexToRemoveOutOfRange,
                {unset.get(), one.get()});
}
