// What the tests of the C++ interface share: matrices to begin with, and how they are held against the models.
#ifndef ZQSP_TESTS_CPP_MODELS_HPP
#define ZQSP_TESTS_CPP_MODELS_HPP

#include "support/model_operations.hpp"

#include <zqspmatrix.hpp>

#include <random>

namespace zqsp::test {

/// "" or a text.
template <typename T>
std::string difference(const zqspmatrix::BasicView<T>& matrix, const Model& expected)
{
    return diff(matrix.array(), withCapacity(expected, Model::kAnyCapacity));
}

/// By columns.
template <typename T>
std::vector<Value> elements(const zqspmatrix::BasicView<T>& matrix)
{
    return RightSide::of(fromArray(matrix.array())).elements();
}

/// A matrix of which two elements in three are stored, by way of triplets.
template <typename T>
zqspmatrix::BasicMatrix<T> drawn(std::size_t m, std::size_t n, std::mt19937& random)
{
    std::vector<unsigned> i;
    std::vector<long> j;
    std::vector<T> v;
    for (std::size_t k = 0; k < m * n; ++k) {
        i.push_back(static_cast<unsigned>(k % m));
        j.push_back(static_cast<long>(k / m));
        const auto part = [&random] { return static_cast<double>(random() % 3); };
        if constexpr (zqspmatrix::detail::isComplexNumber<T>) {
            v.emplace_back(part(), part());
        } else {
            v.push_back(static_cast<T>(part()));
        }
    }
    return zqspmatrix::BasicMatrix<T>::from_triplets(m, n, i, j, v);
}

} // namespace zqsp::test

#endif
