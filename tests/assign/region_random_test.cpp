// A(I,J) = B, A(:,J) = B and A(I,:) = B against the models, with operands drawn at random.
#include "assign/cases.hpp"
#include "support/draw.hpp"
#include "support/generators.hpp"

using namespace zqsp::test;

namespace {

/// Mostly a sparse matrix, small ones and empty ones among them; now and then a target that is no sparse matrix yet.
Model drawTarget(Storage storage)
{
    if (drawOneIn(6)) {
        return drawUnmadeTarget(storage);
    }
    return drawModel(storage, drawOneIn(4) ? drawFrom<Shape>({Shape::Tall, Shape::Dense}) : Shape::Small);
}

Wanted growing(Wanted wanted)
{
    wanted.growth = drawOneIn(4) ? 3U : 0U;
    return wanted;
}

Wanted rowsOf(const Model& a)
{
    return growing(wantedRows(a, Purpose::Assignment));
}

Wanted columnsOf(const Model& a)
{
    return growing(wantedColumns(a, Purpose::Assignment));
}

/// An extent of the target that a subscript leaves open: that of an empty square target comes from the right-hand side.
unsigned openExtent(const Model& a, unsigned extent)
{
    return a.isEmpty() && a.m == a.n ? draw(4) : extent;
}

class RandomAssignment : public testing::TestWithParam<Storage>
{
};

} // namespace

TEST_P(RandomAssignment, EveryPairOfForms)
{
    for (const Form rows : kEveryForm) {
        for (const Form columns : kEveryForm) {
            property(100, [&] {
                const Model a = drawTarget(GetParam());
                const Subscript i = drawSubscript(rowsOf(a), rows);
                const Subscript j = drawSubscript(columnsOf(a), columns);
                holds(toRegion(a, i, j, drawRightSide(namedBy(i, a.m), namedBy(j, a.n))));
            });
        }
    }
}

TEST_P(RandomAssignment, EveryFormOfOneSubscript)
{
    for (const Form form : kEveryForm) {
        property(300, [&] {
            const Model a = drawTarget(GetParam());
            const Subscript j = drawSubscript(columnsOf(a), form);
            holds(toColumns(a, j, drawRightSide(openExtent(a, a.m), namedBy(j, a.n))));
            const Subscript i = drawSubscript(rowsOf(a), form);
            holds(toRows(a, i, drawRightSide(namedBy(i, a.m), openExtent(a, a.n))));
        });
    }
}

INSTANTIATE_TEST_SUITE_P(Storages, RandomAssignment, testing::ValuesIn(sparseStorages()),
                         [](const auto& tested) { return testNameOf(tested.param); });

TEST(RandomAssignment, LongSubscripts)
{
    // Long columns and many of them: dense regions beside sparse ones, and rows told by a table beside searched ones.
    property(1500, [] {
        const Model tall = drawModel(drawStorage(), Shape::Dense);
        const Model a = drawOneIn(2) ? tall : reshaped(tall, tall.n, tall.m);
        Wanted rows = rowsOf(a);
        Wanted columns = columnsOf(a);
        rows.most = columns.most = 60;
        const Subscript i = drawSubscript(rows);
        const Subscript j = drawSubscript(columns);
        holds(toRegion(a, i, j, drawRightSide(namedBy(i, a.m), namedBy(j, a.n))));
        holds(toColumns(a, j, drawRightSide(a.m, namedBy(j, a.n))));
        holds(toRows(a, i, drawRightSide(namedBy(i, a.m), a.n)));
    });
}

TEST(RandomAssignment, MoreThanFourThousandMillionElements)
{
    property(300, [] {
        const Model a = drawModel(drawStorage(), Shape::Huge);
        const auto form = drawFrom<Form>({Form::Numeric, Form::Range, Form::SparseMask, Form::SparseNumeric});
        const Subscript i = drawSubscript(rowsOf(a), form);
        const Subscript j = drawSubscript(columnsOf(a), form);
        holds(toRegion(a, i, j, drawRightSide(namedBy(i, a.m), namedBy(j, a.n))));
        if (a.n < 100) {
            holds(toRows(a, i, drawRightSide(namedBy(i, a.m), a.n)));
        }
    });
}

/// Three dimensions are no model's.
TEST(FreshTargets, TakeTheRightSideWholeWhateverItsShape)
{
    const Array b = toArray(RightSide::full({2, 1, 3}, {1, 2, 3, 4, 5, 6}));
    const Array all = toArray(Subscript::colon());
    const Array a = toArray(Model::unset());
    ASSERT_EQ(spAss6(a.get(), b.get(), all.get(), all.get()), spOK);
    ASSERT_EQ(a->ndims, 3U);
    EXPECT_EQ(a->get_dimensions()[2], 3U);
    EXPECT_EQ(readElement(a->pr, kxDOUBLE_CLASS, 5), 6);
    EXPECT_NE(a->pr, b->pr);
}

TEST(RandomAssignment, RowsOfManyColumnsAndOfLongOnes)
{
    // More of both than are put together at a time.
    for (const Storage storage : {kReal, kComplex, kLogical}) {
        for (const auto& [m, n] : {std::pair(5U, 3000U), std::pair(3001U, 4U)}) {
            const Model a = patterned(storage, m, n);
            const Subscript odd = Subscript::range(1, 2, m);
            const Storage real = {storage.classId, false};
            EXPECT_EQ("", checkOperation(toRows(a, odd, RightSide::of(patterned(storage, m / 2 + 1, n)))));
            EXPECT_EQ("", checkOperation(toRows(a, odd, RightSide::of(patterned(real, m / 2 + 1, n)))));
            EXPECT_EQ("", checkOperation(toRegion(a, odd, Subscript::range(2, 1, n + 2), RightSide::scalar(1, real))));
        }
    }
}
