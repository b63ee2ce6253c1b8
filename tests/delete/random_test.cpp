// Every deletion against the models, with operands drawn at random.
#include "support/draw.hpp"
#include "support/generators.hpp"
#include "support/self_subscripts.hpp"

using namespace zqsp::test;

namespace {

Subscript drawDeleted(Wanted wanted, unsigned most = 8)
{
    wanted.most = most;
    return drawSubscript(wanted);
}

class RandomDeletion : public testing::TestWithParam<Storage>
{
};

} // namespace

TEST_P(RandomDeletion, EveryForm)
{
    for (const Form form : kEveryForm) {
        property(200, [&] {
            const Model a = drawModel(GetParam());
            const auto purpose = Purpose::Deletion;
            holds({.callee = Export::DeleteColumns, .a = a, .i = drawSubscript(wantedColumns(a, purpose), form)});
            holds({.callee = Export::DeleteRows, .a = a, .i = drawSubscript(wantedRows(a, purpose), form)});
            holds({.callee = Export::DeleteElements, .a = a, .i = drawSubscript(wantedElements(a, purpose), form)});
        });
    }
}

TEST_P(RandomDeletion, LongSubscripts)
{
    property(150, [&] {
        Model a = drawModel(GetParam(), drawOneIn(2) ? Shape::Dense : Shape::Tall);
        const auto elements = static_cast<unsigned>(a.numel());
        if (drawOneIn(3)) {
            a = drawOneIn(2) ? reshaped(a, 1, elements) : reshaped(a, elements, 1);
        }
        const Model wide = reshaped(a, a.n, a.m);
        const auto purpose = Purpose::Deletion;
        holds({.callee = Export::DeleteElements, .a = a, .i = drawDeleted(wantedElements(a, purpose), 400)});
        holds({.callee = Export::DeleteRows, .a = a, .i = drawDeleted(wantedRows(a, purpose), 200)});
        holds({.callee = Export::DeleteColumns, .a = wide, .i = drawDeleted(wantedColumns(wide, purpose), 200)});
    });
}

INSTANTIATE_TEST_SUITE_P(Storages, RandomDeletion, testing::ValuesIn(sparseStorages()),
                         [](const auto& tested) { return testNameOf(tested.param); });

/// The subscript is the target itself or shares its data.
TEST(RandomDeletion, ByTheTargetItself)
{
    unsigned completed = 0;
    property(4000, [&] {
        const Model a = drawSelfSubscript(true);
        for (const Export callee : {Export::DeleteColumns, Export::DeleteRows, Export::DeleteElements}) {
            const Operation op{.callee = callee, .a = a, .iIs = drawFrom<Alias>({Alias::Target, Alias::SharesTarget})};
            completed += predict(op).ended.completed() ? 1U : 0U;
            drawOneIn(10) ? survivesFaults(op) : holds(op);
        }
    });
    EXPECT_GT(completed, 200U);
}
