// Matrices in several threads, and in a forked child.
#include "dense.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include <sys/wait.h>
#include <unistd.h>

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

TEST(CppThreads, AChildGoesOnWithItsMatrices)
{
    std::mt19937 random(2);
    const Matrix shared = draw<double>(20, 10, random);
    Matrix large(1, 1);
    large.set(range(0, 999), range(0, 999), 1); // in blocks that the runtime maps
    const pid_t child = fork();
    if (child == 0) {
        large.erase_rows(range(0, 499));
        _exit(work(shared, 3) && large.nonzeros() == 500000 ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    EXPECT_EQ(large.nonzeros(), 1000000U);
}

} // namespace
} // namespace zqsp::test
