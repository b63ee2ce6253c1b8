// zqsp_bench: measures the library, its peers and plain copies on the same data.
//
//     zqsp_bench [--budget=SECONDS] [--kernels=TABLE] [--check] [Google Benchmark's flags]
//
// Each row is one benchmark, measured with every table of loops that the processor has, or with one. With --check,
// every side runs once, to see that all agree.
#include "contender.hpp"
#include "suites.hpp"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <iostream>
#include <tuple>

namespace zqsp::bench {

namespace {

/// The operands of the row that is being measured; making them takes longer than measuring, and the sides of a row
/// follow one another.
std::shared_ptr<const Problem> problemOf(const Row& row)
{
    static std::shared_ptr<const Problem> latest;
    if (latest == nullptr || latest->row.name() != row.name()) {
        latest.reset();
        latest = std::make_shared<const Problem>(row);
    }
    return latest;
}

std::vector<Side> peersOf(const Row& row)
{
    using Has = bool (*)(const Row&);
    using Make = ContenderOwner (*)(std::shared_ptr<const Problem>);
    constexpr std::tuple<const char*, Has, Make> known[] = {{"eigen", hasEigen, makeEigen},
                                                            {"scipy", hasScipy, makeScipy},
                                                            {"graphblas", hasGraphblas, makeGraphblas},
                                                            {"armadillo", hasArmadillo, makeArmadillo}};
    std::vector<Side> peers;
    for (const auto& [name, has, make] : known) {
        if (has(row) && (!row.isStep() || has == hasEigen)) {
            peers.push_back({name, [&row, make = make] { return make(problemOf(row)); }});
        }
    }
    return peers;
}

std::vector<Side> yardsticksOf(const Row& row)
{
    if (row.operation->copies == 0) {
        return {};
    }
    if (row.operation->kind == Kind::inserts) {
        return {{"copy", [&row] { return makeTailMoves(problemOf(row)->A, problemOf(row)->I.values); }}};
    }
    return {{"copy", [&row] {
                 const Traffic traffic = trafficOf(problemOf(row));
                 return makeCopy(std::max(traffic.read, traffic.written));
             }}};
}

void registerRow(const Row& row)
{
    benchmark::AddCustomContext(row.name(), std::to_string(row.operation->copies) + "\t" + row.operation->label);
    registerComparison({.name = row.name(),
                        .ours = [&row] { return makeOurs(problemOf(row)); },
                        .peers = peersOf(row),
                        .yardsticks = yardsticksOf(row),
                        .everyTable = !row.isStep()});
}

/// The value of an argument "--name=value" that is ours; null when it is another argument.
const char* valueOf(const char* argument, const char* name)
{
    const std::size_t length = std::strlen(name);
    return std::strncmp(argument, name, length) == 0 ? argument + length : nullptr;
}

int run(int count, char** arguments)
{
    for (int a = 1; a < count; ++a) {
        if (const char* seconds = valueOf(arguments[a], "--budget=")) {
            setBudget(std::stod(seconds));
        } else if (const char* table = valueOf(arguments[a], "--kernels=")) {
            useTableOnly(table);
        } else if (valueOf(arguments[a], "--check") != nullptr) {
            onlyCheck();
        }
    }
    for (const Row& row : allRows()) {
        registerRow(row);
    }
    registerAcceptance();
    registerSmallCalls();
    registerCppInterface(); // the last, see there
    benchmark::Initialize(&count, arguments);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}

} // namespace

} // namespace zqsp::bench

int main(int count, char** arguments)
try {
    return zqsp::bench::run(count, arguments);
} catch (const std::exception& error) {
    std::cerr << "zqsp_bench: " << error.what() << '\n';
    return 1;
}
