// What Eigen's sparse matrices lack: dropping rows and columns, setting a block, masks, Dirichlet conditions. The plate
// is assembled and solved by Eigen; in between, its matrix is cut and changed by subscripts.
#include <Eigen/SparseCholesky>
#include <zqspmatrix_eigen.hpp>

#include <cstdio>
#include <vector>

using zqspmatrix::Matrix, zqspmatrix::all, zqspmatrix::range;
using EigenMatrix = Eigen::SparseMatrix<double>;

namespace {

constexpr int kSide = 20; ///< nodes along each side of the plate

/// The stiffness matrix of a square plate: 4 on the diagonal, -1 for each neighbour.
EigenMatrix stiffness()
{
    std::vector<Eigen::Triplet<double>> triplets;
    for (int node = 0; node < kSide * kSide; ++node) {
        triplets.emplace_back(node, node, 4.0);
        if ((node + 1) % kSide != 0) {
            triplets.emplace_back(node, node + 1, -1.0);
            triplets.emplace_back(node + 1, node, -1.0);
        }
        if (node + kSide < kSide * kSide) {
            triplets.emplace_back(node, node + kSide, -1.0);
            triplets.emplace_back(node + kSide, node, -1.0);
        }
    }
    EigenMatrix matrix(kSide * kSide, kSide * kSide);
    matrix.setFromTriplets(triplets.begin(), triplets.end());
    return matrix;
}

/// The nodes of the left and right edge, which are held at 1 and 0.
std::vector<bool> edges()
{
    std::vector<bool> held(kSide * kSide);
    for (std::size_t node = 0; node < kSide; ++node) {
        held[node] = held[held.size() - 1 - node] = true;
    }
    return held;
}

} // namespace

int main()
{
    const EigenMatrix whole = stiffness();
    const auto K = zqspmatrix::view(whole); // Eigen's own arrays, no copy
    const std::vector<bool> held = edges();
    std::vector<bool> free(held);
    free.flip();

    // Dropping rows and columns: the free nodes among themselves, and what the left edge (at 1) does to them.
    const EigenMatrix reduced = zqspmatrix::to_eigen(K.get(free, free));
    const Eigen::VectorXd load = -zqspmatrix::to_eigen(K.get(free, range(0, kSide - 1))) * Eigen::VectorXd::Ones(kSide);
    const Eigen::VectorXd inner = Eigen::SimplicialLDLT<EigenMatrix>(reduced).solve(load);
    std::printf("free nodes: %td of %d, in the middle %.6f\n", reduced.rows(), kSide * kSide,
                inner[(kSide / 2 - 1) * kSide + kSide / 2]);

    // Dirichlet conditions that keep the size: rows and columns of held nodes become those of the identity.
    Matrix A(K);
    A.set(held, all, 0);
    A.set(all, held, 0);
    std::vector<int> diagonal;
    for (int node = 0; node < kSide * kSide; ++node) {
        if (held[static_cast<std::size_t>(node)]) {
            diagonal.push_back(node + node * kSide * kSide);
        }
    }
    A.set(diagonal, 1);
    Eigen::VectorXd right = Eigen::VectorXd::Zero(kSide * kSide);
    right.segment(kSide, load.size()) = load;
    right.head(kSide).setOnes();
    const Eigen::VectorXd solved = Eigen::SimplicialLDLT<EigenMatrix>(zqspmatrix::to_eigen(A)).solve(right);
    std::printf("the same with all nodes, largest difference below 1e-12: %s\n",
                (solved.segment(kSide, inner.size()) - inner).cwiseAbs().maxCoeff() < 1e-12 ? "yes" : "no");

    // Setting a block; then a mask of a matrix: all that lies above the diagonal goes.
    A.set(range(0, 1), range(0, 1), Matrix::from_triplets(2, 2, {0, 1}, {1, 0}, {7.0, 8.0}));
    std::vector<std::size_t> rows;
    std::vector<std::size_t> columns;
    A.for_each([&](auto i, auto j, double) {
        if (i < j) {
            rows.push_back(i);
            columns.push_back(j);
        }
    });
    const std::vector<bool> yes(rows.size(), true);
    A.set(zqspmatrix::BasicMatrix<bool>::from_triplets(A.rows(), A.cols(), rows, columns, yes), 0);
    std::printf("A(1,0) = %g, A(0,1) = %g, %zu entries\n", A(1, 0), A(0, 1), A.nonzeros());
}
