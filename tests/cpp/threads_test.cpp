// Matrices in several threads.
#include "dense.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace zqsp::test {
namespace {

using namespace zqspmatrix;

/// Reads `shared` and changes a matrix of its own; whether all went as the dense model says.
bool work(const Matrix& shared, unsigned seed)
{
    std::mt19937 random(seed);
    const Dense<double> expected(shared);
    bool right = true;
    for (int round = 0; round < 200; ++round) {
        const Indices i = {random() % 20, random() % 20};
        Matrix A = shared;
        A.set(i, all, shared.get(i, all)); // what is there already
        A.set(range(20, 29), 5, 1);
        A.erase_rows(range(29, 20, -1));
        right &= Dense<double>(A) == expected && shared.get(i, {0, 9}).rows() == 2;
    }
    return right;
}

TEST(CppThreads, ReadOneMatrixAndChangeTheirOwn)
{
    std::mt19937 random(1);
    const Matrix shared = draw<double>(20, 10, random);
    std::atomic<int> right = 0;
    {
        std::vector<std::jthread> threads;
        for (unsigned t = 0; t < 8; ++t) {
            threads.emplace_back([&, t] { right += work(shared, t) ? 1 : 0; });
        }
    }
    EXPECT_EQ(right, 8);
}

} // namespace
} // namespace zqsp::test
