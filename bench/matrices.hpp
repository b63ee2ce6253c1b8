// The sparse matrices that are measured, in a form that every contender converts to its own.
#ifndef ZQSP_BENCH_MATRICES_HPP
#define ZQSP_BENCH_MATRICES_HPP

#include "random.hpp"

#include <cstdint>
#include <string>
#include <vector>

namespace zqsp::bench {

enum class Values
{
    real,
    complex,
    logical
};

/// m-by-n in compressed columns, 0-based, rows ascending. `im` is empty unless the matrix is complex; the values of a
/// logical matrix are all 1.
struct Matrix
{
    unsigned m = 0;
    unsigned n = 0;
    std::vector<unsigned> jc;
    std::vector<unsigned> ir;
    std::vector<double> re;
    std::vector<double> im;

    [[nodiscard]] unsigned entries() const { return static_cast<unsigned>(ir.size()); }
    [[nodiscard]] std::uint64_t cells() const { return std::uint64_t{m} * n; }
};

/// `perColumn` random rows in each column.
Matrix uniformMatrix(unsigned m, unsigned n, unsigned perColumn);
/// `entries` random cells (fewer where cells repeat), or every cell where that is no more.
Matrix scatteredMatrix(unsigned m, unsigned n, std::uint64_t entries, std::uint64_t seed);

/// Gives every entry a value in 0.5 .. 1.5 (logical: 1).
void setValues(Matrix& matrix, Values values);

/// A workload by name, made once and kept: uniform, grid, tall, powerlaw, skew, cells, small10, small100, and uniform1,
/// uniform4, uniform16, whose entries grow with the number. Throws std::invalid_argument for other names.
const Matrix& workload(const std::string& name, Values values);
/// Numbers of subscripts that are not a share of an extent are multiplied by this; 1 for most workloads.
double subscriptFactor(const std::string& name);

} // namespace zqsp::bench

#endif
