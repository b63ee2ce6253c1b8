// Matrices of every element type against the dense model, by every kind of subscript.
#include "dense.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <map>
#include <thread>

namespace zqsp::test {
namespace {

using namespace zqspmatrix;

template <typename T>
struct CppMatrix : public testing::Test
{
};
using Types = testing::Types<double, std::complex<double>, bool, float, std::int16_t, std::uint64_t>;
TYPED_TEST_SUITE(CppMatrix, Types);

/// Calls `use(subscript, indices it selects)` with a random subscript of each kind for a dimension of `extent`.
template <typename F>
void withEachSubscript(std::size_t extent, std::mt19937& random, F use)
{
    const auto index = [&] { return random() % extent; };
    Indices everything(extent);
    std::iota(everything.begin(), everything.end(), 0U);
    use(all, everything);

    const std::size_t one = index();
    use(static_cast<signed char>(one), Indices{one});

    const std::size_t first = index();
    const std::size_t last = index();
    Indices ascending;
    Indices descending;
    for (std::size_t k = first; k <= last; k += 2) {
        ascending.push_back(k);
    }
    for (std::size_t k = first + 1; k-- > last;) {
        descending.push_back(k);
    }
    use(range(first, last, 2), ascending);
    use(range(static_cast<int>(first), static_cast<int>(last), -1), descending);

    Indices list;
    std::vector<bool> bits(extent);
    for (std::size_t k = random() % 5; k > 0; --k) {
        list.push_back(index());
        bits[list.back()] = true;
    }
    use(std::vector<std::uint16_t>(list.begin(), list.end()), list);
    use(std::vector<long>(list.begin(), list.end()), list);
    const Indices selected = Dense<bool>::others(Dense<bool>::others(list, extent), extent);
    use(bits, selected);
    const auto flags = std::make_unique<bool[]>(extent);
    std::ranges::copy(bits, flags.get());
    use(std::span<const bool>(flags.get(), extent), selected);
    const std::vector<bool> yes(selected.size(), true);
    use(BasicMatrix<bool>::from_triplets(extent, 1, selected, std::vector<int>(selected.size()), yes), selected);
}

TYPED_TEST(CppMatrix, DoesWhatTheDenseModelDoes)
{
    using T = TypeParam;
    std::mt19937 random(7);
    for (int round = 0; round < 6; ++round) {
        const BasicMatrix<T> A = draw<T>(5 + random() % 3, 4 + random() % 3, random);
        const Dense<T> a(A);
        withEachSubscript(a.m, random, [&](const auto& I, const Indices& i) {
            withEachSubscript(a.n, random, [&](const auto& J, const Indices& j) {
                ASSERT_EQ(Dense<T>(A.get(I, J)), a.get(i, j));
                // Of repeated subscripts the last wins, in the model too.
                const BasicMatrix<T> B = draw<T>(i.size(), j.size(), random);
                for (const BasicMatrix<T>& value : {B, draw<T>(1, 1, random)}) {
                    BasicMatrix<T> changed = A;
                    Dense<T> expected = a;
                    changed.set(I, J, value);
                    expected.set(i, j, Dense<T>(value));
                    ASSERT_EQ(Dense<T>(changed), expected);
                }
            });
            BasicMatrix<T> fewer = A;
            fewer.erase_rows(I);
            Indices columns(a.n);
            std::iota(columns.begin(), columns.end(), 0U);
            ASSERT_EQ(Dense<T>(fewer), a.get(Dense<T>::others(i, a.m), columns));
        });
        withEachSubscript(a.m * a.n, random, [&](const auto& K, const Indices& k) {
            Dense<T> column = a;
            column.m = a.m * a.n;
            column.n = 1;
            const BasicMatrix<T> picked = A.get(K);
            ASSERT_EQ(Dense<T>(picked), column.get(k, {0}));
            BasicMatrix<T> changed = A;
            changed.set(K, picked); // what is there already
            ASSERT_EQ(Dense<T>(changed), a);
            changed.set(K, T(1));
            column.set(k, {0}, Dense<T>(BasicMatrix<T>::from_triplets(1, 1, {0}, {0}, {T(1)})));
            ASSERT_EQ(Dense<T>(changed).values, column.values);
        });
    }
    EXPECT_EQ(kxrt::live_blocks(), 0U);
}

TYPED_TEST(CppMatrix, ReadsGrowsReshapesAndMoves)
{
    using T = TypeParam;
    std::mt19937 random(8);
    BasicMatrix<T> A = draw<T>(4, 6, random);
    Dense<T> a(A);
    for (std::size_t k = 0; k < a.values.size(); ++k) {
        ASSERT_EQ(A(k % 4, static_cast<int>(k / 4)), a.values[k]);
    }
    A.set(6, 8, T(1));
    a.set({6}, {8}, Dense<T>(A.get(6, 8)));
    EXPECT_EQ(Dense<T>(A), a);
    A.erase_columns({8, 0, 8});
    A.erase_rows(std::vector{6, 5, 4});
    a = a.get({0, 1, 2, 3}, {1, 2, 3, 4, 5, 6, 7});
    EXPECT_EQ(Dense<T>(A), a);
    A.reshape(7, 4);
    EXPECT_EQ(Dense<T>(A).values, a.values);

    const unsigned* block = A.row_indices().data();
    BasicMatrix<T> moved = std::move(A);
    EXPECT_EQ(moved.row_indices().data(), block);
    A = moved;
    EXPECT_NE(A.row_indices().data(), block);
    moved.set(all, T(0));
    EXPECT_EQ(Dense<T>(A).values, a.values);
    EXPECT_EQ(moved.nonzeros(), 0U);
    EXPECT_EQ(A.values().size(), A.nonzeros());

    A.erase({0, 1, 27});
    EXPECT_EQ(A.rows(), 1U);
    EXPECT_EQ(Dense<T>(A).values, std::vector<T>(a.values.begin() + 2, a.values.end() - 1));
    EXPECT_EQ(A.get(range(0, 3)).cols(), 4U); // of a row a row
    A.set(30, T(1));
    EXPECT_EQ(A.cols(), 31U);
}

TEST(CppMatrix, AddsUpTriplets)
{
    const Matrix A = Matrix::from_triplets(3, 2, {2, 0, 2, 1, 1, 0}, {1, 1, 1, 0, 0, 0}, {1., 2., 4., 3., -3., 0.});
    EXPECT_EQ(std::vector<double>(A.values().begin(), A.values().end()), (std::vector<double>{2, 5}));
    EXPECT_EQ(A(2, 1), 5);
    EXPECT_EQ(A.nonzeros(), 2U); // what is zero in the end is not stored
    const auto L = BasicMatrix<bool>::from_triplets(1, 1, {0, 0}, {0, 0}, {true, true});
    EXPECT_TRUE(L(0, 0));
}

TEST(CppMatrix, TakesValuesOfOtherTypes)
{
    Matrix A(2, 2);
    A.set(0, all, BasicMatrix<bool>::from_triplets(1, 2, {0}, {1}, {true}));
    A.set(1, all, std::vector<std::int64_t>{5, -3});
    EXPECT_EQ(Dense<double>(A).values, (std::vector<double>{0, 5, 1, -3}));
    A.set(all, all, A.get({1, 0}, all));
    A.set({0, 1}, range(2, 3), A); // the matrix itself as value
    EXPECT_EQ(Dense<double>(A).values, (std::vector<double>{5, 0, -3, 1, 5, 0, -3, 1}));
    BasicMatrix<std::complex<double>> Z(1, 1);
    Z.set(0, all, 3);
    Z.set(0, 1, std::complex<float>(1, 2));
    Z.set(0, 2, A.get(0, 0));
    EXPECT_EQ(Z.values(), (std::vector<std::complex<double>>{3, {1, 2}, 5}));
    BasicMatrix<std::int8_t> I(1, 2);
    I.set(all, std::vector<double>{2.5, 1000});
    EXPECT_EQ(I(0, 0), 3);
    EXPECT_EQ(I(0, 1), 127);
}

/// A failing call, its status and what its text must hold.
struct Failure
{
    std::function<void(Matrix&)> call;
    int status;
    const char* text;
};

TEST(CppMatrix, SaysWhatFailedAndChangesNothing)
{
    using Numbers = std::vector<int>;
    const std::map<int, std::string> identifiers = {
        {0, "kx:invalidOperand"},
        {1, "ZENTAR:legacy_two_part:index_assign_element_count_mismatch"},
        {2, "kx:subscript:notPositiveInteger"},
        {3, "ZENTAR:legacy_two_part:indexed_matrix_cannot_be_resized"},
        {5, "ZENTAR:legacy_two_part:index_to_remove_exceeds_matrix_dimensions"},
        {8, "ZENTAR:legacy_two_part:subsassigndimmismatch"},
        {9, "kx:subscript:outOfRange"},
        {10, "ZENTAR:legacy_two_part:pmaxsize"}};
    const auto far = std::uint64_t{1} << 63;
    const std::vector<bool> mask = {false, true, false, false, true};
    const auto L = BasicMatrix<bool>::from_triplets(1, 13, {0, 0}, {3, 12}, {true, true});
    const Numbers two = {0, 1};
    const Numbers three = {1, 2, 3};
    const Numbers beyond = {1, 4};
    const std::vector<double> values = {1, 2};
    const Failure failures[] = {
        {[](Matrix& A) { (void)A(4, 0); }, 9, "row 4 lies outside the 4-by-3 matrix"},
        {[](Matrix& A) { (void)A(0, -1); }, 9, "column -1 lies outside"},
        {[&](Matrix& A) { (void)A.get(beyond, 0); }, 9,
         "row 4 (number 1 of its list, from 0) lies outside 0 to 3, the rows of the 4-by-3 matrix"},
        {[](Matrix& A) { (void)A.get(0, range(0, 3)); }, 9, "column 3 lies outside 0 to 2"},
        {[](Matrix& A) { (void)A.get(-2, 0); }, 2, "row -2 lies outside"},
        {[](Matrix& A) { (void)A.get(range(-1, 2)); }, 2, "element -1 lies"},
        {[=](Matrix& A) { (void)A.get(far, 0); }, 10, "row 9223372036854775808 lies"},
        {[=](Matrix& A) { (void)A.get(mask, 0); }, 9, "row 4 lies"},
        {[](Matrix& A) { (void)A.get({}, 0).get(0, 0); }, 9, "the 0-by-1 matrix has no rows"},
        {[&](Matrix& A) { A.erase(L); }, 5, "element 12 lies outside 0 to 11"},
        {[](Matrix& A) { A.erase_columns(3); }, 5, "column 3 lies outside 0 to 2"},
        {[&](Matrix& A) { A.set(two, 0, three); }, 8,
         "a 3-by-1 value does not fit a selection of 2 row(s) and 1 column(s)"},
        {[&](Matrix& A) { A.set(two, three); }, 1, "a selection of 2 element(s)"},
        {[](Matrix& A) { A.set(12, 7); }, 3, "element 12 lies past the end of the 4-by-3 matrix"},
        {[](Matrix& A) { A.set(3000000000U, 0, 7); }, 10,
         "row 3000000000 lies outside 0 to 2147483646, the indices that a matrix can have"},
        {[](Matrix& A) { A.set(0, {-1}, 7); }, 2, "column -1"},
        {[](Matrix& A) { A.reshape(5, 2); }, 0, "a 4-by-3 matrix cannot become 5-by-2"},
        {[](Matrix& A) { A = Matrix(-1, 2); }, 0, "-1 is no number of rows"},
        {[](Matrix& A) { A = Matrix(2, far); }, 0, "no number of columns"},
        {[](Matrix& A) { A.erase_rows(range(0, 3, 0)); }, 0, "a step other than 0"},
        {[&](Matrix& A) { A = Matrix::from_triplets(2, 2, beyond, two, values); }, 9,
         "row 4 of triplet 1 lies outside"},
        {[&](Matrix& A) { A = Matrix::from_triplets(2, 2, {0}, two, values); }, 0, "not 1 and 2 for 2"},
    };
    std::mt19937 random(9);
    const Matrix before = draw<double>(4, 3, random);
    Matrix A = before;
    const auto expectFailure = [&](const Failure& failure, const std::string& identifier) {
        SCOPED_TRACE(failure.text);
        try {
            failure.call(A);
            ADD_FAILURE() << "nothing thrown";
        } catch (const Error& error) {
            EXPECT_EQ(error.status(), failure.status);
            EXPECT_EQ(error.identifier(), identifier);
            EXPECT_NE(std::string(error.what()).find(failure.text), std::string::npos) << error.what();
        }
        EXPECT_EQ(Dense<double>(A), Dense<double>(before));
    };
    for (const Failure& failure : failures) {
        expectFailure(failure, identifiers.at(failure.status));
    }
    expectFailure({[&](Matrix& M) { M.set(all, three); }, 0, "a selection of 12 element(s)"},
                  "ZENTAR:legacy_two_part:colon_index_assign_element_count_mismatch");
}

TEST(CppMatrix, SurvivesEachFailingAllocation)
{
    std::mt19937 random(10);
    const Matrix before = draw<double>(6, 5, random);
    const Matrix B = draw<double>(2, 5, random);
    for (long n = 1, failed = 1; failed != 0; ++n) {
        Matrix A = before;
        const std::size_t blocks = kxrt::live_blocks();
        kxrt::fail_allocation_after(n);
        try {
            A.set({7, 1}, all, B);
            A.erase_rows({7, 6}); // back to what can be compared
            failed = 0;
        } catch (const Error& error) {
            EXPECT_EQ(error.identifier(), "kx:outOfMemory");
            EXPECT_EQ(kxrt::live_blocks(), blocks);
            EXPECT_EQ(Dense<double>(A.get(range(2, 5), all)), Dense<double>(before.get(range(2, 5), all)));
            EXPECT_TRUE(A.rows() == 8 || Dense<double>(A) == Dense<double>(before));
        }
        kxrt::fail_allocation_after(-1);
    }
}

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
