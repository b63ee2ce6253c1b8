// A(K) = B against the model, which assigns one index after another.
#include "support/draw.hpp"
#include "support/generators.hpp"

#include <algorithm>

using namespace zqsp::test;

namespace {

constexpr Form kForms[] = {Form::Numeric, Form::SparseNumeric, Form::Mask, Form::SparseMask, Form::Range};

/// Matrices, vectors, scalars, empty and unset targets. What an explicit false does when it is overwritten is open.
Model drawTarget(Storage storage, Shape shape)
{
    Model a = drawModel(storage, shape, storage.classId != kxLOGICAL_CLASS);
    const auto count = static_cast<unsigned>(a.numel());
    switch (draw(6)) {
    case 0:
        return reshaped(a, 1, count);
    case 1:
        return reshaped(a, count, 1);
    case 2:
        return drawOneIn(6) ? Model::unset() : a;
    default:
        return a;
    }
}

/// Indices into the target and, where it may grow, past it.
Subscript drawIndices(const Model& a, Form form, unsigned most)
{
    const bool isMatrix = a.m >= 2 && a.n >= 2;
    Wanted wanted{.extent = a.numel(), .purpose = Purpose::Assignment, .likely = storedElements(a), .most = most};
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

Operation drawAssignment(Storage storage, Shape shape, Form form, unsigned most)
{
    const Model a = drawTarget(storage, shape);
    const Subscript k = drawIndices(a, form, most);
    return {.callee = Export::Ass3, .a = a, .b = drawValues(k), .i = k};
}

class RandomLinearAssignment : public testing::TestWithParam<Storage>
{
};

} // namespace

TEST_P(RandomLinearAssignment, EveryForm)
{
    for (const Form form : kForms) {
        property(500, [&] { holds(drawAssignment(GetParam(), Shape::Small, form, 12)); });
    }
}

TEST_P(RandomLinearAssignment, LongSubscripts)
{
    for (const Form form : kForms) {
        property(60, [&] {
            const Shape shape = drawFrom<Shape>({Shape::Small, Shape::Tall, Shape::Dense});
            holds(drawAssignment(GetParam(), shape, form, 300));
        });
    }
}

TEST_P(RandomLinearAssignment, MoreThanFourThousandMillionElements)
{
    property(25, [&] {
        Model a = drawModel(GetParam(), Shape::Huge, GetParam().classId != kxLOGICAL_CLASS);
        const Subscript k = drawIndices(a, drawFrom<Form>({Form::Numeric, Form::SparseMask, Form::Range}), 8);
        holds({.callee = Export::Ass3, .a = a, .b = drawValues(k), .i = k});
    });
}

TEST_P(RandomLinearAssignment, RunsThatMixEverything)
{
    // A full vector with little or no room: entries are overwritten, removed and stored anew, repeatedly at the same
    // places, and it grows between.
    property(600, [&] {
        const bool isColumn = drawOneIn(2);
        const unsigned length = draw(12);
        Model a = drawModelOfSize(GetParam(), isColumn ? length : 1, isColumn ? 1 : length,
                                  GetParam().classId != kxLOGICAL_CLASS);
        a.nzmax = a.nnz() + draw(3);
        const unsigned count = 1 + draw(60);
        const unsigned reach = 1 + draw(30);
        std::vector<double> k;
        std::vector<Value> b;
        for (unsigned t = 0; t < count; ++t) {
            k.push_back(1.0 + draw(reach));
            b.emplace_back(draw(3) == 0 ? 0 : 1 + draw(9), drawOneIn(8) ? 1 : 0);
        }
        holds({.callee = Export::Ass3,
               .a = a,
               .b = RightSide::full({1, count}, b, {kxDOUBLE_CLASS, true}),
               .i = Subscript::list(k)});
    });
}

TEST_P(RandomLinearAssignment, OneByOneIsTheSame)
{
    property(300, [&] {
        const Operation op = drawAssignment(GetParam(), Shape::Small, Form::Numeric, 12);
        if (!predict(op).ended.completed() || op.i.values.empty() || op.a.isUnset()) {
            return;
        }
        const Array once = toArray(op.a);
        const Array oneByOne = toArray(op.a);
        RC_ASSERT(spAss3(once.get(), toArray(op.b).get(), toArray(op.i).get()) == spOK);
        const RightSide b = op.b.converted(op.a.storage.classId);
        const std::vector<Value> values = b.elements();
        for (std::size_t t = 0; t < op.i.values.size(); ++t) {
            const Array value = toArray(RightSide::scalar(values[values.size() == 1 ? 0 : t], b.storage));
            const Array index = toArray(Subscript::list({op.i.values[t]}));
            RC_ASSERT(spAss3(oneByOne.get(), value.get(), index.get()) == spOK);
        }
        RC_ASSERT(diff(once.get(), fromArray(oneByOne.get())) == "");
    });
}

INSTANTIATE_TEST_SUITE_P(Storages, RandomLinearAssignment, testing::ValuesIn(sparseStorages()),
                         [](const auto& tested) { return testNameOf(tested.param); });
