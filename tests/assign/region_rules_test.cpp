// A(I,J) = B, A(:,J) = B and A(I,:) = B: the rules on one small matrix, the result written out. (The random tests
// compare many more with the models; these say that the models are right.)
#include "assign/cases.hpp"

using namespace zqsp::test;

namespace {

const Value kI{0, 1};
const Subscript kColon = Subscript::colon();
const RightSide kSeven = RightSide::scalar(7);
const RightSide kZero = RightSide::scalar(0);

/// Five entries, no room for more.
const Model kA = Model::of(kReal, {{1, 0, 2}, {0, 3, 0}, {4, 0, 5}});

} // namespace

TEST(RegionRules, LastOfRepeatedIndicesWins)
{
    expectGives(toColumns(kA, at({2, 2}), byRows({{6, 0}, {7, 8}, {0, 9}})),
                Model::of(kReal, {{1, 0, 2}, {0, 8, 0}, {4, 9, 5}}));
    expectGives(toRows(kA, at({2, 2}), byRows({{6, 7, 8}, {0, 9, 0}})),
                Model::of(kReal, {{1, 0, 2}, {0, 9, 0}, {4, 0, 5}}));
    expectGives(toRegion(kA, at({3, 1, 3}), at({1, 1}), byRows({{6, 7}, {0, 8}, {0, 0}})),
                withCapacity(Model::of(kReal, {{8, 0, 2}, {0, 3, 0}, {0, 0, 5}}), 5));
    expectGives(
        toRegion(kA, Subscript::range(3, -1, 1), Subscript::range(5, -2, 1), byRows({{6, 0, 0}, {0, 7, 0}, {0, 8, 9}})),
        Model::of(kReal, {{9, 0, 8, 0, 0}, {0, 3, 7, 0, 0}, {0, 0, 0, 0, 6}}));
}

TEST(RegionRules, ScalarsFillOrClear)
{
    expectGives(toColumns(kA, at({2}), kSeven), Model::of(kReal, {{1, 7, 2}, {0, 7, 0}, {4, 7, 5}}));
    expectGives(toRows(kA, at({5}), kSeven), Model::of(kReal, {{1, 0, 2}, {0, 3, 0}, {4, 0, 5}, {0, 0, 0}, {7, 7, 7}}));
    expectGives(toRegion(kA, at({3, 1}), at({3, 2}), kSeven), Model::of(kReal, {{1, 7, 7}, {0, 3, 0}, {4, 7, 7}}));
    for (const RightSide& b : {kZero, RightSide::of(Model::empty(kReal, 1, 1))}) {
        expectGives(toColumns(kA, at({3, 1}), b), withCapacity(Model::of(kReal, {{0, 0, 0}, {0, 3, 0}, {0, 0, 0}}), 5));
        expectGives(toRegion(kA, at({1, 3}), at({3, 4}), b),
                    withCapacity(Model::of(kReal, {{1, 0, 0, 0}, {0, 3, 0, 0}, {4, 0, 0, 0}}), 5));
    }
    const Value imaginaryNaN{0, kNaN};
    expectGives(toRows(kA, at({2}), RightSide::scalar(imaginaryNaN, kComplex)),
                Model::of(kComplex, {{1, 0, 2}, {imaginaryNaN, imaginaryNaN, imaginaryNaN}, {4, 0, 5}}));
}

TEST(RegionRules, VectorsAreLaidAlongTheRegion)
{
    for (const RightSide& b : {byRows({{6, 0, 8}}), byRows({{6}, {0}, {8}}), RightSide::full({1, 1, 3}, {6, 0, 8})}) {
        expectGives(toColumns(kA, at({2}), b), Model::of(kReal, {{1, 6, 2}, {0, 0, 0}, {4, 8, 5}}));
        expectGives(toRows(kA, at({2}), b), Model::of(kReal, {{1, 0, 2}, {6, 0, 8}, {4, 0, 5}}));
        expectGives(toRegion(kA, at({2}), at({3, 2, 1}), b), Model::of(kReal, {{1, 0, 2}, {8, 0, 6}, {4, 0, 5}}));
    }
}

TEST(RegionRules, ImaginaryPartsComeAndGo)
{
    const Model complex = Model::of(kComplex, {{kI, 0, 2}, {0, 3, 0}, {4, 0, 5}});
    expectGives(toRegion(kA, at({1}), at({1, 2}), RightSide::scalar(kI, kComplex)),
                Model::of(kComplex, {{kI, kI, 2}, {0, 3, 0}, {4, 0, 5}}));
    expectGives(toRegion(complex, at({2}), at({1}), kSeven),
                withCapacity(Model::of(kComplex, {{kI, 0, 2}, {7, 3, 0}, {4, 0, 5}}), 15));
    expectGives(toColumns(complex, at({1}), byRows({{7}, {0}, {4}})),
                Model::of(kReal, {{7, 0, 2}, {0, 3, 0}, {4, 0, 5}}));
    // Imaginary zeros leave no imaginary part behind.
    expectGives(toColumns(kA, at({2}), RightSide::scalar(7, kComplex)),
                Model::of(kReal, {{1, 7, 2}, {0, 7, 0}, {4, 7, 5}}));
    // Nor do whole lines that go by the mark of a deletion.
    expectGives(toColumns(complex, at({1}), RightSide::literal()),
                withCapacity(Model::of(kReal, {{0, 2}, {3, 0}, {0, 5}}), 5));
    expectGives(toRows(complex, at({1, 1}), RightSide::literal()),
                withCapacity(Model::of(kReal, {{0, 3, 0}, {4, 0, 5}}), 5));
}

TEST(RegionRules, CapacityIsKeptOrExact)
{
    const Model roomy = withCapacity(kA, 9);
    const Model stored = Model::of(kReal, {{1, 0, 2}, {7, 3, 0}, {4, 0, 5}});
    // One element: ten more when full, in place of what is there or in spare room none.
    expectGives(toRegion(kA, at({2}), at({1}), kSeven), withCapacity(stored, 15));
    expectGives(toRegion(kA, Subscript::mask({0, 1}), Subscript::range(1, 1, 1), kSeven), withCapacity(stored, 15));
    expectGives(toRegion(stored, at({2}), at({1}), kSeven), withCapacity(stored, 6));
    expectGives(toRegion(roomy, at({2}), at({1}), kSeven), withCapacity(stored, 9));
    // Regions: just what there is, or what there was.
    expectGives(toRegion(kA, at({2, 2}), at({1}), kSeven), withCapacity(stored, 6));
    expectGives(toColumns(roomy, at({4}), kSeven),
                withCapacity(Model::of(kReal, {{1, 0, 2, 7}, {0, 3, 0, 7}, {4, 0, 5, 7}}), 9));
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
    expectGives(toRegion(unset, at({2}), at({3}), kSeven), Model::of(kReal, {{0, 0, 0}, {0, 0, 7}}));
    expectGives(toRegion(unset, at({2}), at({3}), kZero), none(2, 3, 1));
    expectGives(toRegion(unset, at({1, 2}), at({3, 2}), RightSide::of(none(2, 2, 9))), none(2, 3, 0));
    expectGives(toRegion(unset, at({}), at({4}), kSeven), none(0, 4, 1));
    expectGives(toColumns(unset, at({3, 1}), kZero), none(1, 3, 2));
    expectGives(toColumns(wide, at({3}), kSeven), none(0, 3, 1));
    expectGives(toRows(unset, at({3}), kZero), none(3, 1, 0));
    expectGives(toRows(unset, at({}), kSeven), none(0, 0, 1));
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
