// A(K) = B and A(:) = B against the model, which assigns one index after another.
#include "assign/cases.hpp"
#include "support/draw.hpp"
#include "support/generators.hpp"

using namespace zqsp::test;

namespace {

constexpr Form kForms[] = {Form::Numeric, Form::SparseNumeric, Form::Mask, Form::SparseMask, Form::Range};

/// What an explicit false does when it is overwritten is open.
bool mayHoldZeros(Storage storage)
{
    return storage.classId != kxLOGICAL_CLASS;
}

/// Matrices, vectors, scalars, empty and unset targets.
Model drawTarget(Storage storage, Shape shape)
{
    const Model a = drawModel(storage, shape, mayHoldZeros(storage));
    const auto count = static_cast<unsigned>(a.numel());
    switch (draw(6)) {
    case 0:
        return reshaped(a, 1, count);
    case 1:
        return reshaped(a, count, 1);
    case 2:
        return drawOneIn(4) ? drawUnmadeTarget(storage) : a;
    default:
        return a;
    }
}

/// Indices into the target and, where it may grow, past it.
Subscript drawIndices(const Model& a, Form form, unsigned most)
{
    const bool isMatrix = a.m >= 2 && a.n >= 2;
    Wanted wanted = wantedElements(a, Purpose::Assignment);
    wanted.most = most;
    wanted.growth = !isMatrix ? 12 : (drawOneIn(20) ? 2 : 0);
    return drawSubscript(wanted, form);
}

/// As many values as the subscript names positions. NaN and infinities come from the tables of cases.
RightSide drawValues(const Subscript& k)
{
    const std::size_t count = k.form == Form::Range ? k.numel()
                              : k.isLogical()       ? maskPositions(k).size()
                                                    : k.values.size();
    return drawRightSide(static_cast<unsigned>(count));
}

Operation drawAssignment(const Model& a, Form form, unsigned most)
{
    const Subscript k = drawIndices(a, form, most);
    return toElements(a, k, drawValues(k));
}

class RandomLinearAssignment : public testing::TestWithParam<Storage>
{
};

} // namespace

TEST_P(RandomLinearAssignment, EveryForm)
{
    for (const Form form : kForms) {
        property(500, [&] { holds(drawAssignment(drawTarget(GetParam(), Shape::Small), form, 12)); });
    }
}

TEST_P(RandomLinearAssignment, LongSubscripts)
{
    for (const Form form : kForms) {
        property(60, [&] {
            const Shape shape = drawFrom<Shape>({Shape::Small, Shape::Tall, Shape::Dense});
            holds(drawAssignment(drawTarget(GetParam(), shape), form, 300));
        });
    }
}

TEST_P(RandomLinearAssignment, RunsThatMixEverything)
{
    // A full vector with little or no room: entries are overwritten, removed and stored anew, repeatedly at the same
    // places, and it grows between.
    property(600, [&] {
        const bool isColumn = drawOneIn(2);
        const unsigned length = draw(12);
        Model a = drawModelOfSize(GetParam(), isColumn ? length : 1, isColumn ? 1 : length, mayHoldZeros(GetParam()));
        a.nzmax = a.nnz() + draw(3);
        const unsigned reach = 1 + draw(30);
        std::vector<double> k;
        std::vector<Value> b;
        for (unsigned count = 1 + draw(60); count > 0; --count) {
            k.push_back(1.0 + draw(reach));
            b.emplace_back(draw(3) == 0 ? 0 : 1 + draw(9), drawOneIn(8) ? 1 : 0);
        }
        holds(toElements(a, at(k), row(b, kComplex)));
    });
}

TEST_P(RandomLinearAssignment, Colon)
{
    property(500, [&] {
        const Model a = drawModel(GetParam(), Shape::Small);
        holds(toElements(a, Subscript::colon(), drawRightSide(static_cast<unsigned>(a.numel()))));
        holds(toElements(a, Subscript::colon(), drawRightSide(a.m, a.n)));
    });
}

INSTANTIATE_TEST_SUITE_P(Storages, RandomLinearAssignment, testing::ValuesIn(sparseStorages()),
                         [](const auto& tested) { return testNameOf(tested.param); });
