// Every reference against the models, with operands drawn at random.
#include "support/draw.hpp"
#include "support/generators.hpp"

#include <cmath>

using namespace zqsp::test;

namespace {

constexpr Form kForms[] = {Form::Numeric, Form::SparseNumeric, Form::Mask, Form::SparseMask, Form::Range, Form::Colon};

Wanted rowsOf(const Model& a)
{
    return {.extent = a.m, .likely = storedRows(a)};
}

Wanted columnsOf(const Model& a)
{
    return {.extent = a.n, .likely = storedColumns(a)};
}

Wanted elementsOf(const Model& a)
{
    return {.extent = a.numel(), .likely = storedElements(a)};
}

class RandomReference : public testing::TestWithParam<Storage>
{
};

} // namespace

TEST_P(RandomReference, EveryPairOfForms)
{
    for (const Form rows : kForms) {
        for (const Form columns : kForms) {
            property(100, [&] {
                const Model a = drawModel(GetParam());
                const Subscript i = drawSubscript(rowsOf(a), rows);
                holds({.callee = Export::Ref6, .a = a, .i = i, .j = drawSubscript(columnsOf(a), columns)});
            });
        }
    }
}

TEST_P(RandomReference, EveryFormOfOneSubscript)
{
    for (const Form form : kForms) {
        property(300, [&] {
            const Model a = drawModel(GetParam());
            holds({.callee = Export::Ref3, .a = a, .i = drawSubscript(elementsOf(a), form)});
            holds({.callee = Export::Ref4, .a = a, .i = drawSubscript(columnsOf(a), form)});
            holds({.callee = Export::Ref5, .a = a, .i = drawSubscript(rowsOf(a), form)});
        });
    }
}

TEST_P(RandomReference, MoreThanFourThousandMillionElements)
{
    property(150, [&] {
        const Model a = drawModel(GetParam(), Shape::Huge);
        holds({.callee = Export::Ref3, .a = a, .i = drawSubscript(elementsOf(a))});
        holds({.callee = Export::Ref4, .a = a, .i = drawSubscript(columnsOf(a))});
        const Subscript i = drawSubscript(rowsOf(a));
        if (i.form != Form::Mask && a.n < 10) {
            holds({.callee = Export::Ref5, .a = a, .i = i});
            holds({.callee = Export::Ref6, .a = a, .i = i, .j = drawSubscript(columnsOf(a))});
        }
    });
}

INSTANTIATE_TEST_SUITE_P(Storages, RandomReference, testing::ValuesIn(sparseStorages()),
                         [](const auto& tested) { return testNameOf(tested.param); });

TEST(RandomRuntimeReference, ByLists)
{
    property(4000, [] {
        const Model a = drawModel();
        const auto list = [](Wanted wanted) {
            Subscript s = drawSubscript(wanted, drawOneIn(5) ? Form::Colon : Form::Numeric);
            std::erase_if(s.values, [](double v) {
                return !(v >= 1 && v <= 1e9 && v == std::trunc(v));
            }); // what an unsigned list can hold
            s.complex = false;
            return s.as(kxDOUBLE_CLASS).shaped(1, static_cast<unsigned>(s.values.size()));
        };
        Wanted rows = rowsOf(a);
        rows.mayFail = false;
        Subscript i = list(rows);
        Subscript j = list(columnsOf(a));
        if (i.form == Form::Numeric && drawOneIn(8)) {
            i = Subscript::list({1, a.m + 1.0});
        }
        holds({.callee = Export::ReferenceByLists, .a = a, .i = i, .j = j});
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
        const Subscript i = range(rowsOf(a));
        holds({.callee = Export::ReferenceByRanges, .a = a, .i = i, .j = range(columnsOf(a))});
    });
}

TEST(RandomReshape, KeepsLinearPositions)
{
    property(4000, [] {
        const Model a = drawModel();
        std::vector<unsigned> heights;
        for (unsigned m = 1; m <= a.numel(); ++m) {
            if (a.numel() % m == 0) {
                heights.push_back(m);
            }
        }
        if (a.isEmpty()) {
            holds({.callee = Export::Reshape, .a = a, .newM = draw(5), .newN = 0});
            return;
        }
        const unsigned m = drawFrom(heights);
        holds({.callee = Export::Reshape, .a = a, .newM = m, .newN = static_cast<unsigned>(a.numel()) / m});
    });
}
