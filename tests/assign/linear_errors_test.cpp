// A(K) = B that fails: the order of the checks; and [] as the right-hand side.
#include "assign/cases.hpp"

using namespace zqsp::test;

TEST(LinearAssignmentErrors, OrderOfTheChecks)
{
    const Model a = patterned(kReal, 2, 2);
    const Model vector = patterned(kReal, 1, 4);
    const RightSide two = row({1, 2});
    const RightSide one = RightSide::scalar(1);
    Subscript complex = at({1, 9, kNaN});
    complex.complex = true;

    // B of the target's class, then the subscript as such
    expectEnds(toElements(patterned(kLogical, 2, 2), complex, row({1, kNaN})), kInvalidOperandError);
    expectEnds(toElements(a, complex, two), kNotPositiveIntegerError);
    expectEnds(toElements(a, Subscript::sparseList({1, 0, 9}), two), kNotPositiveIntegerError);
    expectEnds(toElements(a, Subscript::sparseList({0}).as(kxINT8_CLASS), one), kNotPositiveIntegerError);
    // the number of elements
    for (const Subscript& k : {at({1}), at({0, 9, kNaN}), at({}), Subscript::mask({1}),
                               Subscript::sparseMask(2, 2, {{1, 1}}), Subscript::range(0, 1, 9)}) {
        expectEnds(toElements(a, k, two), spIndexAssignCountMismatch);
        expectEnds(toElements(Model::unset(), k, two), spIndexAssignCountMismatch);
    }
    for (const RightSide& none : {RightSide::literal(RightSide::Kind::ContainedLiteral), RightSide::full({0, 3}, {})}) {
        expectEnds(toElements(a, at({1}), none), spIndexAssignCountMismatch);
    }
    // past the end of a matrix, wherever that index stands
    const Subscript far = Subscript::sparseMask(0x10000, 0x20000, {{0x1FFFF, 7}});
    for (const Subscript& k : {at({5}), at({0, 5}), at({kNaN, 4.5}), at({1e300, 0}), at({kInf}),
                               Subscript::mask({0, 0, 0, 0, 1}), far, Subscript::range(5, -1, 0)}) {
        expectEnds(toElements(a, k, one), spCannotResize);
        expectEnds(toElements(a, k, RightSide::scalar(0)), spCannotResize);
    }
    // the values, the first bad one first
    const std::pair<std::vector<double>, spStatus> bad[] = {{{2, 0}, spIndexBelowOne},
                                                            {{0, 1.5}, spIndexBelowOne},
                                                            {{1.5, 0}, spIndexNotPositiveInteger},
                                                            {{-1, 0}, spIndexNotPositiveInteger},
                                                            {{0.5}, spIndexNotPositiveInteger},
                                                            {{kNaN, 0}, spIndexNotPositiveInteger},
                                                            {{-kInf}, spIndexNotPositiveInteger}};
    for (const auto& [values, status] : bad) {
        for (const Model& target : {a, vector, Model::unset(), Model::empty(kReal, 0, 3)}) {
            expectEnds(toElements(target, at(values), one), status);
            expectEnds(toElements(target, at(values).as(kxSINGLE_CLASS), RightSide::scalar(0)), status);
        }
    }
    expectEnds(toElements(vector, at({kInf}), one), spIndexNotPositiveInteger);
    expectEnds(toElements(vector, at({0}).as(kxUINT8_CLASS), one), spIndexBelowOne);
    expectEnds(toElements(vector, at({-4}).as(kxINT8_CLASS), one), spIndexNotPositiveInteger);
    expectEnds(toElements(vector, at({1, 3e9}), one), kSizeLimitError);
    expectEnds(toElements(vector, far, one), kSizeLimitError);
    expectEnds(toElements(vector, at({0, 3e9}), one), spIndexBelowOne);
}

TEST(LinearAssignmentErrors, TheLiteralDeletes)
{
    const Model a = Model::of(kComplex, {{Value(1, 1), 2, 3}, {4, 0, 6}});
    const RightSide literal = RightSide::literal();
    const Model rest = Model::of(kComplex, {{Value(1, 1), 2, 0, 3, 6}});
    expectGives(toElements(a, at({2}), literal), withCapacity(rest, a.nzmax));
    const Model allReal = Model::of(kReal, {{4, 2, 0, 3, 6}}); // the imaginary part is zero now
    expectGives(toElements(a, at({1}), literal), withCapacity(allReal, a.nzmax));
    expectEnds(toElements(a, at({7.5}), literal), spIndexToRemoveOutOfRange);
    expectEnds(toElements(a, Subscript::sparseList({1, 0}), literal), spIndexBelowOne);
    expectEnds(toElements(Model::empty(kReal, 0x10000, 0x10000), at({1}), literal), spCannotResizeToRowVector);
    // held inside another value it is an empty array like any other
    expectEnds(toElements(a, at({}), RightSide::literal(RightSide::Kind::ContainedLiteral)), spOK);

    const Array unset = toArray(Model::unset());
    const Array marker = toArray(literal);
    for (const Subscript& k : {at({}), Subscript::colon(), Subscript::mask({0}), Subscript::range(1, 1, 0)}) {
        EXPECT_EQ(run([&] { return spAss3(unset.get(), marker.get(), toArray(k).get()); }), Ended());
        EXPECT_EQ(unset->class_id, kxUNKNOWN_CLASS);
    }
    const Array one = toArray(at({1}));
    expectFails([&] { return spAss3(unset.get(), marker.get(), one.get()); }, spIndexToRemoveOutOfRange,
                {unset.get(), one.get()});
}
