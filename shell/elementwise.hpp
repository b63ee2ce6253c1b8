// One function of two numbers, applied to the elements of two values.
#ifndef KXSH_ELEMENTWISE_HPP
#define KXSH_ELEMENTWISE_HPP

#include "interrupt.hpp"
#include "value.hpp"

#include <algorithm>
#include <complex>
#include <cstddef>
#include <type_traits>
#include <utility>

namespace kxsh {

/// The elements, or stored values, of an array as numbers: double, std::complex<double> (also of a real array, to read)
/// or bool.
template <typename Number>
struct Numbers
{
    static constexpr bool isTruth = std::is_same_v<Number, bool>;
    static constexpr kxClassID id = isTruth ? kxLOGICAL_CLASS : kxDOUBLE_CLASS;
    static constexpr kxComplexity complexity = std::is_same_v<Number, std::complex<double>> ? kxCOMPLEX : kxREAL;
    using Stored = std::conditional_t<isTruth, bool, double>;

    Stored* re;
    Stored* im;

    explicit Numbers(const Value& value) : re(value.data<Stored>()), im(value.imagData<Stored>()) {}
    [[nodiscard]] Number at(std::size_t k) const
    {
        if constexpr (complexity == kxCOMPLEX) {
            return {re[k], im != nullptr ? im[k] : 0.0};
        } else {
            return re[k];
        }
    }
    void put(std::size_t k, Number number) const
    {
        if constexpr (complexity == kxCOMPLEX) {
            re[k] = number.real();
            im[k] = number.imag();
        } else {
            re[k] = number;
        }
    }
};

/// The columns of a sparse result, filled one after another; zeros are left out.
template <typename Result>
class SparseResult
{
  public:
    /// `most` bounds the number of put(). Raises kx:sizeLimit.
    SparseResult(unsigned m, unsigned n, std::uint64_t most)
        : value_(Value::sparse(m, n, entryCount(most), Numbers<Result>::id, Numbers<Result>::complexity)),
          results_(value_),
          rows_(value_.rowIndices())
    {
    }

    void put(unsigned row, Result result)
    {
        rows_[count_] = row;
        results_.put(count_, result);
        count_ += result != Result{} ? 1 : 0;
    }
    void closeColumn(unsigned j)
    {
        value_.starts()[j + 1] = count_;
        pollInterrupt();
    }
    /// The array, its capacity what it holds.
    Value finish()
    {
        setCapacity(value_, count_);
        kx::kxFreeImagIfZero(value_.get());
        return std::move(value_);
    }

  private:
    Value value_;
    Numbers<Result> results_;
    unsigned* rows_;
    unsigned count_ = 0;
};

/// A full operand of an operation, and how its places follow from rows and columns of the result.
template <typename Number>
struct Spread
{
    Numbers<Number> numbers;
    std::size_t rowStep;
    std::size_t columnStep;

    explicit Spread(const Value& value)
        : numbers(value), rowStep(value.rows() == 1 ? 0 : 1), columnStep(value.columns() == 1 ? 0 : value.rows())
    {
    }
    [[nodiscard]] Number at(std::size_t row, std::size_t column) const
    {
        return numbers.at(row * rowStep + column * columnStep);
    }
};

/// f over full double arrays that fit each other, a row, a column or a number spread over the other.
template <typename Number, typename F>
Value fullElementwise(const Value& left, const Value& right, F f)
{
    using Result = std::invoke_result_t<F, Number, Number>;
    const unsigned m = left.rows() == 1 ? right.rows() : left.rows();
    const unsigned n = left.columns() == 1 ? right.columns() : left.columns();
    Value result = Value::full(m, n, Numbers<Result>::id, Numbers<Result>::complexity);
    Spread<Number> a(left);
    Spread<Number> b(right);
    const Numbers<Result> out(result);
    std::size_t height = m;
    std::size_t width = n;
    const auto isWhole = [&](const Value& value) { return value.isScalar() || value.sameShape(result); };
    if (isWhole(left) && isWhole(right)) {
        height = result.count(); // as one column
        width = 1;
        a.rowStep = left.isScalar() ? 0 : 1;
        b.rowStep = right.isScalar() ? 0 : 1;
    }
    for (std::size_t j = 0; j < width; ++j) {
        for (std::size_t i = 0; i < height; ++i) {
            pollAtStep(i);
            out.put(j * height + i, f(a.at(i, j), b.at(i, j)));
        }
    }
    kx::kxFreeImagIfZero(result.get());
    return result;
}

/// g(value, row, column) over the stored values of a sparse double array.
template <typename Number, typename G>
Value sparseMap(const Value& sparse, G g)
{
    SparseResult<std::invoke_result_t<G, Number, unsigned, unsigned>> result(sparse.rows(), sparse.columns(),
                                                                             sparse.entries());
    const Numbers<Number> values(sparse);
    const unsigned* rows = sparse.rowIndices();
    for (unsigned j = 0; j < sparse.columns(); ++j) {
        const unsigned stop = sparse.starts()[j + 1];
        for (unsigned k = sparse.starts()[j]; k < stop; ++k) {
            result.put(rows[k], g(values.at(k), rows[k], j));
        }
        result.closeColumn(j);
    }
    return result.finish();
}

/// g(value) over the stored values of a real sparse double array, with whose row indices and column starts the result
/// goes on; where a result is 0, as sparseMap().
template <typename G>
Value sparseScaled(const Value& sparse, G g)
{
    Value result = sparse; // shares all blocks, the values too until the next two lines
    auto* values = static_cast<double*>(kx::kxMalloc(std::max<std::size_t>(sparse.get()->nzmax, 1) * sizeof(double)));
    kx::kxFree(std::exchange(result.get()->pr, values));
    const double* from = sparse.data<double>();
    const std::size_t count = sparse.entries();
    constexpr std::size_t kPiece = std::size_t{1} << 18;
    std::size_t zeros = 0;
    for (std::size_t first = 0; first < count; first += kPiece) {
        pollInterrupt();
        for (std::size_t k = first; k < std::min(first + kPiece, count); ++k) {
            values[k] = g(from[k]);
            zeros += values[k] == 0 ? 1 : 0;
        }
    }
    return zeros == 0 ? result : sparseMap<double>(sparse, [g](double v, unsigned, unsigned) { return g(v); });
}

/// Whether two sparse arrays of one shape have entries in the same places.
inline bool samePattern(const Value& left, const Value& right)
{
    return left.entries() == right.entries() &&
           std::equal(left.rowIndices(), left.rowIndices() + left.entries(), right.rowIndices()) &&
           std::equal(left.starts(), left.starts() + left.columns(), right.starts());
}

/// f over two sparse double arrays of one shape where at least one stores an entry; with `both`, where both do. What
/// neither stores stays 0.
template <typename Number, typename F>
Value sparseMerge(const Value& left, const Value& right, F f, bool both)
{
    const std::uint64_t most = both || samePattern(left, right)
                                   ? std::min(left.entries(), right.entries())
                                   : std::min(std::uint64_t{left.entries()} + right.entries(), left.count());
    SparseResult<std::invoke_result_t<F, Number, Number>> result(left.rows(), left.columns(), most);
    const Numbers<Number> a(left);
    const Numbers<Number> b(right);
    const unsigned* rowsA = left.rowIndices();
    const unsigned* rowsB = right.rowIndices();
    for (unsigned j = 0; j < left.columns(); ++j) {
        unsigned i = left.starts()[j];
        unsigned k = right.starts()[j];
        const unsigned stopA = left.starts()[j + 1];
        const unsigned stopB = right.starts()[j + 1];
        while (i < stopA && k < stopB) {
            const unsigned rowA = rowsA[i];
            const unsigned rowB = rowsB[k];
            const Number valueA = rowA <= rowB ? a.at(i++) : Number{};
            const Number valueB = rowB <= rowA ? b.at(k++) : Number{};
            if (!both || rowA == rowB) {
                result.put(std::min(rowA, rowB), f(valueA, valueB));
            }
        }
        for (; i < stopA && !both; ++i) {
            result.put(rowsA[i], f(a.at(i), Number{}));
        }
        for (; k < stopB && !both; ++k) {
            result.put(rowsB[k], f(Number{}, b.at(k)));
        }
        result.closeColumn(j);
    }
    return result.finish();
}

} // namespace kxsh

#endif
