// A(K) = B that fails: the order of the checks; and [] as the right-hand side.
#include "assign/linear_cases.hpp"

#include <limits>

using namespace zqsp::test;
using namespace zqsp::test::linear;

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

} // namespace

TEST(LinearAssignmentErrors, OrderOfTheChecks)
{
    const Model a = patterned(kReal, 2, 2);
    const Model vector = patterned(kReal, 1, 4);
    const RightSide two = row({1, 2});
    const RightSide one = RightSide::scalar(1);
    Subscript complex = Subscript::list({1, 9, kNaN});
    complex.complex = true;
    const Failure mismatch{spIndexAssignCountMismatch, ""};
    const Failure subscriptError{spOK, kNotPositiveIntegerError};

    // B of the target's class, then the subscript as such
    expectEnds(assign(patterned(kLogical, 2, 2), row({1, kNaN}), complex), {spOK, kInvalidOperandError});
    expectEnds(assign(a, two, complex), subscriptError);
    expectEnds(assign(a, two, Subscript::sparseList({1, 0, 9})), subscriptError);
    expectEnds(assign(a, one, Subscript::sparseList({0}).as(kxINT8_CLASS)), subscriptError);
    // the number of elements
    for (const Subscript& k : {Subscript::list({1}), Subscript::list({1, 2, 3}), Subscript::list({0, 9, kNaN}),
                               Subscript::list({}), Subscript::mask({1}), Subscript::sparseMask(2, 2, {{1, 1}}),
                               Subscript::range(0, 1, 9), Subscript::range(3, 1, 2)}) {
        expectEnds(assign(a, two, k), mismatch);
        expectEnds(assign(Model::unset(), two, k), mismatch);
    }
    expectEnds(assign(a, RightSide::literal(RightSide::Kind::ContainedLiteral), Subscript::list({1})), mismatch);
    expectEnds(assign(a, RightSide::full({0, 3}, {}), Subscript::list({1})), mismatch);
    // past the end of a matrix, wherever that index stands
    for (const Subscript& k :
         {Subscript::list({5}), Subscript::list({0, 5}), Subscript::list({kNaN, 4.5}), Subscript::list({1e300, 0}),
          Subscript::list({kInf}), Subscript::mask({0, 0, 0, 0, 1}), Subscript::sparseMask(5, 1, {{0, 4}}),
          Subscript::sparseMask(0x10000, 0x20000, {{0x1FFFF, 7}}), Subscript::range(5, -1, 0)}) {
        expectEnds(assign(a, one, k), spCannotResize);
        expectEnds(assign(a, RightSide::scalar(0), k), spCannotResize);
    }
    // the values, the first bad one first
    const std::pair<std::vector<double>, Failure> bad[] = {{{2, 0}, {spIndexBelowOne, ""}},
                                                           {{0, 1.5}, {spIndexBelowOne, ""}},
                                                           {{1.5, 0}, {spIndexNotPositiveInteger, ""}},
                                                           {{-1, 0}, {spIndexNotPositiveInteger, ""}},
                                                           {{0.5}, {spIndexNotPositiveInteger, ""}},
                                                           {{kNaN, 0}, {spIndexNotPositiveInteger, ""}},
                                                           {{-kInf}, {spIndexNotPositiveInteger, ""}}};
    for (const auto& [values, failure] : bad) {
        for (const Model& target : {a, vector, Model::unset(), Model::empty(kReal, 0, 3)}) {
            expectEnds(assign(target, one, Subscript::list(values)), failure);
            expectEnds(assign(target, RightSide::scalar(0), Subscript::list(values).as(kxSINGLE_CLASS)), failure);
        }
    }
    expectEnds(assign(vector, one, Subscript::list({kInf})), spIndexNotPositiveInteger);
    expectEnds(assign(vector, one, Subscript::list({0}).as(kxUINT8_CLASS)), spIndexBelowOne);
    expectEnds(assign(vector, one, Subscript::list({-4}).as(kxINT8_CLASS)), spIndexNotPositiveInteger);
    expectEnds(assign(vector, one, Subscript::list({1, 3e9})), {spOK, kSizeLimitError});
    expectEnds(assign(vector, one, Subscript::sparseMask(0x10000, 0x20000, {{0x1FFFF, 7}})), {spOK, kSizeLimitError});
    expectEnds(assign(vector, one, Subscript::list({0, 3e9})), spIndexBelowOne);
}

TEST(LinearAssignmentErrors, TheLiteralDeletes)
{
    Model a = Model::of(kComplex, {{Value(1, 1), 2, 3}, {4, 0, 6}});
    const RightSide literal = RightSide::literal();
    expectEnds(assign(a, literal, Subscript::list({2})), spOK);
    EXPECT_TRUE(predict(assign(a, literal, Subscript::list({2}))).result.storage.complex);
    EXPECT_FALSE(predict(assign(a, literal, Subscript::list({1}))).result.storage.complex); // all-zero now
    for (const Subscript& k :
         {Subscript::list({1}), Subscript::colon(), Subscript::mask({1, 0, 1}), Subscript::sparseMask(6, 1, {{0, 0}}),
          Subscript::range(6, -2, 1), Subscript::list({})}) {
        expectEnds(assign(a, literal, k), spOK);
    }
    expectEnds(assign(a, literal, Subscript::list({7})), spIndexToRemoveOutOfRange);
    expectEnds(assign(a, literal, Subscript::list({7.5})), spIndexToRemoveOutOfRange);
    expectEnds(assign(a, literal, Subscript::list({0})), spIndexBelowOne);
    expectEnds(assign(a, literal, Subscript::sparseList({1, 0})), spIndexBelowOne);
    expectEnds(assign(Model::empty(kReal, 0x10000, 0x10000), literal, Subscript::list({1})), spCannotResizeToRowVector);
    const Array unset = toArray(Model::unset());
    const Array marker = toArray(literal);
    for (const Subscript& k :
         {Subscript::list({}), Subscript::colon(), Subscript::mask({0}), Subscript::range(1, 1, 0)}) {
        EXPECT_EQ(run([&] { return spAss3(unset.get(), marker.get(), toArray(k).get()); }), Ended());
        EXPECT_EQ(unset->class_id, kxUNKNOWN_CLASS);
    }
    const Array one = toArray(Subscript::list({1}));
    expectFails([&] { return spAss3(unset.get(), marker.get(), one.get()); }, {spIndexToRemoveOutOfRange, ""},
                {unset.get(), one.get()});
    // held inside another value it is an empty array like any other
    expectEnds(assign(a, RightSide::literal(RightSide::Kind::ContainedLiteral), Subscript::list({})), spOK);
}
