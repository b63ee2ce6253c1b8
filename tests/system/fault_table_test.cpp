// Every allocation of every export fails once, on random operands: the call runs out of memory with every operand byte
// for byte as it was and nothing leaked, or completes as predicted.
#include "support/draw.hpp"
#include "system/any_operation.hpp"

using namespace zqsp::test;

namespace {

class FaultTable : public testing::TestWithParam<Export>
{
};

} // namespace

TEST_P(FaultTable, EveryAllocationFailsOnce)
{
    unsigned faults = 0;
    property(1500, [&] {
        const Export callee = GetParam();
        requireNone(checkFaults(drawOperation(callee, drawTarget(callee, drawStorage()), false), &faults));
    });
    RecordProperty("faults", static_cast<int>(faults));
    EXPECT_GT(faults, 100U);
}

INSTANTIATE_TEST_SUITE_P(Exports, FaultTable, testing::ValuesIn(everyExport()),
                         [](const auto& tested) { return nameOf(tested.param); });
