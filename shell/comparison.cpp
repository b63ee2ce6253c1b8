#include "operators.hpp"

#include "error.hpp"
#include "interrupt.hpp"
#include "operand.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <limits>
#include <vector>

namespace kxsh {

namespace {

bool holds(BinaryOperator op, std::complex<double> a, std::complex<double> b)
{
    switch (op) {
    case BinaryOperator::kEqual:
        return a == b;
    case BinaryOperator::kNotEqual:
        return a != b;
    case BinaryOperator::kLess:
        return a.real() < b.real();
    case BinaryOperator::kLessEqual:
        return a.real() <= b.real();
    case BinaryOperator::kGreater:
        return a.real() > b.real();
    default:
        return a.real() >= b.real();
    }
}

/// Walks one sparse operand column by column. A number is the same everywhere: nothing stored, `background` its value.
class Walker
{
  public:
    explicit Walker(const Value& value)
    {
        if (value.isScalar()) {
            background_ = Operand(value).at(0);
        } else {
            keep_ = converted(value, kxDOUBLE_CLASS);
        }
    }

    [[nodiscard]] std::complex<double> background() const { return background_; }

    void startColumn(unsigned j)
    {
        if (keep_) {
            at_ = keep_.starts()[j];
            stop_ = keep_.starts()[j + 1];
        }
    }
    /// Row of the next stored entry, or UINT_MAX behind the last one.
    [[nodiscard]] unsigned row() const
    {
        return at_ < stop_ ? keep_.rowIndices()[at_] : std::numeric_limits<unsigned>::max();
    }
    /// The value in `row`, which is not behind the next stored entry; steps over that entry.
    std::complex<double> take(unsigned row)
    {
        if (this->row() != row) {
            return background_;
        }
        const double* im = keep_.imagData<double>();
        const std::complex<double> value(keep_.data<double>()[at_], im != nullptr ? im[at_] : 0.0);
        ++at_;
        return value;
    }

  private:
    Value keep_;
    std::complex<double> background_ = 0;
    unsigned at_ = 0;
    unsigned stop_ = 0;
};

/// Columns of true positions, gathered before the array is made.
Value sparseTruth(BinaryOperator op, const Value& left, const Value& right)
{
    const Value& shape = left.isScalar() ? right : left;
    const unsigned m = shape.rows();
    const unsigned n = shape.columns();
    Walker a(left);
    Walker b(right);
    const bool background = holds(op, a.background(), b.background());
    if (background && shape.count() > kx::kxGetMaxNumberOfElements()) {
        throw Error("kx:sizeLimit", fmt::format("'{}' is true for the zeros too; {}-by-{} true entries are too many",
                                                symbolOf(op), m, n));
    }
    std::vector<unsigned> rows;
    std::vector<unsigned> starts(std::size_t{n} + 1);
    for (unsigned j = 0; j < n; ++j) {
        if (background || j % 4096 == 0) {
            pollInterrupt();
        }
        a.startColumn(j);
        b.startColumn(j);
        for (unsigned r = 0; r < m; ++r) {
            const unsigned stored = std::min({a.row(), b.row(), m});
            if (background) {
                for (; r < stored; ++r) {
                    rows.push_back(r);
                }
            }
            r = stored;
            if (r < m && holds(op, a.take(r), b.take(r))) {
                rows.push_back(r);
            }
        }
        starts[j + 1] = static_cast<unsigned>(rows.size());
    }
    Value result = Value::sparse(m, n, static_cast<unsigned>(rows.size()), kxLOGICAL_CLASS);
    std::copy(starts.begin(), starts.end(), result.starts());
    std::copy(rows.begin(), rows.end(), result.rowIndices());
    std::fill_n(result.data<bool>(), rows.size(), true);
    return result;
}

Value fullTruth(BinaryOperator op, const Value& left, const Value& right)
{
    const Value& shape = left.isScalar() ? right : left;
    const Operand a(left);
    const Operand b(right);
    Value result = Value::full(shape.rows(), shape.columns(), kxLOGICAL_CLASS);
    const std::size_t count = result.count();
    auto* out = result.data<bool>();
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = holds(op, a.at(i), b.at(i));
    }
    return result;
}

} // namespace

Value compare(BinaryOperator op, const Value& left, const Value& right)
{
    requireMatchingShapes(op, left, right);
    pollInterrupt();
    const bool leftFits = left.isSparse() || left.isScalar();
    const bool rightFits = right.isSparse() || right.isScalar();
    const bool anySparseMatrix = (left.isSparse() && !left.isScalar()) || (right.isSparse() && !right.isScalar());
    if (anySparseMatrix && leftFits && rightFits) {
        return sparseTruth(op, left, right);
    }
    return fullTruth(op, left, right);
}

} // namespace kxsh
