#include "operations.hpp"

#include <cmath>
#include <initializer_list>

namespace zqsp::bench {

namespace {

using enum Kind;
using Right = RightSide::Form;

/// How many copies are allowed: by the bar, where entries must be permuted, where there is one call for each element.
constexpr double kCopies = 4;
constexpr double kPermuted = 10;
constexpr double kSingle = 0;

/// What is run on every workload.
const std::vector<Operation> kEverywhere = {
    {"columns.half-run", "A(:,J), contiguous half", columns, "all", "half-run", Right::none, kCopies},
    {"columns.half-random", "A(:,J), n/2 random", columns, "all", "half-random", Right::none, kCopies},
    {"rows.half-run", "A(I,:), contiguous half", rows, "half-run", "all", Right::none, kCopies},
    {"rows.half-sorted", "A(I,:), sorted random half", rows, "half-sorted", "all", Right::none, kCopies},
    {"rows.half-mask", "A(I,:), mask of a random half", rows, "half-mask", "all", Right::none, kCopies},
    {"rows.permutation", "A(I,:), permutation of all rows", rows, "permutation", "all", Right::none, kPermuted},
    {"rows.ten", "A(I,:), ten rows", rows, "ten", "all", Right::none, kCopies},
    {"region.middle", "A(I,J), middle half by middle half", region, "half-run", "half-run", Right::none, kCopies},
    {"linear.sorted", "A(K), a million sorted positions", linear, "million", "", Right::none, kCopies},
    {"linear.random", "A(K), a million random positions", linear, "million-random", "", Right::none, kPermuted},
    {"reads", "100,000 single reads A(i,j)", reads, "drawn", "drawn", Right::none, kSingle},
    {"delete-columns.tenth", "A(:,J) = [], a random tenth", deleteColumns, "", "tenth", Right::none, kCopies},
    {"delete-rows.tenth", "A(I,:) = [], a random tenth", deleteRows, "tenth", "", Right::none, kCopies},
    {"set-columns.tenth", "A(:,J) = B, a tenth", setColumns, "all", "tenth", Right::sparse, kCopies},
    {"set-rows.tenth", "A(I,:) = B, a tenth", setRows, "tenth", "all", Right::sparse, kCopies},
    {"set-rows.one", "A(i,:) = b, one row", setRows, "one", "all", Right::denseRow, kCopies},
    {"set-region.tenth", "A(I,J) = B, a tenth by a tenth", setRegion, "tenth", "tenth", Right::sparse, kCopies},
    {"set-region.zero", "A(I,J) = 0, a tenth by a tenth", setRegion, "tenth", "tenth", Right::zero, kCopies},
    {"set-linear.stored", "A(K) = v, 100,000 stored", setLinear, "stored", "", Right::scalar, kPermuted},
    {"set-linear.new4", "A(K) = v, 10,000 new", setLinear, "new4", "", Right::scalar, kPermuted},
    {"set-linear.new5", "A(K) = v, 100,000 new", setLinear, "new5", "", Right::scalar, kPermuted}};

const Operation kBothPermuted = {"region.permutation", "A(p,p)",    region,   "permutation",
                                 "permutation",        Right::none, kPermuted};
const Operation kInserts = {"inserts", "1,000 single insertions A(i,j) = v", inserts, "new3", "", Right::scalar, 1.2};
const Operation kWhole = {"whole", "A(:)", whole, "", "", Right::none, kCopies};

/// The other forms of subscripts and right-hand sides, on the uniform workload.
const std::vector<Operation> kForms = {
    {"columns.descending", "A(:,J), all descending", columns, "all", "descending", Right::none, kCopies},
    {"columns.repeated", "A(:,J), n/2 with repeats", columns, "all", "repeated", Right::none, kCopies},
    {"columns.strided", "A(:,J), every third", columns, "all", "strided", Right::none, kCopies},
    {"columns.ten", "A(:,J), ten columns", columns, "all", "ten", Right::none, kCopies},
    {"columns.mask50", "A(:,J), mask 50 %", columns, "all", "half-mask", Right::none, kCopies},
    {"columns.mask5", "A(:,J), mask 5 %", columns, "all", "mask5", Right::none, kCopies},
    {"columns.mask0.01", "A(:,J), mask 0.01 %", columns, "all", "mask0.01", Right::none, kCopies},
    {"columns.mask-runs", "A(:,J), mask in runs", columns, "all", "mask-runs", Right::none, kCopies},
    {"columns.sparse-mask", "A(:,J), sparse mask 5 %", columns, "all", "sparse-mask5", Right::none, kCopies},
    {"rows.half-run-list", "A(I,:), contiguous half as a list", rows, "half-run-list", "all", Right::none, kCopies},
    {"rows.half-random", "A(I,:), random half", rows, "half-random", "all", Right::none, kPermuted},
    {"rows.tenth-random", "A(I,:), a random tenth", rows, "tenth-random", "all", Right::none, kPermuted},
    {"rows.descending", "A(I,:), all descending", rows, "descending", "all", Right::none, kCopies},
    {"rows.repeated", "A(I,:), m/2 with repeats", rows, "repeated", "all", Right::none, kPermuted},
    {"rows.repeated-sorted", "A(I,:), m/2 sorted with repeats", rows, "repeated-sorted", "all", Right::none, kCopies},
    {"rows.strided", "A(I,:), every third", rows, "strided", "all", Right::none, kCopies},
    {"rows.hundred", "A(I,:), a hundred rows", rows, "hundred", "all", Right::none, kCopies},
    {"rows.mask5", "A(I,:), mask 5 %", rows, "mask5", "all", Right::none, kCopies},
    {"rows.mask0.01", "A(I,:), mask 0.01 %", rows, "mask0.01", "all", Right::none, kCopies},
    {"rows.mask-runs", "A(I,:), mask in runs", rows, "mask-runs", "all", Right::none, kCopies},
    {"rows.sparse-mask", "A(I,:), sparse mask 5 %", rows, "sparse-mask5", "all", Right::none, kCopies},
    {"region.sorted", "A(I,J), sorted halves", region, "half-sorted", "half-sorted", Right::none, kCopies},
    {"region.ten", "A(I,J), ten by ten", region, "ten", "ten", Right::none, kCopies},
    {"region.masks", "A(I,J), mask 5 % by mask 50 %", region, "mask5", "half-mask", Right::none, kCopies},
    {"region.repeated", "A(I,J), repeats by repeats", region, "repeated", "repeated", Right::none, kPermuted},
    {"region.descending", "A(I,J), descending by descending", region, "descending", "descending", Right::none, kCopies},
    {"lists.permutation", "A(p,p), entry point for lists", lists, "permutation", "permutation", Right::none, kPermuted},
    {"runs.middle", "A(I,J), entry point for runs", runs, "half-run", "half-run", Right::none, kCopies},
    {"linear.descending", "A(K), a million descending", linear, "million-descending", "", Right::none, kCopies},
    {"linear.repeated", "A(K), a million with repeats", linear, "million-repeated", "", Right::none, kPermuted},
    {"linear.stored", "A(K), 100,000 stored, sorted", linear, "stored-sorted", "", Right::none, kCopies},
    {"linear.ten", "A(K), ten positions", linear, "ten", "", Right::none, kCopies},
    {"delete-columns.run", "A(:,J) = [], contiguous half", deleteColumns, "", "half-run", Right::none, kCopies},
    {"delete-columns.mask-runs", "A(:,J) = [], mask in runs", deleteColumns, "", "mask-runs", Right::none, kCopies},
    {"delete-rows.run", "A(I,:) = [], contiguous half", deleteRows, "half-run", "", Right::none, kCopies},
    {"delete-rows.mask50", "A(I,:) = [], mask 50 %", deleteRows, "half-mask", "", Right::none, kCopies},
    {"delete-rows.ten", "A(I,:) = [], ten rows", deleteRows, "ten", "", Right::none, kCopies},
    {"set-columns.random", "A(:,J) = B, a tenth, unsorted", setColumns, "all", "tenth-random", Right::sparse, kCopies},
    {"set-columns.scalar", "A(:,J) = v, ten columns", setColumns, "all", "ten", Right::scalar, kCopies},
    {"set-columns.zero", "A(:,J) = 0, a tenth", setColumns, "all", "tenth", Right::zero, kCopies},
    {"set-columns.full", "A(:,J) = full B, ten columns", setColumns, "all", "ten", Right::full, kCopies},
    {"set-rows.random", "A(I,:) = B, a tenth, unsorted", setRows, "tenth-random", "all", Right::sparse, kPermuted},
    {"set-rows.scalar", "A(I,:) = v, ten rows", setRows, "ten", "all", Right::scalar, kCopies},
    {"set-rows.zero", "A(I,:) = 0, a tenth", setRows, "tenth", "all", Right::zero, kCopies},
    {"set-rows.full", "A(I,:) = full B, ten rows", setRows, "ten", "all", Right::full, kCopies},
    {"set-region.random", "A(I,J) = B, unsorted tenths", setRegion, "tenth-random", "tenth-random", Right::sparse,
     kPermuted},
    {"set-region.scalar", "A(I,J) = v, 100 by 100", setRegion, "hundred", "hundred", Right::scalar, kCopies},
    {"set-region.full", "A(I,J) = full B, 100 by 100", setRegion, "hundred", "hundred", Right::full, kCopies},
    {"set-region.ten", "A(I,J) = B, ten by ten", setRegion, "ten", "ten", Right::full, kCopies},
    {"set-linear.zero", "A(K) = 0, 100,000 stored", setLinear, "stored", "", Right::zero, kPermuted},
    {"set-linear.stored-sorted", "A(K) = v, 100,000 stored, sorted", setLinear, "stored-sorted", "", Right::scalar,
     kCopies},
    {"set-linear.new-sorted", "A(K) = v, 100,000 new, sorted", setLinear, "new5-sorted", "", Right::scalar, kCopies},
    {"set-linear.values", "A(K) = B, 100,000 new values", setLinear, "new5", "", Right::full, kPermuted},
    {"writes", "10,000 single writes A(i,j) = v", writes, "stored", "", Right::scalar, kSingle},
    {"reshape", "reshape to m/2 by 2n", reshape, "", "", Right::none, kCopies}};

/// One call for each element or column of a matrix that the nearest cache holds.
const std::vector<Operation> kSingleCalls = {
    {"reads.thousand", "1,000 single reads A(i,j)", reads, "thousand", "thousand", Right::none, kSingle},
    {"writes.thousand", "1,000 single writes A(i,j) = v", writes, "stored-thousand", "", Right::scalar, kSingle},
    {"columns.thousand", "1,000 single columns A(:,j)", columnCalls, "", "thousand", Right::none, kSingle}};

/// Subscripts with a value for every cell, on a matrix of 10,000,000 cells.
const std::vector<Operation> kCells = {
    {"linear.mask50", "A(K), mask 50 %", linear, "half-mask", "", Right::none, kCopies},
    {"linear.mask5", "A(K), mask 5 %", linear, "mask5", "", Right::none, kCopies},
    {"linear.mask0.01", "A(K), mask 0.01 %", linear, "mask0.01", "", Right::none, kCopies},
    {"linear.mask-runs", "A(K), mask in runs", linear, "mask-runs", "", Right::none, kCopies},
    {"linear.sparse-mask", "A(K), sparse mask 5 %", linear, "sparse-mask5", "", Right::none, kCopies},
    {"linear.strided", "A(K), every third, a range", linear, "strided", "", Right::none, kCopies},
    {"linear.run", "A(K), contiguous half", linear, "half-run", "", Right::none, kCopies},
    {"delete-linear.tenth", "A(K) = [], a random tenth", deleteLinear, "tenth", "", Right::none, kCopies},
    {"delete-linear.mask50", "A(K) = [], mask 50 %", deleteLinear, "half-mask", "", Right::none, kCopies},
    {"set-linear.mask5", "A(K) = v, mask 5 %", setLinear, "mask5", "", Right::scalar, kCopies},
    {"set-linear.run-zero", "A(K) = 0, contiguous half", setLinear, "half-run", "", Right::zero, kCopies}};

/// The storages are compared on these.
bool isForStorages(const std::string& slug)
{
    for (const char* chosen : {"columns.half-random", "rows.half-sorted", "rows.permutation", "region.middle",
                               "linear.sorted", "delete-rows.tenth", "set-columns.tenth", "set-region.tenth"}) {
        if (slug == chosen) {
            return true;
        }
    }
    return false;
}

std::vector<Row> makeRows()
{
    std::vector<Row> rows;
    const auto add = [&rows](const std::string& workload, const std::vector<Operation>& operations) {
        for (const Operation& operation : operations) {
            rows.push_back({&operation, workload, Values::real});
        }
    };
    rows.push_back({&kWhole, "tall", Values::real});
    for (const char* name : {"uniform", "grid", "tall", "powerlaw", "skew"}) {
        add(name, kEverywhere);
        if (name != std::string("tall") && name != std::string("skew")) {
            rows.push_back({&kBothPermuted, name, Values::real});
        }
    }
    add("uniform", kForms);
    add("cells", kCells);
    add("small100", kSingleCalls);
    rows.push_back({&kInserts, "uniform", Values::real});
    rows.push_back({&kInserts, "tall", Values::real});
    for (const Values values : {Values::complex, Values::logical}) {
        for (const Operation& operation : kEverywhere) {
            if (isForStorages(operation.slug)) {
                rows.push_back({&operation, "uniform", values});
            }
        }
    }
    for (const char* name : {"uniform1", "uniform4", "uniform16"}) {
        add(name, kEverywhere);
        rows.push_back({&kBothPermuted, name, Values::real});
    }
    return rows;
}

Subscript rowsOrLinear(const Row& row, const Matrix& A)
{
    const Operation& operation = *row.operation;
    const double factor = subscriptFactor(row.workload);
    if (operation.I[0] == '\0') {
        return {};
    }
    return isLinear(operation.kind) ? linearSubscript(operation.I, A, factor)
                                    : dimensionSubscript(operation.I, A.m, factor);
}

RightSide rightSide(RightSide::Form form, const Problem& problem)
{
    const Matrix& A = problem.A;
    RightSide B{form, {}, 1, 1};
    if (form == Right::none || form == Right::scalar || form == Right::zero) {
        return B;
    }
    B.m = static_cast<unsigned>(problem.I.values.size());
    if (!isLinear(problem.row.operation->kind)) {
        B.n = static_cast<unsigned>(problem.J.values.size());
    }
    if (form != Right::full) {
        const double cells = static_cast<double>(B.m) * B.n;
        const double density = form == Right::denseRow ? 0.1 : A.entries() / static_cast<double>(A.cells());
        B.sparse = scatteredMatrix(B.m, B.n, static_cast<std::uint64_t>(std::lround(cells * density)), 21);
        setValues(B.sparse, problem.row.values);
    }
    return B;
}

} // namespace

bool isInPlace(Kind kind)
{
    return kind >= reshape;
}

bool isLinear(Kind kind)
{
    return kind == linear || kind == deleteLinear || kind == setLinear || kind == writes || kind == inserts;
}

std::string Row::name() const
{
    const char* storage = values == Values::real ? "" : values == Values::complex ? "-complex" : "-logical";
    return workload + storage + "/" + operation->slug;
}

bool Row::isStep() const
{
    return workload == "uniform1" || workload == "uniform4" || workload == "uniform16";
}

const std::vector<Row>& allRows()
{
    static const std::vector<Row> rows = makeRows();
    return rows;
}

Problem::Problem(const Row& of) : row(of), A(bench::workload(of.workload, of.values)), I(rowsOrLinear(of, A))
{
    if (of.operation->J[0] != '\0') {
        J = dimensionSubscript(of.operation->J, A.n, subscriptFactor(of.workload));
    }
    B = rightSide(of.operation->B, *this);
}

} // namespace zqsp::bench
