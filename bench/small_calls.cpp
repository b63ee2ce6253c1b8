// Calls on tiny matrices, where allocations and checks are all there is. Each call makes and drops its result; a call
// that works in place is timed with the making of its target, for both sides alike, unless it leaves the pattern be.
#include "contender.hpp"
#include "suites.hpp"

#include <benchmark/benchmark.h>
#include <kx_runtime.hpp>

namespace zqsp::bench {

namespace {

using enum Kind;
using Right = RightSide::Form;

const std::vector<Operation> kOperations = {
    {"columns", "A(:,J), three columns", columns, "all", "three", Right::none, false},
    {"columns-mask", "A(:,J), mask", columns, "all", "half-mask", Right::none, false},
    {"rows", "A(I,:), three rows", rows, "three", "all", Right::none, false},
    {"rows-permutation", "A(I,:), permutation", rows, "permutation", "all", Right::none, false},
    {"region", "A(I,J), three by three", region, "three", "three", Right::none, false},
    {"linear", "A(K), three positions", linear, "three", "", Right::none, false},
    {"read", "A(i,j)", reads, "drawn", "drawn", Right::none, false},
    {"copy", "a copy and A([],:) = []", deleteRows, "none", "", Right::none, false},
    {"delete-columns", "a copy and A(:,J) = []", deleteColumns, "", "three", Right::none, false},
    {"delete-rows", "a copy and A(I,:) = []", deleteRows, "three", "", Right::none, false},
    {"set-columns", "a copy and A(:,J) = B", setColumns, "all", "three", Right::sparse, false},
    {"set-rows", "a copy and A(I,:) = B", setRows, "three", "all", Right::sparse, false},
    {"set-region", "a copy and A(I,J) = B", setRegion, "three", "three", Right::full, false},
    {"set-linear", "a copy and A(K) = B", setLinear, "three", "", Right::full, false},
    {"write", "A(i,j) = v, stored, without a copy", writes, "stored", "", Right::scalar, false},
    {"insert", "a copy and A(k) = v, new", setLinear, "new5", "", Right::scalar, false}};

using MakeSide = ContenderOwner (*)(std::shared_ptr<const Problem>);

void measureCalls(benchmark::State& state, const Row& row, MakeSide make)
{
    const ContenderOwner side = make(std::make_shared<const Problem>(row));
    const bool needsNoCopy = row.operation->kind == writes; // overwrites what is stored
    side->prepare();
    const long before = kxrt::allocations();
    for (auto _ : state) {
        if (needsNoCopy) {
            side->run();
            continue;
        }
        side->finish();
        side->prepare();
        side->run();
    }
    side->finish();
    const auto calls = static_cast<double>(state.iterations());
    state.counters["allocations"] = static_cast<double>(kxrt::allocations() - before) / calls;
    side->prepare();
    const std::size_t without = kxrt::live_blocks();
    side->run();
    state.counters["kept"] = static_cast<double>(kxrt::live_blocks()) - static_cast<double>(without);
    side->finish();
}

} // namespace

void registerSmallCalls()
{
    for (const char* workloadName : {"small10", "small100"}) {
        for (const Operation& operation : kOperations) {
            const Row row{&operation, workloadName, Values::real};
            benchmark::AddCustomContext(row.name(), operation.label);
            for (const auto& [side, make] :
                 {std::pair<const char*, MakeSide>{"/ours", makeOurs}, {"/eigen", makeEigen}}) {
                benchmark::RegisterBenchmark((row.name() + side).c_str(), measureCalls, row, make)->MinTime(0.02);
            }
        }
    }
}

} // namespace zqsp::bench
