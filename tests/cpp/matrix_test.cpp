// Matrices of every element type against the models, by every kind of subscript.
#include "models.hpp"

#include <gtest/gtest.h>

#include <functional>
#include <map>

namespace zqsp::test {
namespace {

using namespace zqspmatrix;

template <typename T>
struct CppMatrix : public testing::Test
{
};
using Types = testing::Types<double, std::complex<double>, bool, float, std::int16_t, std::uint64_t>;
TYPED_TEST_SUITE(CppMatrix, Types);

/// Calls `use(subscript, the model's)` with a random subscript of each kind for a dimension of `extent`.
template <typename F>
void withEachSubscript(std::size_t extent, std::mt19937& random, F use)
{
    const auto index = [&] { return random() % extent; };
    const auto oneBased = [](std::size_t k) { return static_cast<double>(k) + 1; };
    use(all, Subscript::colon());
    const std::size_t one = index();
    use(static_cast<signed char>(one), Subscript::list({oneBased(one)}));

    const std::size_t first = index();
    const std::size_t last = index();
    use(range(first, last, 2), Subscript::range(oneBased(first), 2, oneBased(last)));
    use(range(static_cast<int>(first), static_cast<int>(last), -1),
        Subscript::range(oneBased(first), -1, oneBased(last)));

    std::vector<std::size_t> indices;
    std::vector<double> list;
    std::vector<bool> bits(extent);
    for (std::size_t k = random() % 5; k > 0; --k) {
        indices.push_back(index());
        list.push_back(oneBased(indices.back()));
        bits[indices.back()] = true;
    }
    use(std::vector<std::uint16_t>(indices.begin(), indices.end()), Subscript::list(list));
    use(std::vector<long>(indices.begin(), indices.end()), Subscript::list(list));
    const Subscript mask = Subscript::mask({bits.begin(), bits.end()});
    use(bits, mask);
    const auto flags = std::make_unique<bool[]>(extent);
    std::ranges::copy(bits, flags.get());
    use(std::span<const bool>(flags.get(), extent), mask);
    const Positions selected = maskPositions(mask);
    const std::vector<bool> yes(selected.size(), true);
    use(BasicMatrix<bool>::from_triplets(extent, 1, selected, std::vector<int>(selected.size()), yes), mask);
}

TYPED_TEST(CppMatrix, DoesWhatTheModelDoes)
{
    using T = TypeParam;
    std::mt19937 random(7);
    for (int round = 0; round < 6; ++round) {
        const BasicMatrix<T> A = drawn<T>(5 + random() % 3, 4 + random() % 3, random);
        const Model a = fromArray(A.array());
        withEachSubscript(a.m, random, [&](const auto& I, const Subscript& i) {
            withEachSubscript(a.n, random, [&](const auto& J, const Subscript& j) {
                ASSERT_EQ("", difference(A.get(I, J), refGeneral(a, i, j)));
                const BasicMatrix<T> B = drawn<T>(namedBy(i, a.m), namedBy(j, a.n), random);
                for (const BasicMatrix<T>& value : {B, drawn<T>(1, 1, random)}) {
                    BasicMatrix<T> changed = A;
                    changed.set(I, J, value);
                    const RightSide b = RightSide::of(fromArray(value.array()));
                    ASSERT_EQ("", difference(changed, assignGeneral(a, b, i, j)));
                }
            });
            BasicMatrix<T> fewer = A;
            fewer.erase_rows(I);
            ASSERT_EQ("", difference(fewer, deleteRows(a, i)));
        });
        withEachSubscript(A.rows() * A.cols(), random, [&](const auto& K, const Subscript& k) {
            const BasicMatrix<T> picked = A.get(K);
            ASSERT_EQ(elements(picked), RightSide::of(refLinear(a, k)).elements());
            ASSERT_EQ(picked.cols(), 1U);
            BasicMatrix<T> changed = A;
            changed.set(K, picked); // what is there already
            ASSERT_EQ("", difference(changed, a));
            changed.set(K, T(1));
            ASSERT_EQ("", difference(changed, assignLinear(a, RightSide::scalar(1, a.storage), k)));
        });
    }
    EXPECT_EQ(kxrt::live_blocks(), 0U);
}

TYPED_TEST(CppMatrix, ReadsGrowsReshapesAndMoves)
{
    using T = TypeParam;
    std::mt19937 random(8);
    BasicMatrix<T> A = drawn<T>(4, 6, random);
    Model a = fromArray(A.array());
    std::vector<T> values(24);
    A.for_each([&](std::size_t i, std::size_t j, T value) { values[i + 4 * j] = value; });
    for (std::size_t k = 0; k < values.size(); ++k) {
        ASSERT_EQ(A(k % 4, static_cast<int>(k / 4)), values[k]);
        ASSERT_EQ(values[k] != T(0), a.entries.contains(a.place(k)));
    }
    A.set(6, 8, T(1));
    A.erase_columns({8, 7, 6, 0, 8});
    A.erase_rows(std::vector{6, 5, 4});
    a = deleteColumns(a, Subscript::list({1}));
    EXPECT_EQ("", difference(A, a));
    A.reshape(10, 2);
    EXPECT_EQ("", difference(A, reshaped(a, 10, 2)));

    const unsigned* block = A.row_indices().data();
    BasicMatrix<T> moved = std::move(A);
    EXPECT_EQ(moved.row_indices().data(), block);
    A = moved;
    EXPECT_NE(A.row_indices().data(), block);
    moved.set(all, T(0));
    EXPECT_EQ("", difference(A, reshaped(a, 10, 2)));
    EXPECT_EQ(moved.nonzeros(), 0U);
    EXPECT_EQ(A.values().size(), A.nonzeros());

    A.erase({0, 1, 19});
    EXPECT_EQ("", difference(A, deleteElements(a, Subscript::list({1, 2, 20}))));
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
    EXPECT_EQ("", difference(A, Model::of(kReal, {{0, 1}, {5, -3}})));
    A.set(all, all, A.get({1, 0}, all));
    A.set({0, 1}, range(2, 3), A); // the matrix itself as value
    EXPECT_EQ("", difference(A, Model::of(kReal, {{5, -3, 5, -3}, {0, 1, 0, 1}})));
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
    Matrix A = drawn<double>(4, 3, random);
    const Model before = fromArray(A.array());
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
        EXPECT_EQ("", difference(A, before));
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
    const Matrix before = drawn<double>(6, 5, random);
    const Matrix B = drawn<double>(2, 5, random);
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
            EXPECT_EQ(elements(A.get(range(2, 5), all)), elements(before.get(range(2, 5), all)));
            EXPECT_TRUE(A.rows() == 8 || elements(A) == elements(before));
        }
        kxrt::fail_allocation_after(-1);
    }
}

} // namespace
} // namespace zqsp::test
