// Eigen's side of a row.
#include "contender.hpp"
#include "eigen_matrix.hpp"

#include <algorithm>
#include <stdexcept>

namespace zqsp::bench {

namespace {

using namespace eigen;
using Right = RightSide::Form;

template <typename S>
class EigenSide : public Contender
{
  public:
    explicit EigenSide(std::shared_ptr<const Problem> problem)
        : problem_(std::move(problem)),
          kind_(problem_->row.operation->kind),
          I_(problem_->I),
          J_(problem_->J),
          maskI_(maskOf(I_)),
          maskJ_(maskOf(J_)),
          B_(problem_->B),
          A_(toEigen<S>(problem_->A)),
          sparseB_(B_.sparse.jc.empty() ? Sparse<S>() : toEigen<S>(B_.sparse))
    {
        if (isLinear(kind_)) {
            splitPositions(); // Eigen's user holds rows and columns, not positions: their making is not timed
        }
    }

    void prepare() override
    {
        if (isInPlace(kind_)) {
            result_ = A_;
        }
    }

    void run() override
    {
        findSelected(maskI_, I_.values);
        findSelected(maskJ_, J_.values);
        if (isLinear(kind_) && !maskI_.empty()) {
            splitPositions();
        }
        isInPlace(kind_) ? change() : refer();
    }

    void finish() override
    {
        if (!isInPlace(kind_)) {
            Sparse<S>().swap(result_);
        }
    }

    [[nodiscard]] Fingerprint fingerprint() const override
    {
        if (kind_ == Kind::reads) {
            return reads_;
        }
        Fingerprint print;
        for (Eigen::Index j = 0; j < result_.cols(); ++j) {
            for (Iterator<S> entry(result_, j); entry; ++entry) {
                const std::complex<double> value(entry.value());
                print.add(static_cast<unsigned>(entry.row()), static_cast<unsigned>(j), value.real(), value.imag());
            }
        }
        return print;
    }

  private:
    void splitPositions()
    {
        i_.resize(I_.values.size());
        j_.resize(I_.values.size());
        for (std::size_t k = 0; k < i_.size(); ++k) {
            i_[k] = I_.values[k] % problem_->A.m;
            j_[k] = I_.values[k] / problem_->A.m;
        }
    }

    void refer()
    {
        switch (kind_) {
        case Kind::whole:
            result_ = reshaped(A_, A_.rows() * A_.cols(), 1);
            break;
        case Kind::columns:
            result_ = J_.isRun() ? Sparse<S>(A_.middleCols(J_.values.front(), size(J_))) : columnsOf(A_, J_.values);
            break;
        case Kind::rows:
            result_ = rowsOf(A_, I_);
            break;
        case Kind::linear:
            result_ = elementsOf(A_, i_, j_);
            break;
        case Kind::reads:
            reads_ = {};
            for (std::size_t k = 0; k < I_.values.size(); ++k) {
                reads_.add(0, 0, std::real(std::complex<double>(A_.coeff(I_.values[k], J_.values[k]))));
            }
            break;
        case Kind::columnCalls:
            for (const unsigned j : J_.values) {
                result_ = A_.col(j);
            }
            break;
        default:
            result_ = regionOf();
        }
    }

    Sparse<S> regionOf() const
    {
        if (I_.isPermutation && J_.isPermutation) {
            const auto P = permutationOf(I_.values); // twistedBy() leaves the columns unsorted
            const Sparse<S> permutedRows = P * A_;
            return permutedRows * P.transpose();
        }
        if (I_.isRun() && J_.isRun()) {
            return A_.block(I_.values.front(), J_.values.front(), size(I_), size(J_));
        }
        return rowsOf(columnsOf(A_, J_.values), I_);
    }

    void change()
    {
        switch (kind_) {
        case Kind::reshape:
            result_ = reshaped(result_, A_.rows() / 2, A_.cols() * 2);
            break;
        case Kind::deleteColumns:
            result_ = columnsOf(result_, othersOf(J_.values, A_.cols()));
            break;
        case Kind::deleteRows:
            result_ = ascendingRowsOf(result_, othersOf(I_.values, A_.rows()));
            break;
        case Kind::setColumns:
            setColumns();
            break;
        case Kind::setRows:
        case Kind::setRegion:
            setRegion();
            break;
        case Kind::setLinear:
            setElements();
            break;
        case Kind::writes:
        case Kind::inserts:
            for (std::size_t k = 0; k < std::min<std::size_t>(10000, i_.size()); ++k) {
                result_.coeffRef(i_[k], j_[k]) = S(2);
            }
            result_.makeCompressed();
            break;
        default:
            throw std::logic_error("Eigen has nothing to offer");
        }
    }

    /// Builds the matrix anew, each column from A or from B.
    void setColumns()
    {
        const std::vector<int> source = placesOf(J_.values, A_.cols());
        Sparse<S> next(A_.rows(), A_.cols());
        const bool isFilled = B_.form == Right::scalar || B_.form == Right::full;
        next.reserve(result_.nonZeros() + sparseB_.nonZeros() + (isFilled ? A_.rows() * size(J_) : 0));
        for (Eigen::Index j = 0; j < A_.cols(); ++j) {
            const int from = source[static_cast<std::size_t>(j)];
            next.startVec(j);
            if (from < 0) {
                appendColumn(next, j, result_, j);
            } else if (isFilled) {
                for (Eigen::Index i = 0; i < A_.rows(); ++i) {
                    next.insertBack(i, j) = S(2);
                }
            } else if (B_.form != Right::zero) {
                appendColumn(next, j, sparseB_, from);
            }
        }
        next.finalize();
        result_.swap(next);
    }

    /// Clears the region, then adds B spread over it.
    void setRegion()
    {
        const std::vector<int> row = placesOf(I_.values, A_.rows());
        const std::vector<int> column = placesOf(J_.values, A_.cols());
        result_.prune([&](const Eigen::Index& i, const Eigen::Index& j, const S&) {
            return row[static_cast<std::size_t>(i)] < 0 || column[static_cast<std::size_t>(j)] < 0;
        });
        if (B_.form == Right::zero) {
            return;
        }
        std::vector<Eigen::Triplet<S>> entries;
        const auto add = [&](Eigen::Index i, Eigen::Index j, S value) {
            entries.emplace_back(static_cast<int>(I_.values[static_cast<std::size_t>(i)]),
                                 static_cast<int>(J_.values[static_cast<std::size_t>(j)]), value);
        };
        if (B_.form == Right::scalar || B_.form == Right::full) {
            entries.reserve(I_.values.size() * J_.values.size());
            for (Eigen::Index j = 0; j < size(J_); ++j) {
                for (Eigen::Index i = 0; i < size(I_); ++i) {
                    add(i, j, S(2));
                }
            }
        } else {
            entries.reserve(static_cast<std::size_t>(sparseB_.nonZeros()));
            for (Eigen::Index j = 0; j < sparseB_.cols(); ++j) {
                for (Iterator<S> entry(sparseB_, j); entry; ++entry) {
                    add(entry.row(), j, entry.value());
                }
            }
        }
        addEntries(entries);
    }

    /// Overwrites where the positions are stored; adds a matrix of the new ones where they are not.
    void setElements()
    {
        const S value = B_.form == Right::zero ? S(0) : S(2);
        std::vector<Eigen::Triplet<S>> fresh;
        for (std::size_t k = 0; k < i_.size(); ++k) {
            const int* begin = result_.innerIndexPtr() + result_.outerIndexPtr()[j_[k]];
            const int* end = result_.innerIndexPtr() + result_.outerIndexPtr()[j_[k] + 1];
            const int* at = std::lower_bound(begin, end, static_cast<int>(i_[k]));
            if (at != end && *at == static_cast<int>(i_[k])) {
                result_.valuePtr()[at - result_.innerIndexPtr()] = value;
            } else if (value != S(0)) {
                fresh.emplace_back(static_cast<int>(i_[k]), static_cast<int>(j_[k]), value);
            }
        }
        if (value == S(0)) {
            result_.prune([](const Eigen::Index&, const Eigen::Index&, const S& v) { return v != S(0); });
        } else if (!fresh.empty()) {
            addEntries(fresh);
        }
    }

    void addEntries(const std::vector<Eigen::Triplet<S>>& entries)
    {
        Sparse<S> addend(A_.rows(), A_.cols());
        addend.setFromTriplets(entries.begin(), entries.end());
        Sparse<S> sum = result_ + addend;
        result_.swap(sum);
    }

    static Eigen::Index size(const Subscript& subscript) { return static_cast<Eigen::Index>(subscript.values.size()); }

    std::shared_ptr<const Problem> problem_;
    Kind kind_;
    Subscript I_;
    Subscript J_;
    std::vector<char> maskI_;
    std::vector<char> maskJ_;
    const RightSide& B_;
    Sparse<S> A_;
    Sparse<S> sparseB_;
    List i_;
    List j_;
    Sparse<S> result_;
    Fingerprint reads_;
};

} // namespace

bool hasEigen(const Row& row)
{
    return row.operation->kind != Kind::deleteLinear;
}

ContenderOwner makeEigen(std::shared_ptr<const Problem> problem)
{
    return makePeer<EigenSide>(std::move(problem));
}

} // namespace zqsp::bench
