// Every deletion against the models, and against the reference of what it must leave, with operands drawn at random.
#include "support/draw.hpp"
#include "support/generators.hpp"

#include <set>

using namespace zqsp::test;

namespace {

constexpr Form kForms[] = {Form::Numeric, Form::SparseNumeric, Form::Mask, Form::SparseMask, Form::Range, Form::Colon};

Wanted rowsOf(const Model& a, unsigned most = 8)
{
    return {.extent = a.m, .purpose = Purpose::Deletion, .likely = storedRows(a), .most = most};
}

Wanted columnsOf(const Model& a, unsigned most = 8)
{
    return {.extent = a.n, .purpose = Purpose::Deletion, .likely = storedColumns(a), .most = most};
}

Wanted elementsOf(const Model& a, unsigned most = 8)
{
    return {.extent = a.numel(), .purpose = Purpose::Deletion, .likely = storedElements(a), .most = most};
}

class RandomDeletion : public testing::TestWithParam<Storage>
{
};

/// What is left when `deleted` is gone, as an ascending list.
Subscript complement(const Subscript& deleted, unsigned extent)
{
    const Positions positions = convert(deleted, extent, Purpose::Deletion);
    const std::set<std::uint64_t> gone(positions.begin(), positions.end());
    std::vector<double> kept;
    for (unsigned p = 0; p < extent; ++p) {
        if (!gone.contains(p)) {
            kept.push_back(p + 1.0);
        }
    }
    return Subscript::list(kept);
}

/// Deletes from one copy of the matrix, reads the complement from another, and compares.
void leavesTheComplement(const Model& a, const Subscript& deleted, unsigned extent,
                         spStatus (*remove)(kxArray*, const kxArray*),
                         spStatus (*refer)(const kxArray*, const kxArray*, kxArray**))
{
    const Array target = toArray(a);
    const Array subscript = toArray(deleted);
    const Array kept = toArray(complement(deleted, extent));
    Array expected;
    RC_ASSERT(refer(target.get(), kept.get(), expected.slot()) == spOK);
    RC_ASSERT(remove(target.get(), subscript.get()) == spOK);
    kxFreeImagIfZero(target.get());
    Model model = fromArray(expected.get());
    model.nzmax = a.nzmax;
    const std::string difference = diff(target.get(), model);
    if (!difference.empty()) {
        std::ostringstream text;
        text << "\nA = " << a << "\ndeleted " << deleted << difference;
        RC_FAIL(text.str());
    }
}

} // namespace

TEST_P(RandomDeletion, EveryForm)
{
    for (const Form form : kForms) {
        property(200, [&] {
            const Model a = drawModel(GetParam());
            holds({.callee = Export::DeleteColumns, .a = a, .i = drawSubscript(columnsOf(a), form)});
            holds({.callee = Export::DeleteRows, .a = a, .i = drawSubscript(rowsOf(a), form)});
            holds({.callee = Export::DeleteElements, .a = a, .i = drawSubscript(elementsOf(a), form)});
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
        holds({.callee = Export::DeleteElements, .a = a, .i = drawSubscript(elementsOf(a, 400))});
        holds({.callee = Export::DeleteRows, .a = a, .i = drawSubscript(rowsOf(a, 200))});
        const Model wide = reshaped(a, a.n, a.m);
        holds({.callee = Export::DeleteColumns, .a = wide, .i = drawSubscript(columnsOf(wide, 200))});
    });
}

TEST_P(RandomDeletion, MoreThanFourThousandMillionElements)
{
    property(25, [&] {
        const Model a = drawModel(GetParam(), Shape::Huge);
        holds({.callee = Export::DeleteElements, .a = a, .i = drawSubscript(elementsOf(a))});
        holds({.callee = Export::DeleteColumns, .a = a, .i = drawSubscript(columnsOf(a))});
        if (a.m < 100000) {
            holds({.callee = Export::DeleteRows, .a = a, .i = drawSubscript(rowsOf(a))});
        } else { // the rows of a run need no map, which would take 16 gigabytes
            const unsigned first = draw(a.m / 2) + 1;
            holds({.callee = Export::DeleteRows, .a = a, .i = Subscript::range(first, 1, first + draw(1000))});
        }
    });
}

TEST_P(RandomDeletion, LeavesTheComplement)
{
    property(250, [&] {
        const Model a = drawModel(GetParam());
        const auto drawn = [](Wanted wanted) {
            wanted.mayFail = false;
            Subscript s = drawSubscript(wanted);
            return s.form == Form::Colon ? Subscript::range(1, 2, static_cast<double>(wanted.extent)) : s;
        };
        leavesTheComplement(a, drawn(columnsOf(a)), a.n, spDeleteColumns, spRef4);
        leavesTheComplement(a, drawn(rowsOf(a)), a.m, spDeleteRows, spRef5);
        const Subscript k = drawn(elementsOf(a));
        const auto extent = static_cast<unsigned>(a.numel());
        if (!convert(k, extent, Purpose::Deletion).empty()) { // nothing deleted leaves the shape as it is
            leavesTheComplement(a, k, extent, spDeleteElements, spRef3);
        }
    });
}

INSTANTIATE_TEST_SUITE_P(Storages, RandomDeletion, testing::ValuesIn(sparseStorages()),
                         [](const auto& tested) { return testNameOf(tested.param); });
