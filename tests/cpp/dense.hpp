// A dense matrix that says what each call of the C++ interface must give.
#ifndef ZQSP_TESTS_CPP_DENSE_HPP
#define ZQSP_TESTS_CPP_DENSE_HPP

#include <zqspmatrix.hpp>

#include <algorithm>
#include <random>
#include <vector>

namespace zqsp::test {

using Indices = std::vector<std::size_t>;

template <typename T>
struct Dense
{
    std::size_t m;
    std::size_t n;
    std::vector<T> values; ///< by columns

    Dense(std::size_t rows, std::size_t columns) : m(rows), n(columns), values(rows * columns) {}
    explicit Dense(const zqspmatrix::BasicView<T>& matrix) : Dense(matrix.rows(), matrix.cols())
    {
        matrix.for_each([&](std::size_t i, std::size_t j, T value) { values[i + j * m] = value; });
    }

    Dense get(const Indices& I, const Indices& J) const
    {
        Dense result(I.size(), J.size());
        for (std::size_t j = 0; j < J.size(); ++j) {
            for (std::size_t i = 0; i < I.size(); ++i) {
                result.values[i + j * result.m] = values[I[i] + J[j] * m];
            }
        }
        return result;
    }
    void grow(std::size_t rows, std::size_t columns)
    {
        Dense larger(std::max(m, rows), std::max(n, columns));
        for (std::size_t e = 0; e < values.size(); ++e) {
            larger.values[e % m + e / m * larger.m] = values[e];
        }
        *this = larger;
    }
    void set(const Indices& I, const Indices& J, const Dense& B)
    {
        if (!I.empty() && !J.empty()) {
            grow(std::ranges::max(I) + 1, std::ranges::max(J) + 1);
        }
        for (std::size_t j = 0; j < J.size(); ++j) {
            for (std::size_t i = 0; i < I.size(); ++i) {
                values[I[i] + J[j] * m] = B.values.size() == 1 ? B.values[0] : B.values[i + j * B.m];
            }
        }
    }
    /// The indices below `extent` that are not among those given.
    static Indices others(const Indices& gone, std::size_t extent)
    {
        Indices kept;
        for (std::size_t k = 0; k < extent; ++k) {
            if (std::ranges::find(gone, k) == gone.end()) {
                kept.push_back(k);
            }
        }
        return kept;
    }
    bool operator==(const Dense&) const = default;
};

template <typename T>
T drawValue(std::mt19937& random)
{
    if constexpr (zqspmatrix::detail::isComplexNumber<T>) {
        return {static_cast<double>(random() % 3), static_cast<double>(random() % 3)};
    } else {
        return static_cast<T>(random() % 3);
    }
}

/// A matrix of which about half is stored, by way of triplets.
template <typename T>
zqspmatrix::BasicMatrix<T> draw(std::size_t m, std::size_t n, std::mt19937& random)
{
    std::vector<unsigned> i;
    std::vector<long> j;
    std::vector<T> v;
    for (std::size_t k = 0; k < m * n; ++k) {
        i.push_back(static_cast<unsigned>(k % m));
        j.push_back(static_cast<long>(k / m));
        v.push_back(drawValue<T>(random));
    }
    return zqspmatrix::BasicMatrix<T>::from_triplets(m, n, i, j, v);
}

} // namespace zqsp::test

#endif
