// A(I,J) = B, A(:,J) = B and A(I,:) = B: rules that docs/semantics.md does not show, the result written out. (The
// random tests compare many more with the models; these say that the models are right.)
#include "assign/cases.hpp"

using namespace zqsp::test;

namespace {

const Subscript kColon = Subscript::colon();
const RightSide kSeven = RightSide::scalar(7);
const RightSide kZero = RightSide::scalar(0);

/// Five entries, no room for more.
const Model kA = Model::of(kReal, {{1, 0, 2}, {0, 3, 0}, {4, 0, 5}});

} // namespace

TEST(RegionRules, LastOfRepeatedIndicesWins)
{
    expectGives(toRegion(kA, at({3, 1, 3}), at({1, 1}), byRows({{6, 7}, {0, 8}, {0, 0}})),
                withCapacity(Model::of(kReal, {{8, 0, 2}, {0, 3, 0}, {0, 0, 5}}), 5));
    expectGives(
        toRegion(kA, Subscript::range(3, -1, 1), Subscript::range(5, -2, 1), byRows({{6, 0, 0}, {0, 7, 0}, {0, 8, 9}})),
        Model::of(kReal, {{9, 0, 8, 0, 0}, {0, 3, 7, 0, 0}, {0, 0, 0, 0, 6}}));
}

TEST(RegionRules, DeletionsDropAnImaginaryPartOfZeros)
{
    const Model a = Model::of(kComplex, {{Value(0, 1), 0, 2}, {0, 3, 0}});
    const RightSide mark = RightSide::literal();
    expectGives(toColumns(a, at({1}), mark), withCapacity(Model::of(kReal, {{0, 2}, {3, 0}}), 3));
    expectGives(toRows(a, at({1, 1}), mark), withCapacity(Model::of(kReal, {{0, 3, 0}}), 3));
}

TEST(FreshTargets, TakeTheOpenExtentFromTheRightSide)
{
    const RightSide b = byRows({{1, 0, 2}, {3, 4, 0}});
    for (const Model& a : {Model::empty(kReal, 0, 0), emptyFull(kReal, 0, 0)}) {
        expectGives(toColumns(a, at({2, 4, 1}), b), Model::of(kReal, {{2, 1, 0, 0}, {0, 3, 0, 4}}));
        expectGives(toRows(a, at({2, 4}), b), Model::of(kReal, {{0, 0, 0}, {1, 0, 2}, {0, 0, 0}, {3, 4, 0}}));
        expectGives(toColumns(a, at({2}), byRows({{1, 0, 2}})), Model::of(kReal, {{0, 1}, {0, 0}, {0, 2}}));
    }
    // Empty, not square: its extents stand.
    expectGives(toRows(Model::empty(kReal, 0, 3), at({2}), kSeven), Model::of(kReal, {{0, 0, 0}, {7, 7, 7}}));
    expectGives(toColumns(Model::empty(kReal, 0, 3), at({5}), kSeven), Model::empty(kReal, 0, 5));
}

TEST(FreshTargets, UnsetOnesBecomeSparse)
{
    const Model unset = Model::unset();
    const Model wide = emptyFull(kReal, 0, 5);
    const auto none = [](unsigned m, unsigned n, unsigned nzmax) {
        return withCapacity(Model::empty(kReal, m, n), nzmax);
    };
    expectGives(toRegion(unset, at({2}), at({3}), kZero), none(2, 3, 1));
    expectGives(toRegion(unset, at({1, 2}), at({3, 2}), RightSide::of(none(2, 2, 9))), none(2, 3, 0));
    expectGives(toRegion(unset, at({}), at({4}), kSeven), none(0, 4, 1));
    expectGives(toColumns(unset, at({3, 1}), kZero), none(1, 3, 2));
    expectGives(toColumns(wide, at({3}), kSeven), none(0, 3, 1));
    expectGives(toRows(wide, at({2}), kSeven), Model::of(kReal, {{0, 0, 0, 0, 0}, {7, 7, 7, 7, 7}}));
    // Single numbers make a matrix that just holds the element; the other forms keep the rows there are.
    const Model tall = emptyFull(kReal, 5, 0);
    expectGives(toRegion(tall, at({2}), at({1}), kSeven), Model::of(kReal, {{0}, {7}}));
    expectGives(toRegion(tall, Subscript::range(2, 1, 2), at({1}), kSeven),
                Model::of(kReal, {{0}, {7}, {0}, {0}, {0}}));
}

TEST(FreshTargets, ClasslessOnesTakeTheRightSideWhole)
{
    const Storage int8{kxINT8_CLASS, false};
    const RightSide sparse = RightSide::of(withCapacity(Model::of(kReal, {{1, 0, 2}, {0, 3, 0}}), 9));
    const RightSide full = RightSide::full({2, 1}, {0, 7}, int8);
    Model fullOne = Model::of(int8, {{5}});
    Model fullColumn = Model::of(int8, {{0}, {7}});
    fullOne.sparse = fullColumn.sparse = false;
    expectGives(toRegion(Model::unset(), kColon, kColon, sparse), sparse.model);
    expectGives(toRegion(Model::unset(), kColon, kColon, full), fullColumn);
    for (const auto& lines : {toColumns, toRows}) {
        expectGives(lines(Model::unset(), kColon, sparse), sparse.model);
        expectGives(lines(Model::unset(), kColon, full), Model::of(int8, {{0}, {7}}));
        expectGives(lines(Model::unset(), kColon, RightSide::scalar(5, int8)), fullOne);
        expectGives(lines(Model::unset(), kColon, row({6, 7}, kComplex)), Model::of(kReal, {{6, 7}}));
    }

    // Whatever its shape.
    const Array b = toArray(RightSide::full({2, 1, 3}, {1, 2, 3, 4, 5, 6}));
    const Array all = toArray(kColon);
    const Array a = toArray(Model::unset());
    ASSERT_EQ(spAss6(a.get(), b.get(), all.get(), all.get()), spOK);
    ASSERT_EQ(a->ndims, 3U);
    EXPECT_EQ(a->get_dimensions()[2], 3U);
    EXPECT_EQ(readElement(a->pr, kxDOUBLE_CLASS, 5), 6);
    EXPECT_NE(a->pr, b->pr);
}
