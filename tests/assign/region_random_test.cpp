// A(I,J) = B, A(:,J) = B and A(I,:) = B against the models, with operands drawn at random.
#include "assign/region_cases.hpp"
#include "support/draw.hpp"
#include "support/generators.hpp"

#include <set>

using namespace zqsp::test;

namespace {

constexpr Form kForms[] = {Form::Numeric, Form::SparseNumeric, Form::Mask, Form::SparseMask, Form::Range, Form::Colon};

/// Mostly a sparse matrix, small ones and empty ones among them; now and then a target that is no sparse matrix yet.
Model drawTarget(Storage storage)
{
    if (drawOneIn(12)) {
        return Model::unset();
    }
    if (drawOneIn(12)) {
        const auto [m, n] = drawFrom<std::pair<unsigned, unsigned>>({{0, 0}, {0, 5}, {5, 0}});
        return emptyFull({storage.classId, false}, m, n);
    }
    return drawModel(storage, drawOneIn(4) ? drawFrom<Shape>({Shape::Tall, Shape::Dense}) : Shape::Small);
}

Wanted rowsOf(const Model& a)
{
    return {.extent = a.m, .purpose = Purpose::Assignment, .growth = drawOneIn(4) ? 3U : 0U, .likely = storedRows(a)};
}

Wanted columnsOf(const Model& a)
{
    return {
        .extent = a.n, .purpose = Purpose::Assignment, .growth = drawOneIn(4) ? 3U : 0U, .likely = storedColumns(a)};
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
    for (const Form rows : kForms) {
        for (const Form columns : kForms) {
            property(100, [&] {
                const Model a = drawTarget(GetParam());
                const Subscript i = drawSubscript(rowsOf(a), rows);
                const Subscript j = drawSubscript(columnsOf(a), columns);
                const RightSide b = drawRightSide(namedBy(i, a.m), namedBy(j, a.n));
                holds(toRegion(a, i, j, b));
            });
        }
    }
}

TEST_P(RandomAssignment, EveryFormOfOneSubscript)
{
    for (const Form form : kForms) {
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
        const RightSide b = drawRightSide(namedBy(i, a.m), namedBy(j, a.n));
        holds(toRegion(a, i, j, b));
        holds(toColumns(a, j, drawRightSide(a.m, namedBy(j, a.n))));
        holds(toRows(a, i, drawRightSide(namedBy(i, a.m), a.n)));
    });
}

TEST(RandomAssignment, MoreThanFourThousandMillionElements)
{
    property(300, [] {
        const Model a = drawModel(drawStorage(), Shape::Huge);
        const auto rowForm = drawFrom<Form>({Form::Numeric, Form::Range, Form::SparseMask, Form::SparseNumeric});
        const Subscript i = drawSubscript(rowsOf(a), rowForm);
        const Subscript j = drawSubscript(columnsOf(a), rowForm);
        const RightSide b = drawRightSide(namedBy(i, a.m), namedBy(j, a.n));
        holds(toRegion(a, i, j, b));
        if (a.n < 100) {
            holds(toRows(a, i, drawRightSide(namedBy(i, a.m), a.n)));
        }
    });
}

TEST(RandomAssignment, GivesBackWhatWasAssigned)
{
    property(3000, [] {
        const Storage storage = drawStorage();
        const Model a = drawModel(storage, Shape::Small);
        std::vector<double> named[2]; // 1-based, as a colon or a range past the end mean them for this target
        const auto distinct = [](Wanted wanted, std::vector<double>& indices) {
            wanted.mayFail = false;
            const Subscript s = drawSubscript(wanted);
            std::set<std::uint64_t> seen;
            for (const std::uint64_t position : convert(s, wanted.extent, Purpose::Assignment)) {
                RC_PRE(seen.insert(position).second);
                indices.push_back(static_cast<double>(position) + 1);
            }
            return toArray(s);
        };
        const Array i = distinct(rowsOf(a), named[0]);
        const Array j = distinct(columnsOf(a), named[1]);
        Model b = drawModelOfSize(storage, static_cast<unsigned>(named[0].size()),
                                  static_cast<unsigned>(named[1].size()), false);
        const Array target = toArray(a);
        const Array rightSide = toArray(b);
        RC_ASSERT(spAss6(target.get(), rightSide.get(), i.get(), j.get()) == spOK);

        const Array rows = toArray(Subscript::list(named[0]));
        const Array columns = toArray(Subscript::list(named[1]));
        Array back;
        RC_ASSERT(spRef6(target.get(), rows.get(), columns.get(), back.slot()) == spOK);
        b.freeImagIfZero();
        b.nzmax = Model::kAnyCapacity;
        RC_ASSERT(diff(back.get(), b) == "");
    });
}
