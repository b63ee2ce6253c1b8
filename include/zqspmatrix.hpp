// Sparse matrices for C++ programs: read, written, grown, deleted from and reshaped by subscripts.
//
//     using zqspmatrix::Matrix, zqspmatrix::all, zqspmatrix::range;
//     Matrix A = Matrix::from_triplets(4, 3, {0, 1, 3, 3}, {0, 1, 1, 2}, {1.5, -2.0, 7.0, 8.0});
//     Matrix B = A.get({2, 0, 3}, all);     // rows 2, 0 and 3, in this order
//     A.set(5, range(0, 1), 5.0);           // A grows to six rows
//     A.erase_columns(2);                   // in place
//
// Indices count from 0. A matrix is stored in compressed columns; m, n: its rows and columns, nnz: its stored entries,
// k: number of subscripts, out: entries of the result. Errors are zqspmatrix::Error, whose text names
// the subscript, its value and what there is; a call that throws has changed nothing. Calls on distinct matrices may
// run in several threads, and so may calls that only read one. Link the target zqspmatrix::cpp, or what pkg-config
// says.
#ifndef ZQSPMATRIX_HPP
#define ZQSPMATRIX_HPP

#include "zqspmatrix_cpp/array.hpp"
#include "zqspmatrix_cpp/calls.hpp"
#include "zqspmatrix_cpp/error.hpp"
#include "zqspmatrix_cpp/subscript.hpp"
#include "zqspmatrix_cpp/triplets.hpp"
#include "zqspmatrix_cpp/value.hpp"

#include <complex>
#include <cstddef>
#include <span>
#include <utility>
#include <vector>

namespace zqspmatrix {

template <Element T>
class BasicMatrix;

/// What can be read of a sparse matrix: of one that owns its arrays (BasicMatrix) as of one that stands on lent ones.
/// Moves without copying; a matrix that was moved from may only be assigned to or destroyed.
template <Element T>
class BasicView
{
  public:
    BasicView(BasicView&&) noexcept = default;            ///< Moves.
    BasicView& operator=(BasicView&&) noexcept = default; ///< Moves.
    BasicView(const BasicView&) = delete;                 // a BasicMatrix made of it is a copy
    BasicView& operator=(const BasicView&) = delete;
    ~BasicView() = default;

    /// m
    [[nodiscard]] std::size_t rows() const { return detail::rowsOf(array()); }
    /// n
    [[nodiscard]] std::size_t cols() const { return detail::columnsOf(array()); }
    /// Stored entries; a view may store zeros, a matrix made here does not.
    [[nodiscard]] std::size_t nonzeros() const { return detail::entriesOf(array()); }

    /// cols() + 1 numbers: the entries of column j are those from column_starts()[j] to before column_starts()[j + 1].
    /// This span and the next ones hold until the matrix is changed.
    [[nodiscard]] std::span<const unsigned> column_starts() const { return {array()->jc, cols() + 1}; }
    /// The row of each entry, strictly ascending within a column.
    [[nodiscard]] std::span<const unsigned> row_indices() const { return {array()->ir, nonzeros()}; }
    /// The value of each entry: a span, or for complex elements (whose parts the runtime holds apart) a new vector.
    [[nodiscard]] auto values() const
    {
        if constexpr (detail::isComplexNumber<T>) {
            std::vector<T> joined(nonzeros());
            for (std::size_t e = 0; e < joined.size(); ++e) {
                joined[e] = detail::valueAt<T>(array(), e);
            }
            return joined;
        } else {
            return std::span<const T>(static_cast<const T*>(array()->pr), nonzeros());
        }
    }

    /// One element; 0 where nothing is stored. Throws Error (spIndexOutOfRange). Cost: log(entries of the column).
    template <detail::Integer I, detail::Integer J>
    [[nodiscard]] T operator()(I row, J column) const;

    /// Every selected row of every selected column, in the order of the subscripts, repeats included: a new matrix.
    /// Throws Error (spIndexBelowOne for a negative subscript, spIndexOutOfRange). Cost: m + entries of the selected
    /// columns + out; where the rows are few, columns * k * log(entries of a column).
    template <Subscript I = detail::Braces, Subscript J = detail::Braces>
    [[nodiscard]] BasicMatrix<T> get(const I& row_subscript, const J& column_subscript) const;

    /// Elements counted down the columns (element i + j * rows() lies in row i of column j): a new column, or a row
    /// where the matrix is one. `all` gives all. Throws as above. Cost: k * log(entries of a column); k + nnz where
    /// they ascend.
    template <Subscript K = detail::Braces>
    [[nodiscard]] BasicMatrix<T> get(const K& element_subscript) const;

    /// visit(row, column, value) for each stored entry, column by column.
    template <typename F>
    void for_each(F&& visit) const
    {
        for (std::size_t j = 0; j < cols(); ++j) {
            for (std::size_t e = array()->jc[j]; e < array()->jc[j + 1]; ++e) {
                visit(std::size_t{array()->ir[e]}, j, detail::valueAt<T>(array(), e));
            }
        }
    }

    /// The runtime's record, for calls of zqspmatrix.h; it stays this object's.
    [[nodiscard]] const kxArray* array() const noexcept { return array_.get(); }
    /// Whether it stands on arrays of somebody else, who must keep them.
    [[nodiscard]] bool lent() const noexcept { return array_.get_deleter().lent(); }

  protected:
    /// Takes over an array.
    explicit BasicView(detail::Array array) : array_(std::move(array)) {}

    detail::Array array_; ///< what is viewed

    friend class BasicMatrix<T>;
};

/// Indices that outlive the call they are handed to, of 32 bits, as the library has them: a std::vector<int> that has a
/// name, a std::span<const unsigned>.
template <typename R>
concept LastingIndices = std::ranges::contiguous_range<R> && std::ranges::sized_range<R> &&
                         std::ranges::borrowed_range<R> && detail::Integer<std::ranges::range_value_t<R>> &&
                         sizeof(std::ranges::range_value_t<R>) == sizeof(unsigned);
/// Elements that outlive the call they are handed to.
template <typename R, typename T>
concept LastingValues = std::ranges::contiguous_range<R> && std::ranges::sized_range<R> &&
    std::ranges::borrowed_range<R> && std::same_as<std::ranges::range_value_t<R>, T>;

/// A sparse matrix that owns its arrays. T: double, std::complex<double>, bool; float, std::complex<float> and the
/// integers of 8 to 64 bits as well.
template <Element T>
class BasicMatrix : public BasicView<T>
{
  public:
    using View = BasicView<T>; ///< what only reads

    /// rows-by-cols without entries. Cost: n. Throws Error for sizes that are negative or above 2^31 - 1.
    template <detail::Integer M, detail::Integer N>
    BasicMatrix(M rows, N cols);

    /// A matrix of triplets in any order: v[k] is added to row i[k] of column j[k] (of truth values: or); what becomes
    /// zero is not stored. Throws Error for an index outside, or lengths that differ. Cost: n + triplets *
    /// log(triplets of a column).
    template <detail::Integer M, detail::Integer N, detail::IndexList I = std::initializer_list<int>,
              detail::IndexList J = std::initializer_list<int>, detail::SequenceInto<T> V = std::initializer_list<T>>
    [[nodiscard]] static BasicMatrix from_triplets(M rows, N cols, const I& i, const J& j, const V& v);

    /// Compressed columns of somebody else, read-only and without a copy (but for complex values): cols + 1 column
    /// starts, from 0 on; rows that ascend strictly within a column; no stored `false`. They must stay unchanged as
    /// long as the view lives. With `check` this is looked at (cost: n + nnz) and Error thrown where it does not hold;
    /// without it, the caller's word is taken, and only the lengths of the arrays are compared.
    template <detail::Integer M, detail::Integer N, LastingIndices Starts, LastingIndices Rows, LastingValues<T> Values>
    [[nodiscard]] static View view(M rows, N cols, Starts&& column_starts, Rows&& row_indices, Values&& values,
                                   bool check = true);

    BasicMatrix(BasicMatrix&&) noexcept = default;            ///< Moves.
    BasicMatrix& operator=(BasicMatrix&&) noexcept = default; ///< Moves.
    /// Copies. Cost: n + nnz.
    BasicMatrix(const BasicMatrix& other) : BasicMatrix(static_cast<const View&>(other)) {}
    /// Copies, also what was lent.
    BasicMatrix(const View& other) : View(copyOf(other)) {}
    /// Copies.
    BasicMatrix& operator=(const BasicMatrix& other) { return *this = static_cast<const View&>(other); }
    /// Copies, also what was lent.
    BasicMatrix& operator=(const View& other) { return *this = BasicMatrix(other); }
    ~BasicMatrix() = default;

    /// The element in every selected row of every selected column becomes the one of `value` (one value, a matrix of as
    /// many rows and columns, or as many values as a selection in one row or column holds). The matrix grows to cover
    /// its subscripts; of repeated ones the last wins. `value` may be this matrix. Throws Error (spIndexBelowOne,
    /// spAssignDimMismatch, spIndexExceedsMaxSize). Cost: entries of the selected columns, entries that have to move,
    /// and those of the value; + log for subscripts in no order.
    template <Subscript I = detail::Braces, Subscript J = detail::Braces, ValueFor<T> V = T>
    void set(const I& row_subscript, const J& column_subscript, const V& value);

    /// Elements counted down the columns become `value`: one value, or as many. A row or column grows. Throws Error
    /// (spIndexBelowOne, spIndexAssignCountMismatch, spCannotResize past the end of a matrix with several rows and
    /// columns, spIndexExceedsMaxSize). Cost: k log k + nnz + n.
    template <Subscript K = detail::Braces, ValueFor<T> V = T>
    void set(const K& element_subscript, const V& value);

    /// In place; nothing that stays is copied. Throws Error (spIndexBelowOne, spIndexToRemoveOutOfRange). Cost: m +
    /// nnz.
    template <Subscript I = detail::Braces>
    void erase_rows(const I& row_subscript);
    /// As erase_rows. Cost: n + entries that have to move.
    template <Subscript J = detail::Braces>
    void erase_columns(const J& column_subscript);
    /// Elements counted down the columns: a column stays one, everything else becomes a row. Throws as erase_rows, and
    /// spCannotResizeToRowVector for a matrix of more elements than a row can have. Cost: nnz + k.
    template <Subscript K = detail::Braces>
    void erase(const K& element_subscript);

    /// Becomes rows-by-cols, elements counted down the columns. Throws Error where the numbers of elements differ.
    /// Cost: nnz + n + cols.
    template <detail::Integer M, detail::Integer N>
    void reshape(M rows, N cols);

  private:
    explicit BasicMatrix(detail::Array array) : View(std::move(array)) {}

    static detail::Array copyOf(const View& other)
    {
        return detail::translated([&] { return detail::Array(detail::kx::kxCreateDeepCopy(other.array())); });
    }
    [[nodiscard]] kxArray* target() noexcept { return this->array_.get(); }

    friend class BasicView<T>;
};

using Matrix = BasicMatrix<double>; ///< of real numbers
using View = BasicView<double>;     ///< of real numbers, read-only

} // namespace zqspmatrix

#include "zqspmatrix_cpp/matrix.hpp"

#endif
