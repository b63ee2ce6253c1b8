// Every export against the models, on targets of every storage, with operands of every form drawn at random.
#include "support/draw.hpp"
#include "system/any_operation.hpp"

using namespace zqsp::test;

namespace {

class Random : public testing::TestWithParam<Export>
{
  protected:
    /// So many calls on targets of each storage, drawn as target(storage).
    template <typename Target>
    static void check(unsigned runs, const std::vector<unsigned>& most, Target target)
    {
        for (const Storage storage : sparseStorages()) {
            property(runs, [&] { holds(drawOperation(GetParam(), target(storage), true, drawFrom(most))); });
        }
    }
};

} // namespace

TEST_P(Random, EveryForm)
{
    const Export callee = GetParam();
    const bool manyForms = callee == Export::Ref6 || callee == Export::Ass3 || callee == Export::Ass6;
    check(manyForms ? 3600 : 1800, {8}, [&](Storage storage) { return drawTarget(callee, storage); });
}

TEST_P(Random, LongSubscripts)
{
    // Dense regions beside sparse ones, rows told by a table beside searched ones; and small vectors whose entries are
    // overwritten, removed and stored anew, repeatedly at the same places.
    check(GetParam() == Export::Ass3 ? 900 : 300, {40, 400}, [](Storage storage) {
        const Model a = drawModel(storage, drawFrom<Shape>({Shape::Dense, Shape::Tall, Shape::Small}));
        const auto elements = static_cast<unsigned>(a.numel());
        const unsigned rows = drawFrom<unsigned>({a.m, a.n, 1, elements});
        return rows == 0 ? a : reshaped(a, rows, elements / rows);
    });
}

/// The call runs out of memory with every operand byte for byte as it was and nothing leaked, or completes as
/// predicted.
TEST_P(Random, EveryAllocationFailsOnce)
{
    unsigned faults = 0;
    property(1500, [&] {
        const Export callee = GetParam();
        requireNone(checkFaults(drawOperation(callee, drawTarget(callee, drawStorage()), false), &faults));
    });
    RecordProperty("faults", static_cast<int>(faults));
    EXPECT_GT(faults, 100U);
}

INSTANTIATE_TEST_SUITE_P(Exports, Random, testing::ValuesIn(everyExport()),
                         [](const auto& tested) { return nameOf(tested.param); });
