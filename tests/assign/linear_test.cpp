// A(K) = B and A(:) = B: what the random tests do not draw, and how they fail.
#include "assign/cases.hpp"
#include "support/operation.hpp"

#include <algorithm>

using namespace zqsp::test;

/// Values that the random tests do not draw, in every way of assigning one.
TEST(Assignment, WhatIsZero)
{
    const double tiny = std::numeric_limits<double>::denorm_min();
    const std::pair<Value, Storage> sources[] = {
        {-0.0, kReal},        {{-0.0, -0.0}, kComplex}, {{0, tiny}, kComplex}, {tiny, kReal},
        {kNaN, kReal},        {{0, kNaN}, kComplex},    {kInf, kReal},         {-0.4, kReal},
        {{0, 0.4}, kComplex}, {{0, 300}, kComplex}};
    for (const Storage storage : sparseStorages()) {
        const Model a = patterned(storage, 4, 3, storage.classId != kxLOGICAL_CLASS);
        for (const auto& [value, source] : sources) {
            const RightSide b = RightSide::scalar(value, source);
            for (const Operation& op :
                 {toElements(a, at({3}), b), toElements(a, at({2, 9, 3, 1, 2}), b),
                  toElements(a, at({3, 4, 5}), row({value, 0, value}, source)), toElements(a, Subscript::colon(), b),
                  toColumns(a, at({2}), b), toRows(a, at({2, 5}), b), toRegion(a, at({2}), at({2}), b),
                  toRegion(a, at({3, 1}), at({1, 4}), b)}) {
                EXPECT_EQ("", checkOperation(op));
            }
        }
    }
}

/// A logical array that another program made holds any byte but 0 for true.
TEST(Assignment, TrueIsStoredAsOne)
{
    const Model a = patterned(kLogical, 4, 3, false);
    const auto toAll = [&](Subscript k, std::vector<Value> values) {
        return toElements(a, std::move(k), row(std::move(values), kLogical));
    };
    const Model sparse = patterned(kLogical, 12, 1, false);
    for (const Operation& op :
         {toAll(at({3}), {1}), toAll(at({2}), {1}), toAll(at({1, 2, 3, 4}), {1, 0, 1, 1}), toAll(at({1, 3}), {1, 1}),
          toAll(at({2, 2, 11}), {1, 1, 1}), toAll(Subscript::range(1, 1, 4), {1}), toAll(Subscript::colon(), {1}),
          toElements(a, Subscript::range(1, 1, 12), RightSide::of(sparse)),
          toColumns(a, at({2, 4}), row({1}, kLogical))}) {
        const Call call(op);
        const kxArray* const b = call.unchanging(true).front();
        auto* const bytes = static_cast<unsigned char*>(b->pr);
        const unsigned stored = kxGetNumNonZeroEl(b);
        std::transform(bytes, bytes + stored, bytes, [](unsigned char byte) { return byte != 0 ? 254 : 0; });
        ASSERT_EQ(call.make(nullptr), spOK);
        EXPECT_EQ("", diff(call.target(), predict(op).result));
        EXPECT_TRUE(std::all_of(bytes, bytes + stored, [](unsigned char byte) { return byte == 0 || byte == 254; }));
    }
}

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

TEST(LinearAssignmentErrors, AnEmptyTargetGrowsInBothDimensionsOrInNone)
{
    EXPECT_EQ("", checkFaults(toElements(Model::empty(kReal, 0, 0), Subscript::range(2, 3, 8), RightSide::scalar(0))));
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
