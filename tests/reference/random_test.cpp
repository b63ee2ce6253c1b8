// Every reference against the models, with operands drawn at random.
#include "support/draw.hpp"
#include "support/generators.hpp"

#include <cmath>

using namespace zqsp::test;

namespace {

class RandomReference : public testing::TestWithParam<Storage>
{
};

} // namespace

TEST_P(RandomReference, EveryPairOfForms)
{
    for (const Form rows : kEveryForm) {
        for (const Form columns : kEveryForm) {
            property(100, [&] {
                const Model a = drawModel(GetParam());
                const Subscript i = drawSubscript(wantedRows(a), rows);
                const Alias jIs = drawOneIn(10) ? Alias::SharesSubscript : Alias::None;
                const Subscript j = drawSubscript(wantedColumns(a), columns);
                holds({.callee = Export::Ref6, .a = a, .i = i, .j = j, .jIs = jIs});
            });
        }
    }
}

TEST_P(RandomReference, EveryFormOfOneSubscript)
{
    for (const Form form : kEveryForm) {
        property(300, [&] {
            const Model a = drawModel(GetParam());
            holds({.callee = Export::Ref2, .a = a});
            holds({.callee = Export::Ref3, .a = a, .i = drawSubscript(wantedElements(a), form)});
            holds({.callee = Export::Ref4, .a = a, .i = drawSubscript(wantedColumns(a), form)});
            holds({.callee = Export::Ref5, .a = a, .i = drawSubscript(wantedRows(a), form)});
        });
    }
}

TEST_P(RandomReference, LongSubscripts)
{
    property(100, [&] {
        const auto drawn = [](Wanted wanted, unsigned most) {
            wanted.most = most;
            return drawSubscript(wanted);
        };
        const Model a = drawModel(GetParam(), Shape::Dense);
        const auto elements = static_cast<unsigned>(a.numel());
        const Model any = drawOneIn(2) ? a : drawOneIn(2) ? reshaped(a, 1, elements) : reshaped(a, elements, 1);
        const Model wide = reshaped(a, a.n, a.m);
        const Subscript i = drawn(wantedRows(a), 300);
        holds({.callee = Export::Ref3, .a = any, .i = drawn(wantedElements(any), 500)});
        holds({.callee = Export::Ref4, .a = wide, .i = i});
        holds({.callee = Export::Ref5, .a = a, .i = i});
        holds({.callee = Export::Ref6, .a = a, .i = i, .j = drawn(wantedColumns(a), 40)});
    });
}

INSTANTIATE_TEST_SUITE_P(Storages, RandomReference, testing::ValuesIn(sparseStorages()),
                         [](const auto& tested) { return testNameOf(tested.param); });

TEST(RandomRuntimeReference, ByLists)
{
    property(4000, [] {
        const Model a = drawModel();
        const auto list = [](const Wanted& wanted) { return drawOneIn(5) ? Subscript::colon() : drawBareList(wanted); };
        const Subscript i = drawOneIn(8) ? Subscript::list({1, a.m + 1.0}) : list(wantedRows(a));
        holds({.callee = Export::ReferenceByLists, .a = a, .i = i, .j = list(wantedColumns(a))});
    });
}

TEST(RandomRuntimeReference, ByRanges)
{
    property(4000, [] {
        const Model a = drawModel();
        const auto range = [](const Wanted& wanted) {
            Subscript s = drawSubscript(wanted, Form::Range);
            return Subscript::range(std::trunc(s.start), std::trunc(s.step), std::trunc(s.stop));
        };
        const Subscript i = range(wantedRows(a));
        holds({.callee = Export::ReferenceByRanges, .a = a, .i = i, .j = range(wantedColumns(a))});
    });
}
