// A(I,J) = B, A(:,J) = B and A(I,:) = B: every rule on one small matrix, the result written out.
#include "assign/region_cases.hpp"
#include "support/patterns.hpp"

#include <limits>

using namespace zqsp::test;

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
const Value kI{0, 1};

/// Five entries, no room for more.
const Model kA = Model::of(kReal, {{1, 0, 2}, {0, 3, 0}, {4, 0, 5}});

} // namespace

TEST(RegionRules, LastOfRepeatedIndicesWins)
{
    expectGives(toColumns(kA, at({2, 2}), byRows({{6, 0}, {7, 8}, {0, 9}})),
                Model::of(kReal, {{1, 0, 2}, {0, 8, 0}, {4, 9, 5}}));
    expectGives(toRows(kA, at({2, 2}), byRows({{6, 7, 8}, {0, 9, 0}})),
                Model::of(kReal, {{1, 0, 2}, {0, 9, 0}, {4, 0, 5}}));
    expectGives(toRegion(kA, at({3}), at({2, 5, 2}), byRows({{1, 2, 3}})),
                Model::of(kReal, {{1, 0, 2, 0, 0}, {0, 3, 0, 0, 0}, {4, 3, 5, 0, 2}}));
    expectGives(toRegion(kA, at({2, 5, 2}), at({3}), byRows({{1}, {2}, {3}})),
                Model::of(kReal, {{1, 0, 2}, {0, 3, 3}, {4, 0, 5}, {0, 0, 0}, {0, 0, 2}}));
    expectGives(toRegion(kA, at({3, 1, 3}), at({1, 1}), byRows({{6, 7}, {0, 8}, {0, 0}})),
                withCapacity(Model::of(kReal, {{8, 0, 2}, {0, 3, 0}, {0, 0, 5}}), 5));
    // What is left of the matrix is one element: it may still be none.
    expectGives(toRegion(kA, at({3, 3}), at({1}), byRows({{6}, {0}})),
                withCapacity(Model::of(kReal, {{1, 0, 2}, {0, 3, 0}, {0, 0, 5}}), 5));
    expectGives(toRegion(kA, at({2, 2}), at({1, 1}), byRows({{0, 0}, {0, 0}})), kA);
    expectGives(toRegion(kA, at({2, 2}), at({1, 1}), byRows({{0, 0}, {0, 6}})),
                Model::of(kReal, {{1, 0, 2}, {6, 3, 0}, {4, 0, 5}}));
}

TEST(RegionRules, DescendingRangesKeepTheirPairing)
{
    const Subscript down = Subscript::range(3, -1, 1);
    const RightSide b = byRows({{6, 0, 0}, {0, 7, 0}, {0, 8, 9}});
    expectGives(toColumns(kA, down, b), withCapacity(Model::of(kReal, {{0, 0, 6}, {0, 7, 0}, {9, 8, 0}}), 5));
    expectGives(toRows(kA, down, b), withCapacity(Model::of(kReal, {{0, 8, 9}, {0, 7, 0}, {6, 0, 0}}), 5));
    expectGives(toRegion(kA, down, Subscript::range(5, -2, 1), b),
                Model::of(kReal, {{9, 0, 8, 0, 0}, {0, 3, 7, 0, 0}, {0, 0, 0, 0, 6}}));
}

TEST(RegionRules, ScalarsFillOrClear)
{
    const RightSide seven = RightSide::scalar(7);
    const RightSide zero = RightSide::scalar(0);
    const RightSide sparseZero = RightSide::of(Model::empty(kReal, 1, 1));
    expectGives(toColumns(kA, at({2}), seven), Model::of(kReal, {{1, 7, 2}, {0, 7, 0}, {4, 7, 5}}));
    expectGives(toRows(kA, at({5}), seven), Model::of(kReal, {{1, 0, 2}, {0, 3, 0}, {4, 0, 5}, {0, 0, 0}, {7, 7, 7}}));
    expectGives(toRegion(kA, at({3, 1}), at({3, 2}), seven), Model::of(kReal, {{1, 7, 7}, {0, 3, 0}, {4, 7, 7}}));
    for (const RightSide& b : {zero, sparseZero}) {
        expectGives(toColumns(kA, at({3, 1}), b), withCapacity(Model::of(kReal, {{0, 0, 0}, {0, 3, 0}, {0, 0, 0}}), 5));
        expectGives(toRows(kA, at({2}), b), withCapacity(Model::of(kReal, {{1, 0, 2}, {0, 0, 0}, {4, 0, 5}}), 5));
        expectGives(toRegion(kA, at({1, 3}), at({3, 2}), b),
                    withCapacity(Model::of(kReal, {{1, 0, 0}, {0, 3, 0}, {4, 0, 0}}), 5));
        expectGives(
            toRegion(kA, at({1, 5}), at({1, 4}), b),
            withCapacity(Model::of(kReal, {{0, 0, 2, 0}, {0, 3, 0, 0}, {4, 0, 5, 0}, {0, 0, 0, 0}, {0, 0, 0, 0}}), 5));
    }
    const RightSide nan = RightSide::scalar(kNaN);
    expectGives(toColumns(kA, at({2}), nan), Model::of(kReal, {{1, kNaN, 2}, {0, kNaN, 0}, {4, kNaN, 5}}));
    expectGives(toRegion(kA, at({2}), at({1, 2}), nan), Model::of(kReal, {{1, 0, 2}, {kNaN, kNaN, 0}, {4, 0, 5}}));
    const Value imaginaryNaN{0, kNaN};
    expectGives(toRows(kA, at({2}), RightSide::scalar(imaginaryNaN, kComplex)),
                Model::of(kComplex, {{1, 0, 2}, {imaginaryNaN, imaginaryNaN, imaginaryNaN}, {4, 0, 5}}));
}

TEST(RegionRules, VectorsAreLaidAlongTheRegion)
{
    const RightSide row = byRows({{6, 0, 8}});
    const RightSide column = byRows({{6}, {0}, {8}});
    const RightSide deep = RightSide::full({1, 1, 3}, {6, 0, 8});
    for (const RightSide& b : {row, column, deep}) {
        expectGives(toColumns(kA, at({2}), b), Model::of(kReal, {{1, 6, 2}, {0, 0, 0}, {4, 8, 5}}));
        expectGives(toRows(kA, at({2}), b), Model::of(kReal, {{1, 0, 2}, {6, 0, 8}, {4, 0, 5}}));
        expectGives(toRegion(kA, Subscript::colon(), at({2}), b), Model::of(kReal, {{1, 6, 2}, {0, 0, 0}, {4, 8, 5}}));
        expectGives(toRegion(kA, at({2}), at({3, 2, 1}), b), Model::of(kReal, {{1, 0, 2}, {8, 0, 6}, {4, 0, 5}}));
        // Across a target of one row or column.
        const Model oneRow = Model::of(kReal, {{1, 2, 3}});
        expectGives(toColumns(oneRow, at({2, 3, 4}), b), withCapacity(Model::of(kReal, {{1, 6, 0, 8}}), 3));
        const Model oneColumn = Model::of(kReal, {{1}, {2}, {3}});
        expectGives(toRows(oneColumn, at({4, 3, 2}), b), withCapacity(Model::of(kReal, {{1}, {8}, {0}, {6}}), 3));
    }
}

TEST(RegionRules, ImaginaryPartsComeAndGo)
{
    expectGives(toRegion(kA, at({1, 2}), at({1, 2}), RightSide::scalar(kI, kComplex)),
                Model::of(kComplex, {{kI, kI, 2}, {kI, kI, 0}, {4, 0, 5}}));
    const Model complex = Model::of(kComplex, {{kI, 0, 2}, {0, 3, 0}, {4, 0, 5}});
    expectGives(toRegion(complex, at({2}), at({1}), RightSide::scalar(7)),
                withCapacity(Model::of(kComplex, {{kI, 0, 2}, {7, 3, 0}, {4, 0, 5}}), 15));
    const Model real = Model::of(kReal, {{7, 7, 2}, {0, 3, 0}, {4, 0, 5}});
    expectGives(toRegion(complex, at({1}), at({1, 2}), RightSide::scalar(7)), real);
    expectGives(toColumns(complex, at({1}), byRows({{7}, {0}, {4}})),
                Model::of(kReal, {{7, 0, 2}, {0, 3, 0}, {4, 0, 5}}));
    expectGives(toRows(complex, at({1}), RightSide::scalar(0)),
                withCapacity(Model::of(kReal, {{0, 0, 0}, {0, 3, 0}, {4, 0, 5}}), 5));
    // Imaginary zeros leave no imaginary part behind.
    expectGives(toColumns(kA, at({2}), RightSide::scalar(7, kComplex)),
                Model::of(kReal, {{1, 7, 2}, {0, 7, 0}, {4, 7, 5}}));
}

TEST(RegionRules, SelectingNothingWritesNothing)
{
    const RightSide seven = RightSide::scalar(7);
    const RightSide none = RightSide::of(Model::empty(kReal, 0, 0));
    const RightSide contained = RightSide::literal(RightSide::Kind::ContainedLiteral);
    const Subscript nothing[] = {at({}), Subscript::mask({0, 0}), Subscript::sparseMask(3, 3, {}),
                                 Subscript::range(3, 1, 2)};
    Model taller = kA;
    taller.m = 7;
    Model wider = kA;
    wider.n = 6;
    for (const Subscript& s : nothing) {
        for (const RightSide& b : {seven, none, contained}) {
            expectGives(toColumns(kA, s, b), kA);
            expectGives(toRows(kA, s, b), kA);
            expectGives(toRegion(kA, at({2, 7}), s, b), taller);
            expectGives(toRegion(kA, s, at({2, 6}), b), wider);
            expectGives(toRegion(kA, s, s, b), kA);
        }
        expectGives(toRegion(kA, at({2, 7}), s, RightSide::of(Model::empty(kReal, 2, 0))), taller);
        expectGives(toRegion(kA, at({7, 7}), s, RightSide::literal()), taller);
    }
}

TEST(RegionRules, TheDeletionMarkDeletesWholeLines)
{
    const RightSide mark = RightSide::literal();
    expectGives(toColumns(kA, at({2}), mark), withCapacity(Model::of(kReal, {{1, 2}, {0, 0}, {4, 5}}), 5));
    expectGives(toRows(kA, at({1, 1}), mark), withCapacity(Model::of(kReal, {{0, 3, 0}, {4, 0, 5}}), 5));
    const Model complex = Model::of(kComplex, {{kI, 0, 2}, {0, 3, 0}});
    expectGives(toColumns(complex, at({1}), mark), withCapacity(Model::of(kReal, {{0, 2}, {3, 0}}), 3));
    expectGives(toRows(complex, at({1}), mark), withCapacity(Model::of(kReal, {{0, 3, 0}}), 3));
}

TEST(RegionRules, CapacityIsKeptOrExact)
{
    const Model roomy = withCapacity(kA, 9);
    const RightSide seven = RightSide::scalar(7);
    const Subscript one = at({1});
    const Subscript two = at({2});
    // One element: ten more when full, in place of what is there or in spare room none.
    expectGives(toRegion(kA, two, one, seven), withCapacity(Model::of(kReal, {{1, 0, 2}, {7, 3, 0}, {4, 0, 5}}), 15));
    expectGives(toRegion(kA, two, two, seven), withCapacity(Model::of(kReal, {{1, 0, 2}, {0, 7, 0}, {4, 0, 5}}), 5));
    expectGives(toRegion(kA, two, at({4}), seven),
                withCapacity(Model::of(kReal, {{1, 0, 2, 0}, {0, 3, 0, 7}, {4, 0, 5, 0}}), 15));
    expectGives(toRegion(kA, two, two, RightSide::scalar(0)),
                withCapacity(Model::of(kReal, {{1, 0, 2}, {0, 0, 0}, {4, 0, 5}}), 5));
    expectGives(toRegion(roomy, two, one, seven), withCapacity(Model::of(kReal, {{1, 0, 2}, {7, 3, 0}, {4, 0, 5}}), 9));
    expectGives(toRegion(kA, Subscript::mask({0, 1}), Subscript::range(1, 1, 1), seven),
                withCapacity(Model::of(kReal, {{1, 0, 2}, {7, 3, 0}, {4, 0, 5}}), 15));
    expectGives(toRegion(Model::empty(kReal, 2, 2), two, one, seven),
                withCapacity(Model::of(kReal, {{0, 0}, {7, 0}}), 10));
    // Regions: just what there is, or what there was.
    expectGives(toRegion(kA, at({2, 2}), one, seven),
                withCapacity(Model::of(kReal, {{1, 0, 2}, {7, 3, 0}, {4, 0, 5}}), 6));
    expectGives(toRegion(roomy, at({1, 2}), Subscript::colon(), seven),
                withCapacity(Model::of(kReal, {{7, 7, 7}, {7, 7, 7}, {4, 0, 5}}), 9));
    expectGives(toColumns(roomy, at({4}), seven),
                withCapacity(Model::of(kReal, {{1, 0, 2, 7}, {0, 3, 0, 7}, {4, 0, 5, 7}}), 9));
    expectGives(toRows(roomy, at({4}), byRows({{0, 7, 0}})),
                withCapacity(Model::of(kReal, {{1, 0, 2}, {0, 3, 0}, {4, 0, 5}, {0, 7, 0}}), 9));
}

TEST(RegionRules, RightSidesTakeTheClassOfTheTarget)
{
    const Model b = Model::of({kxDOUBLE_CLASS, true}, {{300.5, 0.4, -7}, {0, Value(2, 3), kI}});
    for (const Storage storage : sparseStorages()) {
        for (const bool sparse : {true, false}) {
            RightSide r = RightSide::of(b);
            if (!sparse) {
                r = RightSide::full({2, 3}, r.elements(), b.storage);
            }
            const Model a = patterned(storage, 4, 5);
            const Subscript columns = at({5, 1, 7});
            EXPECT_EQ("", checkOperation(toRegion(a, at({6, 2}), columns, r)));
            const Model twoRows = patterned(storage, 2, 5);
            EXPECT_EQ("", checkOperation(toColumns(twoRows, columns, r)));
            const Model threeColumns = patterned(storage, 4, 3);
            EXPECT_EQ("", checkOperation(toRows(threeColumns, at({3, 1}), r)));
        }
    }
}
