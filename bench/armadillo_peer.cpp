// Armadillo's side of a row: the views and functions that its sparse matrices have, which is not every operation.
#include "peers.hpp"

#include <armadillo>

#include <stdexcept>

namespace zqsp::bench {

namespace {

using Right = RightSide::Form;
using Sparse = arma::SpMat<double>;

arma::uvec toVector(const std::vector<unsigned>& values)
{
    arma::uvec result(values.size());
    std::copy(values.begin(), values.end(), result.begin());
    return result;
}

Sparse toArmadillo(const Matrix& matrix)
{
    return {toVector(matrix.ir), toVector(matrix.jc), arma::vec(matrix.re), matrix.m, matrix.n};
}

/// First and last of a run.
struct Ends
{
    explicit Ends(const Subscript& subscript) : first(subscript.values.front()), last(subscript.values.back()) {}
    arma::uword first;
    arma::uword last;
};

class ArmadilloSide : public Contender
{
  public:
    explicit ArmadilloSide(std::shared_ptr<const Problem> problem)
        : problem_(std::move(problem)),
          kind_(problem_->row.operation->kind),
          I_(problem_->I),
          J_(problem_->J),
          maskJ_(maskOf(J_)),
          A_(toArmadillo(problem_->A)),
          columns_(toVector(J_.values))
    {
        const RightSide& B = problem_->B;
        if (B.form == Right::sparse || B.form == Right::denseRow) {
            sparseB_ = toArmadillo(B.sparse);
        } else if (B.form == Right::full) {
            fullB_ = arma::mat(B.m, B.n).fill(2);
        }
        if (isLinear(kind_)) { // rows and columns are what the user holds
            places_.set_size(2, I_.values.size());
            for (std::size_t k = 0; k < I_.values.size(); ++k) {
                places_(0, k) = I_.values[k] % problem_->A.m;
                places_(1, k) = I_.values[k] / problem_->A.m;
            }
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
        if (!maskJ_.empty()) {
            findSelected(maskJ_, J_.values);
            columns_ = toVector(J_.values);
        }
        isInPlace(kind_) ? change() : refer();
        result_.sync();
    }

    void finish() override { result_.reset(); }

    [[nodiscard]] Fingerprint fingerprint() const override
    {
        if (kind_ == Kind::reads) {
            return reads_;
        }
        Fingerprint print;
        for (auto entry = result_.begin(); entry != result_.end(); ++entry) {
            print.add(static_cast<unsigned>(entry.row()), static_cast<unsigned>(entry.col()), *entry);
        }
        return print;
    }

  private:
    void refer()
    {
        switch (kind_) {
        case Kind::whole:
            result_ = arma::vectorise(A_);
            break;
        case Kind::columns:
            if (J_.isRun()) {
                const Ends J(J_);
                result_ = A_.cols(J.first, J.last);
            } else {
                result_ = A_.cols(columns_);
            }
            break;
        case Kind::columnCalls:
            for (const unsigned j : J_.values) {
                result_ = A_.col(j);
            }
            break;
        case Kind::rows: {
            const Ends I(I_);
            result_ = A_.rows(I.first, I.last);
            break;
        }
        case Kind::reads:
            reads_ = {};
            for (std::size_t k = 0; k < I_.values.size(); ++k) {
                reads_.add(0, 0, std::as_const(A_)(I_.values[k], J_.values[k]));
            }
            break;
        default: {
            const Ends I(I_);
            const Ends J(J_);
            result_ = A_.submat(I.first, J.first, I.last, J.last);
        }
        }
    }

    void change()
    {
        switch (kind_) {
        case Kind::reshape:
            return result_.reshape(A_.n_rows / 2, A_.n_cols * 2);
        case Kind::deleteColumns:
            if (J_.isRun()) {
                const Ends J(J_);
                return result_.shed_cols(J.first, J.last);
            }
            result_ = Sparse(result_.cols(toVector(othersOf(J_.values, A_.n_cols))));
            return;
        case Kind::deleteRows: {
            const Ends I(I_);
            return result_.shed_rows(I.first, I.last);
        }
        case Kind::setColumns:
            return setColumns();
        case Kind::setRows:
            result_.row(I_.values.front()) = sparseB_;
            return;
        case Kind::setLinear:
            result_ += Sparse(places_, arma::vec(places_.n_cols).fill(2), A_.n_rows, A_.n_cols);
            return;
        case Kind::writes:
        case Kind::inserts:
            for (arma::uword k = 0; k < std::min<arma::uword>(10000, places_.n_cols); ++k) {
                result_(places_(0, k), places_(1, k)) = 2;
            }
            return;
        default:
            throw std::logic_error("Armadillo has nothing to offer");
        }
    }

    void setColumns()
    {
        switch (problem_->B.form) {
        case Right::zero:
            return result_.cols(columns_).zeros();
        case Right::scalar:
            return result_.cols(columns_).fill(2);
        case Right::full:
            result_.cols(columns_) = fullB_;
            return;
        default:
            result_.cols(columns_) = sparseB_;
        }
    }

    std::shared_ptr<const Problem> problem_;
    Kind kind_;
    Subscript I_;
    Subscript J_;
    std::vector<char> maskJ_;
    Sparse A_;
    Sparse sparseB_;
    arma::mat fullB_;
    arma::uvec columns_;
    arma::umat places_;
    Sparse result_;
    Fingerprint reads_;
};

} // namespace

/// Rows and regions in runs alone, columns of assignments in ascending order alone, elements where all of them are new
/// (others take it through a map of all entries).
bool hasArmadillo(const Row& row)
{
    if (row.values != Values::real) {
        return false;
    }
    const auto isOneOf = [&](std::initializer_list<std::string_view> names) {
        return std::ranges::find(names, std::string_view(row.operation->slug)) != names.end();
    };
    switch (row.operation->kind) {
    case Kind::whole:
    case Kind::columns:
    case Kind::columnCalls:
    case Kind::reads:
    case Kind::runs:
    case Kind::reshape:
    case Kind::deleteColumns:
    case Kind::writes:
    case Kind::inserts:
        return true;
    case Kind::rows:
        return isOneOf({"rows.half-run", "rows.half-run-list"});
    case Kind::region:
        return isOneOf({"region.middle"});
    case Kind::deleteRows:
        return isOneOf({"delete-rows.run"});
    case Kind::setColumns:
        return !isOneOf({"set-columns.random"});
    case Kind::setRows:
        return isOneOf({"set-rows.one"});
    case Kind::setLinear:
        return isOneOf({"set-linear.new4", "set-linear.new5", "set-linear.new-sorted", "set-linear.values"});
    default:
        return false;
    }
}

ContenderOwner makeArmadillo(std::shared_ptr<const Problem> problem)
{
    return std::make_unique<ArmadilloSide>(std::move(problem));
}

} // namespace zqsp::bench
