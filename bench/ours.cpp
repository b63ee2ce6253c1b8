// The library's side of a row.
#include "arrays.hpp"

#include <zqspmatrix.h>

#include <algorithm>
#include <stdexcept>

namespace zqsp::bench {

namespace {

constexpr std::size_t kSingleWrites = 10000;

void require(spStatus status)
{
    if (status != spOK) {
        throw std::runtime_error("a measured call failed with status " + std::to_string(status));
    }
}

class Ours : public Contender
{
  public:
    explicit Ours(std::shared_ptr<const Problem> problem)
        : problem_(std::move(problem)),
          kind_(problem_->row.operation->kind),
          A_(toArray(problem_->A, problem_->row.values)),
          I_(toArray(problem_->I)),
          J_(toArray(problem_->J)),
          B_(toArray(problem_->B, problem_->row.values)),
          i_(scalarArray(1)),
          j_(scalarArray(1))
    {
    }

    void prepare() override
    {
        if (isInPlace(kind_)) {
            result_ = kxDuplicateArray(A_.get());
        }
    }

    void run() override { isInPlace(kind_) ? change() : refer(); }

    void finish() override { kxDestroyArray(std::exchange(result_, nullptr)); }

    [[nodiscard]] Fingerprint fingerprint() const override
    {
        return kind_ == Kind::reads ? reads_ : fingerprintOf(result_, kind_ == Kind::linear);
    }

    [[nodiscard]] const kxArray* target() const { return A_.get(); }
    [[nodiscard]] const kxArray* result() const { return result_; }

  private:
    void refer()
    {
        switch (kind_) {
        case Kind::whole:
            return require(spRef2(A_.get(), &result_));
        case Kind::columns:
            return require(spRef4(A_.get(), J_.get(), &result_));
        case Kind::rows:
            return require(spRef5(A_.get(), I_.get(), &result_));
        case Kind::region:
            return require(spRef6(A_.get(), I_.get(), J_.get(), &result_));
        case Kind::linear:
            return require(spRef3(A_.get(), I_.get(), &result_));
        case Kind::reads:
            return readSingly();
        case Kind::columnCalls:
            return takeColumnsSingly();
        case Kind::lists:
            result_ = kxSparseReference(A_.get(), data(problem_->I), count(problem_->I), data(problem_->J),
                                        count(problem_->J));
            return;
        case Kind::runs:
            result_ = kxSparseColonReference(A_.get(), first(problem_->I), 1, last(problem_->I), first(problem_->J), 1,
                                             last(problem_->J));
            return;
        default:
            throw std::logic_error("not a reference");
        }
    }

    void change()
    {
        switch (kind_) {
        case Kind::reshape:
            return spReshape(result_, problem_->A.m / 2, problem_->A.n * 2);
        case Kind::deleteColumns:
            return require(spDeleteColumns(result_, J_.get()));
        case Kind::deleteRows:
            return require(spDeleteRows(result_, I_.get()));
        case Kind::deleteLinear:
            return require(spDeleteElements(result_, I_.get()));
        case Kind::setColumns:
            return require(spAss4(result_, B_.get(), J_.get()));
        case Kind::setRows:
            return require(spAss5(result_, B_.get(), I_.get()));
        case Kind::setRegion:
            return require(spAss6(result_, B_.get(), I_.get(), J_.get()));
        case Kind::setLinear:
            return require(spAss3(result_, B_.get(), I_.get()));
        case Kind::writes:
        case Kind::inserts:
            return writeSingly();
        default:
            throw std::logic_error("not a change");
        }
    }

    /// Each read makes and destroys its 1-by-1 result.
    void readSingly()
    {
        reads_ = {};
        for (std::size_t k = 0; k < problem_->I.values.size(); ++k) {
            *doubles(i_) = problem_->I.values[k] + 1.0;
            *doubles(j_) = problem_->J.values[k] + 1.0;
            kxArray* element = nullptr;
            require(spRef6(A_.get(), i_.get(), j_.get(), &element));
            if (element->jc[1] == 1) {
                reads_.add(0, 0, *static_cast<const double*>(element->pr));
            }
            kxDestroyArray(element);
        }
    }

    void takeColumnsSingly()
    {
        for (const unsigned j : problem_->J.values) {
            *doubles(j_) = j + 1.0;
            kxDestroyArray(std::exchange(result_, nullptr));
            require(spRef4(A_.get(), j_.get(), &result_));
        }
    }

    void writeSingly()
    {
        const std::vector<unsigned>& positions = problem_->I.values;
        for (std::size_t k = 0; k < std::min(kSingleWrites, positions.size()); ++k) {
            *doubles(i_) = positions[k] % problem_->A.m + 1.0;
            *doubles(j_) = positions[k] / problem_->A.m + 1.0;
            require(spAss6(result_, B_.get(), i_.get(), j_.get()));
        }
    }

    static const unsigned* data(const Subscript& subscript) { return subscript.values.data(); }
    static unsigned count(const Subscript& subscript) { return static_cast<unsigned>(subscript.values.size()); }
    static int first(const Subscript& subscript) { return static_cast<int>(subscript.values.front()) + 1; }
    static int last(const Subscript& subscript) { return static_cast<int>(subscript.values.back()) + 1; }

    std::shared_ptr<const Problem> problem_;
    Kind kind_;
    Array A_;
    Array I_;
    Array J_;
    Array B_;
    Array i_;
    Array j_;
    kxArray* result_ = nullptr;
    Fingerprint reads_;
};

/// Row indices of the columns that a reference must look at.
double visitedRowBytes(const Problem& problem)
{
    double visited = 0;
    for (const unsigned j : problem.J.values) {
        visited += problem.A.jc[j + 1] - problem.A.jc[j];
    }
    return sizeof(unsigned) * visited;
}

double rightSideBytes(const RightSide& B)
{
    if (B.form == RightSide::Form::full) {
        return sizeof(double) * static_cast<double>(B.m) * B.n;
    }
    return static_cast<double>((sizeof(unsigned) + sizeof(double)) * B.sparse.re.size());
}

/// What a reference reads beyond the subscripts: the entries of the result, and where rows are selected the row
/// indices of the entries that are left out.
double referenceBytes(const Problem& problem, const kxArray* result)
{
    const Kind kind = problem.row.operation->kind;
    if (kind == Kind::rows || kind == Kind::region || kind == Kind::lists || kind == Kind::runs) {
        return bytesOf(result) + visitedRowBytes(problem) - 4.0 * kxGetNumNonZeroEl(result);
    }
    return bytesOf(result);
}

} // namespace

ContenderOwner makeOurs(std::shared_ptr<const Problem> problem)
{
    return std::make_unique<Ours>(std::move(problem));
}

Traffic trafficOf(const std::shared_ptr<const Problem>& problem)
{
    const Kind kind = problem->row.operation->kind;
    const double subscripts = problem->I.bytes() + problem->J.bytes();
    if (kind == Kind::reads) {
        return {subscripts, 0, 0};
    }
    Ours ours(problem);
    ours.prepare();
    ours.run();
    const double result = bytesOf(ours.result());
    const double read =
        isInPlace(kind) ? bytesOf(ours.target()) + rightSideBytes(problem->B) : referenceBytes(*problem, ours.result());
    ours.finish();
    return {read + subscripts, result, result};
}

} // namespace zqsp::bench
