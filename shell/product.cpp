// The matrix product, column by column.
#include "operators.hpp"

#include "elementwise.hpp"
#include "error.hpp"

#include <vector>

namespace kxsh {

namespace {

/// The rows in which a sparse matrix stores anything, when they are few among its rows; empty when they are not. The
/// rows of the matrix are numbered within it then.
std::vector<unsigned> fewRows(const Value& sparse, std::vector<unsigned>& numbered)
{
    const unsigned* first = sparse.rowIndices();
    const unsigned* last = first + sparse.entries();
    constexpr std::uint64_t kMany = 4;
    if (kMany * sparse.entries() + 1024 > sparse.rows()) {
        return {};
    }
    std::vector<unsigned> rows(first, last);
    std::sort(rows.begin(), rows.end(), PollingLess());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    numbered.reserve(sparse.entries());
    for (const unsigned* row = first; row != last; ++row) {
        numbered.push_back(static_cast<unsigned>(std::lower_bound(rows.begin(), rows.end(), *row) - rows.begin()));
    }
    return rows;
}

/// Multiplications that the product takes; the number of its entries is at most that.
std::uint64_t multiplications(const Value& left, const Value& right)
{
    std::uint64_t count = 0;
    for (unsigned k = 0; k < right.entries(); ++k) {
        const unsigned column = right.rowIndices()[k];
        count += left.starts()[column + 1] - left.starts()[column];
    }
    return count;
}

/// Each column of the result is a sum of columns of `left`, gathered in a table of its rows.
template <typename Number>
Value sparseProduct(const Value& left, const Value& right)
{
    std::vector<unsigned> numbered;
    const std::vector<unsigned> few = fewRows(left, numbered);
    const unsigned* leftRows = numbered.empty() ? left.rowIndices() : numbered.data();
    std::vector<Number> sums(numbered.empty() ? left.rows() : few.size());
    std::vector<unsigned> seenIn(sums.size()); // the column, from 1, in which a row was last met
    std::vector<unsigned> met;
    SparseResult<Number> result(
        left.rows(), right.columns(),
        std::min(multiplications(left, right), left.count() == 0 ? 0 : std::uint64_t{left.rows()} * right.columns()));
    const Numbers<Number> a(left);
    const Numbers<Number> b(right);
    for (unsigned j = 0; j < right.columns(); ++j) {
        met.clear();
        for (unsigned k = right.starts()[j]; k < right.starts()[j + 1]; ++k) {
            pollInterrupt();
            const Number factor = b.at(k);
            const unsigned column = right.rowIndices()[k];
            for (unsigned e = left.starts()[column]; e < left.starts()[column + 1]; ++e) {
                const unsigned row = leftRows[e];
                if (seenIn[row] != j + 1) {
                    seenIn[row] = j + 1;
                    sums[row] = Number{};
                    met.push_back(row);
                }
                sums[row] += a.at(e) * factor;
            }
        }
        std::sort(met.begin(), met.end());
        for (const unsigned row : met) {
            result.put(few.empty() ? row : few[row], sums[row]);
        }
        result.closeColumn(j);
    }
    return result.finish();
}

template <typename Number>
Value fullProduct(const Value& left, const Value& right)
{
    Value result = Value::full(left.rows(), right.columns(), kxDOUBLE_CLASS, Numbers<Number>::complexity);
    const Numbers<Number> a(left);
    const Numbers<Number> b(right);
    const Numbers<Number> out(result);
    for (unsigned j = 0; j < right.columns(); ++j) {
        const std::size_t offset = std::size_t{j} * left.rows();
        forEachInColumn(right, j, [&](unsigned column, std::size_t k) {
            if (k % 1024 == 0 || !left.isSparse()) {
                pollInterrupt();
            }
            const Number factor = b.at(k);
            forEachInColumn(left, column, [&](unsigned row, std::size_t e) {
                out.put(offset + row, out.at(offset + row) + a.at(e) * factor);
            });
        });
    }
    kx::kxFreeImagIfZero(result.get());
    return result;
}

} // namespace

Value product(const Value& left, const Value& right)
{
    require(left.columns() == right.rows(), "kxsh:operand", "'*' cannot multiply {} by {}: {} columns, but {} rows",
            shapeText(left), shapeText(right), left.columns(), right.rows());
    const Value a = converted(left, kxDOUBLE_CLASS);
    const Value b = converted(right, kxDOUBLE_CLASS);
    const bool complex = a.isComplex() || b.isComplex();
    if (a.isSparse() && b.isSparse()) {
        return complex ? sparseProduct<std::complex<double>>(a, b) : sparseProduct<double>(a, b);
    }
    return complex ? fullProduct<std::complex<double>>(a, b) : fullProduct<double>(a, b);
}

} // namespace kxsh
