// zqsp_bench: measures the library, Eigen and plain copies on the same data.
//
//     zqsp_bench [--budget=SECONDS] [--kernels=TABLE] [Google Benchmark's flags]
//     zqsp_bench --dump=FOLDER [--benchmark_filter=REGEX]     writes the operands for the SciPy side
#include "contender.hpp"
#include "dump.hpp"
#include "kernels/tables.hpp"
#include "suites.hpp"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <iostream>
#include <regex>
#include <stdexcept>

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

void registerRow(const Row& row)
{
    const std::string name = row.name();
    registerSide(name + "/ours", [&row] { return makeOurs(problemOf(row)); });
    registerSide(name + "/copy", [&row] {
        const Traffic traffic = trafficOf(problemOf(row));
        return makeCopy(std::max(traffic.read, traffic.written));
    });
    registerSide(name + "/result-copy", [&row] { return makeCopy(trafficOf(problemOf(row)).result); });
    if (hasEigen(row)) {
        registerSide(name + "/eigen", [&row] { return makeEigen(problemOf(row)); });
    }
}

/// The value of an argument "--name=value" that is ours; null when it is another argument.
const char* valueOf(const char* argument, const char* name)
{
    const std::size_t length = std::strlen(name);
    return std::strncmp(argument, name, length) == 0 ? argument + length : nullptr;
}

/// Makes the library use the table of this name.
void useTable(const std::string& name)
{
    const auto tables = availableKernels();
    const auto found = std::ranges::find_if(tables, [&](const Kernels* table) { return table->name == name; });
    if (found == tables.end()) {
        throw std::invalid_argument("this processor has no kernels '" + name + "'");
    }
    useKernels(**found);
}

int run(int count, char** arguments)
{
    std::string filter = ".";
    std::string folder;
    for (int a = 1; a < count; ++a) {
        if (const char* seconds = valueOf(arguments[a], "--budget=")) {
            setBudget(std::stod(seconds));
        } else if (const char* table = valueOf(arguments[a], "--kernels=")) {
            useTable(table);
        } else if (const char* path = valueOf(arguments[a], "--dump=")) {
            folder = path;
        } else if (const char* regex = valueOf(arguments[a], "--benchmark_filter=")) {
            filter = regex;
        }
    }
    if (!folder.empty()) {
        dumpRows(folder, std::regex(filter));
        return 0;
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
