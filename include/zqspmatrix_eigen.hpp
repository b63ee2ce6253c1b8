// Eigen's sparse matrices lent to zqspmatrix, and matrices handed to Eigen.
#ifndef ZQSPMATRIX_EIGEN_HPP
#define ZQSPMATRIX_EIGEN_HPP

#include "zqspmatrix.hpp"

#include <Eigen/SparseCore>

#include <algorithm>
#include <limits>

namespace zqspmatrix {

/// Eigen's matrix by columns with 32-bit indices, as this header reads and makes it.
template <Element T>
using EigenMatrix = Eigen::SparseMatrix<T, Eigen::ColMajor, int>;

/// Lends the arrays of a matrix that is compressed, read-only; it must stay unchanged as long as the view lives. A
/// matrix that is not (or has complex elements) is copied. `check`: as for BasicMatrix::view. Cost: 1 without it, n +
/// nnz with it or a copy. Throws Error for columns whose rows do not ascend.
template <Element T>
[[nodiscard]] BasicView<T> view(const EigenMatrix<T>& matrix, bool check = true)
{
    if (!matrix.isCompressed()) {
        EigenMatrix<T> compressed(matrix);
        compressed.makeCompressed();
        return BasicMatrix<T>(view(compressed, check));
    }
    const auto count = static_cast<std::size_t>(matrix.nonZeros());
    return BasicMatrix<T>::view(matrix.rows(), matrix.cols(),
                                std::span(matrix.outerIndexPtr(), static_cast<std::size_t>(matrix.cols()) + 1),
                                std::span(matrix.innerIndexPtr(), count), std::span(matrix.valuePtr(), count), check);
}
/// A temporary would be gone before the view.
template <Element T>
BasicView<T> view(const EigenMatrix<T>&& matrix, bool check = true) = delete;

/// A compressed matrix of Eigen with these entries. Cost: n + nnz.
template <Element T>
[[nodiscard]] EigenMatrix<T> to_eigen(const BasicView<T>& matrix)
{
    const auto count = matrix.nonzeros();
    if (count > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
        detail::failOperand(std::to_string(count) + " entries are more than Eigen's index of 32 bits can count");
    }
    EigenMatrix<T> made(static_cast<Eigen::Index>(matrix.rows()), static_cast<Eigen::Index>(matrix.cols()));
    made.resizeNonZeros(static_cast<Eigen::Index>(count));
    const auto as_int = [](unsigned word) { return static_cast<int>(word); };
    std::ranges::transform(matrix.column_starts(), made.outerIndexPtr(), as_int);
    std::ranges::transform(matrix.row_indices(), made.innerIndexPtr(), as_int);
    std::ranges::copy(matrix.values(), made.valuePtr());
    return made;
}

} // namespace zqspmatrix

#endif
