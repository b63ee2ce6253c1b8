// SuiteSparse:GraphBLAS's side of a row: one thread, matrices by column; what it puts off is done within the timed
// call.
#include "peers.hpp"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

// The header is C's, and says so to nobody. (What it includes itself has been seen by then.)
#include <complex>
#include <cstddef>
#include <cstdint>
extern "C" {
#include <GraphBLAS.h>
}

namespace zqsp::bench {

namespace {

using Right = RightSide::Form;

void require(GrB_Info info)
{
    if (info != GrB_SUCCESS) {
        throw std::runtime_error("GraphBLAS failed with status " + std::to_string(info));
    }
}

/// Starts the library once.
void start()
{
    static const bool isStarted = [] {
        require(GrB_init(GrB_NONBLOCKING));
        require(GxB_Global_Option_set(GxB_FORMAT, GxB_BY_COL));
        require(GxB_Global_Option_set(static_cast<GxB_Option_Field>(GxB_NTHREADS), 1));
        return true;
    }();
    static_cast<void>(isStarted);
}

struct FreeMatrix
{
    void operator()(GrB_Matrix matrix) const { GrB_Matrix_free(&matrix); }
};
using Handle = std::unique_ptr<std::remove_pointer_t<GrB_Matrix>, FreeMatrix>;

/// The functions for one type of values.
template <typename S>
struct Typed;

template <>
struct Typed<double>
{
    static GrB_Type type() { return GrB_FP64; }
    static bool read(double& x, GrB_Matrix A, GrB_Index i, GrB_Index j)
    {
        return GrB_Matrix_extractElement_FP64(&x, A, i, j) == GrB_SUCCESS;
    }
};

template <>
struct Typed<unsigned char>
{
    static GrB_Type type() { return GrB_BOOL; }
    static bool read(unsigned char& x, GrB_Matrix A, GrB_Index i, GrB_Index j)
    {
        bool value = false;
        const bool isStored = GrB_Matrix_extractElement_BOOL(&value, A, i, j) == GrB_SUCCESS;
        x = value ? 1 : 0;
        return isStored;
    }
};

template <>
struct Typed<std::complex<double>>
{
    static GrB_Type type() { return GxB_FC64; }
    static bool read(std::complex<double>& x, GrB_Matrix A, GrB_Index i, GrB_Index j)
    {
        return GxB_Matrix_extractElement_FC64(&x, A, i, j) == GrB_SUCCESS;
    }
};

/// A block that GraphBLAS takes over.
template <typename T>
T* block(std::size_t count)
{
    return static_cast<T*>(std::malloc(std::max<std::size_t>(count, 1) * sizeof(T)));
}

/// Takes the three blocks over.
template <typename S>
Handle pack(GrB_Index m, GrB_Index n, GrB_Index* starts, GrB_Index* rows, S* values)
{
    GrB_Matrix matrix = nullptr;
    require(GrB_Matrix_new(&matrix, Typed<S>::type(), m, n));
    Handle owner(matrix);
    const GrB_Index count = std::max<GrB_Index>(starts[n], 1);
    void* untyped = values;
    require(GxB_Matrix_pack_CSC(matrix, &starts, &rows, &untyped, (n + 1) * sizeof *starts, count * sizeof *rows,
                                count * sizeof(S), false, false, nullptr));
    require(GrB_Matrix_wait(matrix, GrB_MATERIALIZE));
    return owner;
}

template <typename S>
Handle toGraphblas(const Matrix& matrix)
{
    auto* const starts = block<GrB_Index>(matrix.jc.size());
    auto* const rows = block<GrB_Index>(matrix.ir.size());
    auto* const values = block<S>(matrix.ir.size());
    std::copy(matrix.jc.begin(), matrix.jc.end(), starts);
    std::copy(matrix.ir.begin(), matrix.ir.end(), rows);
    for (std::size_t e = 0; e < matrix.entries(); ++e) {
        values[e] = valueAt<S>(matrix, e);
    }
    return pack(matrix.m, matrix.n, starts, rows, values);
}

Handle fullMatrix(GrB_Index m, GrB_Index n, double value)
{
    GrB_Matrix matrix = nullptr;
    require(GrB_Matrix_new(&matrix, GrB_FP64, m, n));
    Handle owner(matrix);
    require(GrB_Matrix_assign_FP64(matrix, nullptr, nullptr, value, GrB_ALL, m, GrB_ALL, n, nullptr));
    require(GrB_Matrix_wait(matrix, GrB_MATERIALIZE));
    return owner;
}

/// A subscript as GraphBLAS takes it: all, a range with or without a stride, or a list.
class Indices
{
  public:
    Indices() = default;
    explicit Indices(const Subscript& subscript) : mask_(maskOf(subscript)), size_(subscript.values.size())
    {
        const std::vector<unsigned>& values = subscript.values;
        if (subscript.form == Subscript::Form::colon) {
            list_ = GrB_ALL;
            count_ = subscript.extent;
        } else if (subscript.isRun() && !values.empty()) {
            set({values.front(), values.back()}, GxB_RANGE);
        } else if (subscript.form == Subscript::Form::range) {
            set({values.front(), values.back(), values[1] - values[0]}, GxB_STRIDE);
        } else {
            set({values.begin(), values.end()}, values.size());
        }
    }
    explicit Indices(const std::vector<unsigned>& values) : size_(values.size())
    {
        set({values.begin(), values.end()}, values.size());
    }
    Indices(const Indices&) = delete;
    Indices& operator=(const Indices&) = delete;

    /// What a mask selects has to be found, each time.
    void find()
    {
        if (!mask_.empty()) {
            held_.clear();
            for (std::size_t i = 0; i < mask_.size(); ++i) {
                if (mask_[i] != 0) {
                    held_.push_back(i);
                }
            }
            list_ = held_.data();
            count_ = held_.size();
        }
    }

    [[nodiscard]] const GrB_Index* list() const { return list_; }
    [[nodiscard]] GrB_Index count() const { return count_; } ///< as GraphBLAS wants it: it tells ranges, too
    [[nodiscard]] GrB_Index size() const { return size_; }

  private:
    void set(std::vector<GrB_Index> values, GrB_Index count)
    {
        held_ = std::move(values);
        list_ = held_.data();
        count_ = count;
    }

    std::vector<char> mask_;
    std::vector<GrB_Index> held_;
    const GrB_Index* list_ = nullptr;
    GrB_Index count_ = 0;
    GrB_Index size_ = 0;
};

template <typename S>
class GraphblasSide : public Contender
{
  public:
    explicit GraphblasSide(std::shared_ptr<const Problem> problem)
        : problem_(std::move(problem)),
          kind_(problem_->row.operation->kind),
          I_(problem_->I),
          J_(problem_->J),
          A_(toGraphblas<S>(problem_->A)),
          m_(problem_->A.m),
          n_(problem_->A.n)
    {
        const RightSide& B = problem_->B;
        if (B.form == Right::full) {
            B_ = fullMatrix(B.m, B.n, 2);
        } else if (B.form == Right::sparse || B.form == Right::denseRow) {
            B_ = toGraphblas<S>(B.sparse);
        }
        if (isLinear(kind_)) { // rows and columns are what the user holds
            for (const unsigned position : problem_->I.values) {
                i_.push_back(position % problem_->A.m);
                j_.push_back(position / problem_->A.m);
            }
        }
    }

    void prepare() override
    {
        if (isInPlace(kind_)) {
            GrB_Matrix copy = nullptr;
            require(GrB_Matrix_dup(&copy, A_.get()));
            result_.reset(copy);
            require(GrB_Matrix_wait(copy, GrB_MATERIALIZE));
        }
    }

    void run() override
    {
        I_.find();
        J_.find();
        isInPlace(kind_) ? change() : refer();
        if (result_ != nullptr) {
            require(GrB_Matrix_wait(result_.get(), GrB_MATERIALIZE));
        }
    }

    void finish() override { result_.reset(); }

    [[nodiscard]] Fingerprint fingerprint() const override
    {
        if (kind_ == Kind::reads) {
            return reads_;
        }
        GrB_Matrix matrix = nullptr;
        require(GrB_Matrix_dup(&matrix, result_.get()));
        GrB_Index *starts = nullptr, *rows = nullptr, startsSize = 0, rowsSize = 0, valuesSize = 0, columns = 0;
        void* values = nullptr;
        bool isIso = false;
        require(GrB_Matrix_ncols(&columns, matrix));
        require(GxB_Matrix_unpack_CSC(matrix, &starts, &rows, &values, &startsSize, &rowsSize, &valuesSize, &isIso,
                                      nullptr, nullptr));
        Fingerprint print;
        for (GrB_Index j = 0; j < columns; ++j) {
            for (GrB_Index e = starts[j]; e < starts[j + 1]; ++e) {
                const std::complex<double> value(static_cast<const S*>(values)[isIso ? 0 : e]);
                print.add(static_cast<unsigned>(rows[e]), static_cast<unsigned>(j), value.real(), value.imag());
            }
        }
        for (void* each : {static_cast<void*>(starts), static_cast<void*>(rows), values}) {
            std::free(each);
        }
        GrB_Matrix_free(&matrix);
        return print;
    }

  private:
    void refer()
    {
        switch (kind_) {
        case Kind::whole:
            result_ = reshaped(m_ * n_, 1);
            break;
        case Kind::linear:
            takeElements();
            break;
        case Kind::reads:
            reads_ = {};
            for (std::size_t k = 0; k < problem_->I.values.size(); ++k) {
                if (S x = 0; Typed<S>::read(x, A_.get(), problem_->I.values[k], problem_->J.values[k])) {
                    reads_.add(0, 0, std::real(std::complex<double>(x)));
                }
            }
            break;
        case Kind::columnCalls:
            for (const GrB_Index j : problem_->J.values) {
                extract(A_.get(), GrB_ALL, m_, m_, &j, 1, 1);
            }
            break;
        default:
            extract(A_.get(), I_.list(), I_.count(), I_.size(), J_.list(), J_.count(), J_.size());
        }
    }

    void change()
    {
        switch (kind_) {
        case Kind::reshape:
            return require(GxB_Matrix_reshape(result_.get(), true, m_ / 2, n_ * 2, nullptr));
        case Kind::deleteColumns: {
            const Indices others(othersOf(problem_->J.values, n_));
            return extract(result_.get(), GrB_ALL, m_, m_, others.list(), others.count(), others.size());
        }
        case Kind::deleteRows: {
            const Indices others(othersOf(problem_->I.values, m_));
            return extract(result_.get(), others.list(), others.count(), others.size(), GrB_ALL, n_, n_);
        }
        case Kind::setColumns:
        case Kind::setRows:
        case Kind::setRegion:
            return assign();
        case Kind::setLinear:
        case Kind::writes:
        case Kind::inserts:
            return setElements(kind_ == Kind::writes ? std::min<std::size_t>(10000, i_.size()) : i_.size());
        default:
            throw std::logic_error("GraphBLAS has nothing to offer");
        }
    }

    void extract(GrB_Matrix from, const GrB_Index* I, GrB_Index ni, GrB_Index rows, const GrB_Index* J, GrB_Index nj,
                 GrB_Index columns)
    {
        GrB_Matrix result = nullptr;
        require(GrB_Matrix_new(&result, Typed<S>::type(), rows, columns));
        Handle owner(result);
        require(GrB_Matrix_extract(result, nullptr, nullptr, from, I, ni, J, nj, nullptr));
        result_ = std::move(owner);
    }

    void assign()
    {
        GrB_Matrix C = result_.get();
        switch (problem_->B.form) {
        case Right::scalar:
            return require(
                GrB_Matrix_assign_FP64(C, nullptr, nullptr, 2, I_.list(), I_.count(), J_.list(), J_.count(), nullptr));
        case Right::zero: {
            GrB_Scalar empty = nullptr;
            require(GrB_Scalar_new(&empty, Typed<S>::type()));
            require(GrB_Matrix_assign_Scalar(C, nullptr, nullptr, empty, I_.list(), I_.count(), J_.list(), J_.count(),
                                             nullptr));
            return require(GrB_Scalar_free(&empty));
        }
        default:
            return require(GrB_Matrix_assign(C, nullptr, nullptr, B_.get(), I_.list(), I_.count(), J_.list(),
                                             J_.count(), nullptr));
        }
    }

    /// Element by element: GraphBLAS collects the new ones, and sorts them in at the end.
    void setElements(std::size_t count)
    {
        for (std::size_t k = 0; k < count; ++k) {
            require(problem_->B.form == Right::zero ? GrB_Matrix_removeElement(result_.get(), i_[k], j_[k])
                                                    : GrB_Matrix_setElement_FP64(result_.get(), 2, i_[k], j_[k]));
        }
    }

    /// A(K), as a column: by element where K is a list, out of the reshaped matrix where it is a range.
    void takeElements()
    {
        if (problem_->I.form == Subscript::Form::range) {
            const Handle column = reshaped(m_ * n_, 1);
            const GrB_Index zero = 0;
            return extract(column.get(), I_.list(), I_.count(), I_.size(), &zero, 1, 1);
        }
        const bool isMask = problem_->I.form == Subscript::Form::mask;
        const std::size_t count = I_.size();
        auto* const starts = block<GrB_Index>(2);
        auto* const rows = block<GrB_Index>(count);
        auto* const values = block<S>(count);
        GrB_Index found = 0;
        for (std::size_t k = 0; k < count; ++k) {
            const GrB_Index i = isMask ? I_.list()[k] % m_ : i_[k];
            const GrB_Index j = isMask ? I_.list()[k] / m_ : j_[k];
            if (Typed<S>::read(values[found], A_.get(), i, j)) {
                rows[found++] = k;
            }
        }
        starts[0] = 0;
        starts[1] = found;
        result_ = pack(count, 1, starts, rows, values);
    }

    [[nodiscard]] Handle reshaped(GrB_Index m, GrB_Index n) const
    {
        GrB_Matrix result = nullptr;
        require(GxB_Matrix_reshapeDup(&result, A_.get(), true, m, n, nullptr));
        return Handle(result);
    }

    std::shared_ptr<const Problem> problem_;
    Kind kind_;
    Indices I_;
    Indices J_;
    Handle A_;
    Handle B_;
    GrB_Index m_;
    GrB_Index n_;
    std::vector<GrB_Index> i_;
    std::vector<GrB_Index> j_;
    Handle result_;
    Fingerprint reads_;
};

} // namespace

bool hasGraphblas(const Row& row)
{
    return row.operation->kind != Kind::deleteLinear;
}

ContenderOwner makeGraphblas(std::shared_ptr<const Problem> problem)
{
    start();
    return makePeer<GraphblasSide>(std::move(problem));
}

} // namespace zqsp::bench
