// What is measured: operations, and rows, which are operations on a workload.
#ifndef ZQSP_BENCH_OPERATIONS_HPP
#define ZQSP_BENCH_OPERATIONS_HPP

#include "subscripts.hpp"

#include <memory>
#include <string>
#include <vector>

namespace zqsp::bench {

enum class Kind
{
    whole,         ///< A(:)
    columns,       ///< A(:,J)
    columnCalls,   ///< A(:,j), one call per column; the result is that of the last one
    rows,          ///< A(I,:)
    region,        ///< A(I,J)
    linear,        ///< A(K)
    reads,         ///< A(i,j), one call per element
    lists,         ///< A(I,J) through the runtime's own entry point for lists
    runs,          ///< A(I,J) through the runtime's own entry point for runs
    reshape,       ///< reshape(A, m/2, 2*n)
    deleteColumns, ///< A(:,J) = []
    deleteRows,    ///< A(I,:) = []
    deleteLinear,  ///< A(K) = []
    setColumns,    ///< A(:,J) = B
    setRows,       ///< A(I,:) = B
    setRegion,     ///< A(I,J) = B
    setLinear,     ///< A(K) = B
    writes,        ///< A(i,j) = v, one call per stored element
    inserts        ///< A(i,j) = v, one call per new element
};

/// Whether the operation changes A in place.
bool isInPlace(Kind kind);
bool isLinear(Kind kind);

struct RightSide
{
    enum class Form
    {
        none,
        scalar, ///< 2
        zero,
        sparse,   ///< as dense as A
        denseRow, ///< sparse storage, a tenth of its cells stored
        full      ///< full storage, every value 2
    };

    Form form = Form::none;
    Matrix sparse; ///< of the forms sparse and denseRow
    unsigned m = 1;
    unsigned n = 1;
};

struct Operation
{
    const char* slug;
    const char* label;
    Kind kind;
    const char* I; ///< rows, or the linear subscript
    const char* J;
    RightSide::Form B;
    double copies; ///< the bar: how many copies it may take; 0 where it is held against the peers only
};

/// One row of the report.
struct Row
{
    const Operation* operation;
    std::string workload;
    Values values;

    /// "uniform/rows.permutation", "uniform-complex/rows.permutation"
    [[nodiscard]] std::string name() const;
    /// Whether it is there for the growth of times with sizes.
    [[nodiscard]] bool isStep() const;
};

const std::vector<Row>& allRows();

/// The operands of a row.
struct Problem
{
    Row row;
    const Matrix& A;
    Subscript I; ///< of linear operations the linear subscript
    Subscript J;
    RightSide B;

    explicit Problem(const Row& of);
};

} // namespace zqsp::bench

#endif
