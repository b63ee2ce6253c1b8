// A(I,J) = B, A(:,J) = B and A(I,:) = B into targets that are empty, not sparse yet or without a class.
#include "assign/region_cases.hpp"

using namespace zqsp::test;

TEST(FreshTargets, EmptyTargetsTakeTheOpenExtentFromTheRightSide)
{
    const RightSide b = byRows({{1, 0, 2}, {3, 4, 0}});
    for (const bool sparse : {true, false}) {
        const Model a = sparse ? Model::empty(kReal, 0, 0) : emptyFull(kReal, 0, 0);
        expectGives(toColumns(a, at({2, 4, 1}), b), Model::of(kReal, {{2, 1, 0, 0}, {0, 3, 0, 4}}));
        expectGives(toRows(a, at({2, 4}), b), Model::of(kReal, {{0, 0, 0}, {1, 0, 2}, {0, 0, 0}, {3, 4, 0}}));
        expectGives(toRegion(a, at({2, 4}), at({3, 1, 2}), b),
                    Model::of(kReal, {{0, 0, 0}, {0, 2, 1}, {0, 0, 0}, {4, 0, 3}}));
        expectGives(toColumns(a, at({2}), RightSide::scalar(5)), Model::of(kReal, {{0, 5}}));
        expectGives(toRows(a, at({2}), RightSide::scalar(5)), Model::of(kReal, {{0}, {5}}));
        expectGives(toColumns(a, at({2}), byRows({{1, 0, 2}})), Model::of(kReal, {{0, 1}, {0, 0}, {0, 2}}));
        expectGives(toRows(a, at({3}), byRows({{1, 0, 2}})), Model::of(kReal, {{0, 0, 0}, {0, 0, 0}, {1, 0, 2}}));
    }
    // Empty, not square: its extents stand.
    expectGives(toColumns(Model::empty(kReal, 3, 0), at({2}), RightSide::scalar(5)),
                Model::of(kReal, {{0, 5}, {0, 5}, {0, 5}}));
    expectGives(toRows(Model::empty(kReal, 0, 3), at({2}), RightSide::scalar(5)),
                Model::of(kReal, {{0, 0, 0}, {5, 5, 5}}));
    expectGives(toColumns(Model::empty(kReal, 0, 3), at({5}), RightSide::scalar(5)), Model::empty(kReal, 0, 5));
    expectGives(toRows(Model::empty(kReal, 3, 0), at({5}), RightSide::scalar(5)), Model::empty(kReal, 5, 0));
}

TEST(FreshTargets, UnsetTargetsBecomeSparse)
{
    const Model unset = Model::unset();
    const Storage single{kxSINGLE_CLASS, false};
    const RightSide five = RightSide::scalar(5, single);
    const auto none = [&](unsigned m, unsigned n, unsigned nzmax) {
        return withCapacity(Model::empty(single, m, n), nzmax);
    };
    const Model wide = emptyFull(single, 0, 5);
    const Model tall = emptyFull(single, 5, 0);

    expectGives(toRegion(unset, at({2}), at({3}), five), Model::of(single, {{0, 0, 0}, {0, 0, 5}}));
    expectGives(toRegion(unset, at({2, 1}), at({3}), five), Model::of(single, {{0, 0, 5}, {0, 0, 5}}));
    expectGives(toRegion(unset, at({2}), at({3}), RightSide::scalar(0, single)), none(2, 3, 1));
    expectGives(toRegion(unset, at({1, 2}), at({3, 2}), RightSide::scalar(0, single)), none(2, 3, 1));
    expectGives(toRegion(unset, at({1, 2}), at({3, 2}), RightSide::of(none(2, 2, 9))), none(2, 3, 0));
    expectGives(toRegion(unset, at({4}), at({}), five), none(4, 0, 1));
    expectGives(toRegion(unset, at({}), at({4}), five), none(0, 4, 1));
    // Single numbers make a matrix that just holds the element; the other forms keep the rows there are.
    expectGives(toRegion(tall, at({2}), at({1}), five), Model::of(single, {{0}, {5}}));
    expectGives(toRegion(wide, at({2}), at({3}), five), Model::of(single, {{0, 0, 0}, {0, 0, 5}}));
    expectGives(toRegion(tall, Subscript::range(2, 1, 2), at({1}), five), Model::of(single, {{0}, {5}, {0}, {0}, {0}}));
    expectGives(toRegion(wide, at({2, 2}), at({3}), five), Model::of(single, {{0, 0, 0}, {0, 0, 5}}));

    expectGives(toColumns(unset, at({3}), RightSide::full({2, 1}, {1, 2}, single)),
                Model::of(single, {{0, 0, 1}, {0, 0, 2}}));
    expectGives(toColumns(unset, at({3, 1}), RightSide::scalar(0, single)), none(1, 3, 2));
    expectGives(toColumns(unset, at({}), five), none(0, 0, 1));
    expectGives(toColumns(wide, at({3}), five), none(0, 3, 1));
    expectGives(toRows(unset, at({3}), RightSide::full({1, 3}, {1, 0, 2}, single)),
                Model::of(single, {{0, 0, 0}, {0, 0, 0}, {1, 0, 2}}));
    expectGives(toRows(unset, at({3}), RightSide::scalar(0, single)), none(3, 1, 0));
    expectGives(toRows(unset, at({}), five), none(0, 0, 1));
    expectGives(toRows(wide, at({2}), five), Model::of(single, {{0, 0, 0, 0, 0}, {5, 5, 5, 5, 5}}));
}

TEST(FreshTargets, ClasslessTargetsTakeTheRightSideWhole)
{
    const Subscript colon = Subscript::colon();
    const RightSide sparse = RightSide::of(withCapacity(Model::of(kReal, {{1, 0, 2}, {0, 3, 0}}), 9));
    const RightSide full = RightSide::full({2, 1}, {0, 7}, {kxINT8_CLASS, false});
    const RightSide complexZeros = RightSide::full({1, 2}, {6, 7}, kComplex);
    Model fullOne = Model::of({kxINT8_CLASS, false}, {{5}});
    fullOne.sparse = false;
    Model fullColumn = Model::of({kxINT8_CLASS, false}, {{0}, {7}});
    fullColumn.sparse = false;
    Model fullReal = Model::of(kReal, {{6, 7}});
    fullReal.sparse = false;

    expectGives(toRegion(Model::unset(), colon, colon, sparse), sparse.model);
    expectGives(toRegion(Model::unset(), colon, colon, full), fullColumn);
    expectGives(toRegion(Model::unset(), colon, colon, complexZeros), fullReal);
    for (const auto& lines : {toColumns, toRows}) {
        expectGives(lines(Model::unset(), colon, sparse), sparse.model);
        expectGives(lines(Model::unset(), colon, full), Model::of(full.storage, {{0}, {7}}));
        expectGives(lines(Model::unset(), colon, complexZeros), Model::of(kReal, {{6, 7}}));
        expectGives(lines(Model::unset(), colon, RightSide::scalar(5, {kxINT8_CLASS, false})), fullOne);
    }

    // Whatever its shape.
    const Array b = toArray(RightSide::full({2, 1, 3}, {1, 2, 3, 4, 5, 6}));
    const Array all = toArray(colon);
    Array a = toArray(Model::unset());
    ASSERT_EQ(spAss6(a.get(), b.get(), all.get(), all.get()), spOK);
    ASSERT_EQ(a->ndims, 3U);
    EXPECT_EQ(a->get_dimensions()[2], 3U);
    EXPECT_EQ(readElement(a->pr, kxDOUBLE_CLASS, 5), 6);
    EXPECT_NE(a->pr, b->pr);
}
