// What a user of Eigen writes for each operation: the library's own features where it has one, else a short loop over
// inner iterators. The same algorithm is often tried in two ways; the faster one stands here.
#ifndef ZQSP_BENCH_EIGEN_MATRIX_HPP
#define ZQSP_BENCH_EIGEN_MATRIX_HPP

#include "peers.hpp"

#include <Eigen/SparseCore>

#include <complex>
#include <cstdint>
#include <vector>

namespace zqsp::bench::eigen {

template <typename S>
using Sparse = Eigen::SparseMatrix<S>;
template <typename S>
using Iterator = typename Sparse<S>::InnerIterator;

template <typename S>
Sparse<S> toEigen(const Matrix& matrix)
{
    Sparse<S> result(matrix.m, matrix.n);
    result.resizeNonZeros(matrix.entries());
    std::copy(matrix.jc.begin(), matrix.jc.end(), result.outerIndexPtr());
    std::copy(matrix.ir.begin(), matrix.ir.end(), result.innerIndexPtr());
    for (std::size_t e = 0; e < matrix.entries(); ++e) {
        result.valuePtr()[e] = valueAt<S>(matrix, e);
    }
    return result;
}

/// P with P * A = A(values,:).
inline Eigen::PermutationMatrix<Eigen::Dynamic> permutationOf(const std::vector<unsigned>& values)
{
    Eigen::PermutationMatrix<Eigen::Dynamic> P(static_cast<Eigen::Index>(values.size()));
    for (std::size_t k = 0; k < values.size(); ++k) {
        P.indices()[values[k]] = static_cast<int>(k);
    }
    return P;
}

/// The k-by-extent matrix S with S * A = A(values,:).
template <typename S>
Sparse<S> selectionOf(const std::vector<unsigned>& values, Eigen::Index extent)
{
    std::vector<Eigen::Triplet<S>> ones;
    ones.reserve(values.size());
    for (std::size_t k = 0; k < values.size(); ++k) {
        ones.emplace_back(static_cast<int>(k), static_cast<int>(values[k]), S(1));
    }
    Sparse<S> selection(static_cast<Eigen::Index>(values.size()), extent);
    selection.setFromTriplets(ones.begin(), ones.end());
    return selection;
}

template <typename S>
void appendColumn(Sparse<S>& result, Eigen::Index to, const Sparse<S>& A, Eigen::Index from)
{
    for (Iterator<S> entry(A, from); entry; ++entry) {
        result.insertBack(entry.row(), to) = entry.value();
    }
}

template <typename S>
Sparse<S> columnsOf(const Sparse<S>& A, const std::vector<unsigned>& J)
{
    Sparse<S> result(A.rows(), static_cast<Eigen::Index>(J.size()));
    Eigen::Index entries = 0;
    for (const unsigned j : J) {
        entries += A.outerIndexPtr()[j + 1] - A.outerIndexPtr()[j];
    }
    result.reserve(entries);
    for (std::size_t k = 0; k < J.size(); ++k) {
        result.startVec(static_cast<Eigen::Index>(k));
        appendColumn(result, static_cast<Eigen::Index>(k), A, J[k]);
    }
    result.finalize();
    return result;
}

/// The rows of an ascending list.
template <typename S>
Sparse<S> ascendingRowsOf(const Sparse<S>& A, const std::vector<unsigned>& I)
{
    const std::vector<int> places = placesOf(I, A.rows());
    Sparse<S> result(static_cast<Eigen::Index>(I.size()), A.cols());
    result.reserve(A.nonZeros());
    for (Eigen::Index j = 0; j < A.cols(); ++j) {
        result.startVec(j);
        for (Iterator<S> entry(A, j); entry; ++entry) {
            const int place = places[static_cast<std::size_t>(entry.row())];
            if (place >= 0) {
                result.insertBack(place, j) = entry.value();
            }
        }
    }
    result.finalize();
    return result;
}

template <typename S>
Sparse<S> rowsOf(const Sparse<S>& A, const Subscript& I)
{
    if (I.isPermutation) {
        return permutationOf(I.values) * A;
    }
    if (I.isRun()) {
        return A.middleRows(I.values.front(), static_cast<Eigen::Index>(I.values.size()));
    }
    if (I.isAscending()) {
        return ascendingRowsOf(A, I.values);
    }
    return selectionOf<S>(I.values, A.rows()) * A;
}

/// A(K) of the cells (i,j), as a column.
template <typename S>
Sparse<S> elementsOf(const Sparse<S>& A, const std::vector<unsigned>& i, const std::vector<unsigned>& j)
{
    Sparse<S> result(static_cast<Eigen::Index>(i.size()), 1);
    result.startVec(0);
    for (std::size_t k = 0; k < i.size(); ++k) {
        const S value = A.coeff(i[k], j[k]);
        if (value != S(0)) {
            result.insertBack(static_cast<Eigen::Index>(k), 0) = value;
        }
    }
    result.finalize();
    return result;
}

template <typename S>
Sparse<S> reshaped(const Sparse<S>& A, Eigen::Index m, Eigen::Index n)
{
    Sparse<S> result(m, n);
    result.reserve(A.nonZeros());
    result.startVec(0);
    Eigen::Index open = 0;
    for (Eigen::Index j = 0; j < A.cols(); ++j) {
        for (Iterator<S> entry(A, j); entry; ++entry) {
            const Eigen::Index position = j * A.rows() + entry.row();
            while (open < position / m) {
                result.startVec(++open);
            }
            result.insertBack(position % m, open) = entry.value();
        }
    }
    result.finalize();
    return result;
}

} // namespace zqsp::bench::eigen

#endif
