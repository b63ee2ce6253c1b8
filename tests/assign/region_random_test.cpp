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
