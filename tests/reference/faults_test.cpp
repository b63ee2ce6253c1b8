// Every allocation of every reference fails once: nothing is given out, nothing changes, nothing leaks.
#include "support/draw.hpp"
#include "support/generators.hpp"

using namespace zqsp::test;

TEST(ReferenceFaults, EveryPath)
{
    unsigned faults = 0;
    property(800, [&] {
        const Model a = drawOneIn(8) ? drawModel(drawStorage(), Shape::Huge) : drawModel();
        const Subscript k = drawSubscript({.extent = a.numel(), .likely = storedElements(a), .mayFail = false});
        const Subscript i = drawSubscript({.extent = a.m, .likely = storedRows(a), .mayFail = false});
        const Subscript j = drawSubscript({.extent = a.n, .likely = storedColumns(a), .mayFail = false});
        std::vector<Operation> operations;
        operations.push_back({.callee = Export::Ref2, .a = a});
        operations.push_back({.callee = Export::Ref3, .a = a, .i = k});
        operations.push_back({.callee = Export::Ref4, .a = a, .i = j});
        if (a.m < 100000) {
            operations.push_back({.callee = Export::Ref5, .a = a, .i = i});
            operations.push_back({.callee = Export::Ref6, .a = a, .i = i, .j = j});
            operations.push_back({.callee = Export::Reshape, .a = a, .newM = a.n, .newN = a.m});
        }
        for (const Operation& operation : operations) {
            const std::string complaint = checkFaults(operation, &faults);
            if (!complaint.empty()) {
                RC_FAIL(complaint);
            }
        }
    });
    RecordProperty("faults", static_cast<int>(faults));
    EXPECT_GT(faults, 1000U);
}

TEST(ReferenceFaults, RuntimeEntries)
{
    const Model a = Model::of({kxDOUBLE_CLASS, true}, {{1, 0, 2}, {0, 3, 0}, {4, 5, 0}});
    const Subscript lists[] = {Subscript::list({3, 1, 3}), Subscript::list({2, 1}), Subscript::colon()};
    for (const Subscript& i : lists) {
        for (const Subscript& j : lists) {
            EXPECT_EQ("", checkFaults({.callee = Export::ReferenceByLists, .a = a, .i = i, .j = j}));
        }
    }
    const Subscript down = Subscript::range(3, -1, 1);
    EXPECT_EQ("", checkFaults({.callee = Export::ReferenceByRanges, .a = a, .i = down, .j = down}));
}
