// Lent arrays: what they cost, what is refused, and Eigen's matrices.
#include "models.hpp"

#include <gtest/gtest.h>
#include <zqspmatrix_eigen.hpp>

namespace zqsp::test {
namespace {

using namespace zqspmatrix;

TEST(CppView, LendsWithoutCopyAndKeepsNothing)
{
    const std::vector<int> starts = {0, 2, 2, 3};
    const std::vector<unsigned> rows = {0, 2, 1, 77}; // what lies behind the last entry is nobody's
    const std::vector<double> values = {1, 2, 3, 77};
    {
        const auto V = Matrix::view(3, 3, starts, rows, values);
        EXPECT_TRUE(V.lent());
        EXPECT_EQ(V.values().data(), values.data());
        EXPECT_EQ(V.row_indices().data(), rows.data());
        EXPECT_EQ(V.nonzeros(), 3U);
        Matrix A(V);
        EXPECT_FALSE(A.lent());
        EXPECT_EQ("", difference(V.get({2, 0}, all), Model::of(kReal, {{2, 0, 0}, {1, 0, 0}})));
        A.set(all, range(3, 5), V); // as a value, also of a matrix that is emptied and dropped afterwards
        A.set(all, all, V.get(all, {0, 1, 2, 0, 1, 2}));
        A = V.get(all, all);
        EXPECT_NE(A.values().data(), values.data());
        EXPECT_EQ(elements(A), elements(V));
    }
    EXPECT_EQ(kxrt::live_blocks(), 0U);
    EXPECT_EQ(values, (std::vector<double>{1, 2, 3, 77}));

    const std::vector<std::complex<double>> complex = {{1, 1}, {2, 0}, {3, -1}};
    const auto Z = BasicMatrix<std::complex<double>>::view(3, 3, starts, rows, complex);
    EXPECT_EQ(Z.row_indices().data(), rows.data());
    EXPECT_EQ(Z.values(), complex);
    EXPECT_EQ(Z.get(all, 2).values(), (std::vector<std::complex<double>>{{3, -1}}));
}

TEST(CppView, RefusesWhatIsNoCompressedColumns)
{
    using Ints = std::vector<int>;
    const std::vector<double> two = {1, 2};
    const auto textOf = [&](const Ints& starts, const Ints& rows, bool check = true) -> std::string {
        try {
            (void)Matrix::view(2, 2, starts, rows, two, check);
        } catch (const Error& error) {
            return error.what();
        }
        return "";
    };
    EXPECT_EQ(textOf({0, 1, 2}, {1, 0}), "");
    EXPECT_NE(textOf({0, 1}, {1, 0}, false).find("2 columns have 3 column starts, not 2"), std::string::npos);
    EXPECT_NE(textOf({0, 1, 3}, {1, 0}, false).find("end at 3, but there are 2 rows"), std::string::npos);
    EXPECT_NE(textOf({0, -1, 2}, {1, 0}), "");
    EXPECT_NE(textOf({1, 1, 2}, {1, 0}), "");
    EXPECT_NE(textOf({0, 2, 2}, {1, 0}).find("not behind row 2"), std::string::npos);
    EXPECT_NE(textOf({0, 1, 2}, {1, 2}).find("lies in row 3 of 2"), std::string::npos);
    EXPECT_EQ(textOf({0, 1, 2}, {1, 2}, false), ""); // the caller's word

    const Ints starts = {0, 1, 2};
    const Ints rows = {0, 1};
    const bool flags[] = {true, false};
    EXPECT_THROW((void)BasicMatrix<bool>::view(2, 2, starts, rows, std::span(flags)), Error);
}

template <typename T>
struct CppEigen : public testing::Test
{
};
using Lendable = testing::Types<double, float, std::complex<double>>;
TYPED_TEST_SUITE(CppEigen, Lendable);

TYPED_TEST(CppEigen, GoesThereAndBack)
{
    using T = TypeParam;
    std::mt19937 random(3);
    const BasicMatrix<T> A = drawn<T>(5, 4, random);
    EigenMatrix<T> E = to_eigen(A);
    EXPECT_TRUE(E.isCompressed());
    {
        const auto lent = view(E);
        EXPECT_EQ(lent.row_indices().data(), reinterpret_cast<const unsigned*>(E.innerIndexPtr()));
        EXPECT_EQ(elements(lent), elements(A));
    }
    E.uncompress();
    E.coeffRef(4, 3) = T(9);
    const auto copied = view(E); // not compressed: a copy
    EXPECT_FALSE(copied.lent());
    EXPECT_EQ(copied(4, 3), T(9));
    const EigenMatrix<T> nothing(3, 0);
    EXPECT_EQ(to_eigen(view(nothing)).rows(), 3);
}

} // namespace
} // namespace zqsp::test
