// Linear systems, by CXSparse: Cholesky where it goes, else LU, and QR for what is not square.
#include "operators.hpp"

#include "elementwise.hpp"
#include "error.hpp"
#include "freed_by.hpp"
#include "indexing.hpp"

#include <suitesparse/cs.h>

#include <cmath>
#include <limits>
#include <memory>
#include <vector>

namespace kxsh {

namespace {

using Symbolic = Owned<cs_dis, cs_di_sfree>;
using Numeric = Owned<cs_din, cs_di_nfree>;

/// A sparse double array as CXSparse sees it; lent, and only read.
cs_di lent(const Value& sparse)
{
    return {static_cast<int>(sparse.get()->nzmax),
            static_cast<int>(sparse.rows()),
            static_cast<int>(sparse.columns()),
            reinterpret_cast<int*>(sparse.starts()),
            reinterpret_cast<int*>(sparse.rowIndices()),
            sparse.data<double>(),
            -1};
}

constexpr double kNegligible = std::numeric_limits<double>::epsilon();

/// A square matrix in factors.
class Factors
{
  public:
    explicit Factors(const Value& a) : n_(a.columns()), work_(a.columns())
    {
        const cs_di matrix = lent(a);
        constexpr int kSymmetricOrder = 1;
        constexpr int kGeneralOrder = 2;
        if (isSymmetric(a) && cholesky(a, matrix, kSymmetricOrder)) {
            return;
        }
        symbolic_.reset(cs_di_sqr(kGeneralOrder, &matrix, 0));
        numeric_.reset(symbolic_ ? cs_di_lu(&matrix, symbolic_.get(), 1) : nullptr);
        require(numeric_ && !lostPivot(a), "kxsh:singular", "the {0}-by-{0} matrix of the system is singular", n_);
    }

    /// b becomes x.
    void solve(double* b)
    {
        const int n = static_cast<int>(n_);
        double* x = work_.data();
        cs_di_ipvec(cholesky_ ? symbolic_->pinv : numeric_->pinv, b, x, n);
        cs_di_lsolve(numeric_->L, x);
        if (cholesky_) {
            cs_di_ltsolve(numeric_->L, x);
            cs_di_pvec(symbolic_->pinv, x, b, n);
        } else {
            cs_di_usolve(numeric_->U, x);
            cs_di_ipvec(symbolic_->q, x, b, n);
        }
    }

  private:
    static bool isSymmetric(const Value& a)
    {
        const Value other = transposed(a, false);
        return samePattern(a, other) &&
               std::equal(a.data<double>(), a.data<double>() + a.entries(), other.data<double>());
    }

    /// False where the matrix is not positive definite, or hardly.
    bool cholesky(const Value& a, const cs_di& matrix, int order)
    {
        symbolic_.reset(cs_di_schol(order, &matrix));
        numeric_.reset(symbolic_ ? cs_di_chol(&matrix, symbolic_.get()) : nullptr);
        if (!numeric_) {
            return false;
        }
        double largest = 0;
        for (unsigned k = 0; k < a.entries(); ++k) {
            largest = std::max(largest, std::abs(a.data<double>()[k]));
        }
        const cs_di* l = numeric_->L;
        for (unsigned k = 0; k < n_; ++k) {
            const double pivot = l->x[l->p[k]]; // the first entry of a column
            if (!(pivot * pivot > kNegligible * largest)) {
                return false;
            }
        }
        cholesky_ = true;
        return true;
    }

    /// Whether a pivot is no more than a rounding error beside the entries of its row and its column.
    [[nodiscard]] bool lostPivot(const Value& a) const
    {
        std::vector<double> rows(n_);
        std::vector<double> columns(n_);
        for (unsigned j = 0; j < n_; ++j) {
            for (unsigned k = a.starts()[j]; k < a.starts()[j + 1]; ++k) {
                const double size = std::abs(a.data<double>()[k]);
                rows[a.rowIndices()[k]] = std::max(rows[a.rowIndices()[k]], size);
                columns[j] = std::max(columns[j], size);
            }
        }
        const cs_di* u = numeric_->U;
        for (unsigned i = 0; i < n_; ++i) {
            const auto k = static_cast<unsigned>(numeric_->pinv[i]);
            const double pivot = std::abs(u->x[u->p[k + 1] - 1]); // the last entry of a column
            if (!(pivot > kNegligible * std::min(rows[i], columns[static_cast<unsigned>(symbolic_->q[k])]))) {
                return true;
            }
        }
        return false;
    }

    std::size_t n_;
    std::vector<double> work_;
    Symbolic symbolic_;
    Numeric numeric_;
    bool cholesky_ = false;
};

/// Both real and double; `a` sparse, `b` full.
Value solveReal(const Value& a, const Value& b)
{
    const std::size_t m = a.rows();
    const std::size_t n = a.columns();
    Value x = Value::full(a.columns(), b.columns());
    if (x.count() == 0 || m == 0) {
        return x;
    }
    std::unique_ptr<Factors> factors = m == n ? std::make_unique<Factors>(a) : nullptr;
    const cs_di matrix = lent(a);
    std::vector<double> column(std::max(m, n));
    for (std::size_t j = 0; j < b.columns(); ++j) {
        pollInterrupt();
        std::copy_n(b.data<double>() + j * m, m, column.begin());
        constexpr int kLeastSquaresOrder = 3;
        if (factors) {
            factors->solve(column.data());
        } else if (cs_di_qrsol(kLeastSquaresOrder, &matrix, column.data()) == 0) {
            fail("kx:outOfMemory", "out of memory");
        }
        const double* solution = std::copy_n(column.begin(), n, x.data<double>() + j * n) - n;
        require(std::all_of(solution, solution + n, [](double v) { return std::isfinite(v); }), "kxsh:singular",
                "the {}-by-{} system has no finite solution", m, n);
    }
    return x;
}

/// A complex system as a real one of twice the size.
Value solveComplex(const Value& a, const Value& b)
{
    const Value re = partOf(a, false);
    const Value im = partOf(a, true);
    const Value minus = operate(BinaryOperator::kMultiply, Value::number(-1), im);
    const Value whole =
        solveReal(concatenate({{re, minus}, {im, re}}), concatenate({{partOf(b, false)}, {partOf(b, true)}}));
    const double n = a.columns();
    const auto half = [&](double first) {
        const Value places[] = {Value::range(first + 1, 1, first + n), Value(kx::kxCreateColon())};
        return reference(whole, places, "the solution");
    };
    return complexOf(half(0), half(n));
}

} // namespace

Value solve(const Value& a, const Value& b)
{
    require(a.rows() == b.rows(), "kxsh:operand", "'\\' cannot solve a system of {} rows for a right-hand side of {}",
            a.rows(), b.rows());
    const Value matrix = asSparse(converted(a, kxDOUBLE_CLASS));
    const Value right = asFull(converted(b, kxDOUBLE_CLASS));
    const Value x = matrix.isComplex() || right.isComplex() ? solveComplex(matrix, right) : solveReal(matrix, right);
    return b.isSparse() ? asSparse(x) : x;
}

} // namespace kxsh
