// Every export on the minimal runtime, against plain loops over dense values.
#include "minimal_runtime.hpp"

#include <fl_except.hpp>
#include <zqspmatrix.h>

#include <gtest/gtest.h>

#include <complex>
#include <functional>
#include <memory>
#include <vector>

namespace {

using namespace minrt;

using Value = std::complex<double>;
using Numbers = std::vector<double>;
using Array = std::unique_ptr<kxArray, decltype(&kxDestroyArray)>;

Array own(kxArray* array)
{
    return {array, &kxDestroyArray};
}

Array row(const Numbers& values)
{
    Array array = own(kxCreateDoubleMatrix(1, static_cast<unsigned>(values.size()), kxREAL));
    std::copy(values.begin(), values.end(), static_cast<double*>(array->pr));
    return array;
}

Array mask(const std::vector<int>& values)
{
    Array array = own(createMask(1, static_cast<unsigned>(values.size())));
    std::copy(values.begin(), values.end(), kxGetLogicals(array.get()));
    return array;
}

/// A 4-by-3 matrix, real or complex.
Array matrix(kxComplexity complexity = kxREAL)
{
    const double values[] = {1, 0, 0, 4, 0, 6, 0, 8, 9, 0, 0, 12};
    const Array full = own(kxCreateDoubleMatrix(4, 3, complexity));
    std::copy(std::begin(values), std::end(values), static_cast<double*>(full->pr));
    if (complexity == kxCOMPLEX) {
        static_cast<double*>(full->pi)[3] = -4;
    }
    return own(kxMustBeSparse(full.get()));
}

/// The elements in column order; checks on the way that rows ascend within each column.
std::vector<Value> dense(const kxArray* array)
{
    const unsigned m = array->get_dimensions()[0];
    const unsigned n = kxGetN(array);
    std::vector<Value> values(std::size_t{m} * n);
    EXPECT_EQ(array->jc[0], 0U);
    EXPECT_LE(array->jc[n], array->nzmax);
    for (unsigned j = 0; j < n; ++j) {
        for (unsigned e = array->jc[j]; e < array->jc[j + 1]; ++e) {
            EXPECT_TRUE(e == array->jc[j] || array->ir[e - 1] < array->ir[e]);
            values[std::size_t{j} * m + array->ir[e]] = {static_cast<double*>(array->pr)[e],
                                                         array->pi ? static_cast<double*>(array->pi)[e] : 0};
        }
    }
    return values;
}

/// What `array` must hold: m-by-n, element (i, j) as `element` says (0-based).
void expect(const kxArray* array, unsigned m, unsigned n, const std::function<Value(unsigned, unsigned)>& element)
{
    ASSERT_EQ(array->get_dimensions()[0], m);
    ASSERT_EQ(kxGetN(array), n);
    std::vector<Value> expected;
    for (unsigned j = 0; j < n; ++j) {
        for (unsigned i = 0; i < m; ++i) {
            expected.push_back(element(i, j));
        }
    }
    EXPECT_EQ(dense(array), expected);
}

class MinimalRuntime : public ::testing::TestWithParam<kxComplexity>
{
  protected:
    void TearDown() override { EXPECT_EQ(blocksInUse(), before_); }

  private:
    std::size_t before_ = blocksInUse();
};

TEST_P(MinimalRuntime, References)
{
    const Array a = matrix(GetParam());
    const std::vector<Value> v = dense(a.get());
    const auto at = [&](unsigned i, unsigned j) { return v[std::size_t{j} * 4 + i]; };
    const auto result = [&](auto call) {
        kxArray* array = nullptr;
        EXPECT_EQ(call(&array), spOK);
        return own(array);
    };
    const Array list = row({3, 1, 3});
    const Array range = own(createRange(3, -1, 1));
    const Array colon = own(createColon());
    const Array some = mask({1, 0, 1});

    expect(result([&](kxArray** out) { return spRef2(a.get(), out); }).get(), 12, 1,
           [&](unsigned i, unsigned) { return v[i]; });
    expect(result([&](kxArray** out) { return spRef3(a.get(), list.get(), out); }).get(), 1, 3,
           [&](unsigned, unsigned j) { return v[j == 1 ? 0 : 2]; });
    expect(result([&](kxArray** out) { return spRef4(a.get(), range.get(), out); }).get(), 4, 3,
           [&](unsigned i, unsigned j) { return at(i, 2 - j); });
    expect(result([&](kxArray** out) { return spRef5(a.get(), list.get(), out); }).get(), 3, 3,
           [&](unsigned i, unsigned j) { return at(i == 1 ? 0 : 2, j); });
    expect(result([&](kxArray** out) { return spRef6(a.get(), list.get(), some.get(), out); }).get(), 3, 2,
           [&](unsigned i, unsigned j) { return at(i == 1 ? 0 : 2, 2 * j); });
    expect(result([&](kxArray** out) { return spRef6(a.get(), colon.get(), colon.get(), out); }).get(), 4, 3, at);

    const unsigned rows[] = {3, 0};
    expect(own(kxSparseReference(a.get(), rows, 2, nullptr, 0)).get(), 2, 3,
           [&](unsigned i, unsigned j) { return at(rows[i], j); });
    expect(own(kxSparseColonReference(a.get(), 2, 2, 4, 3, -2, 1)).get(), 2, 2,
           [&](unsigned i, unsigned j) { return at(1 + 2 * i, 2 - 2 * j); });
}

TEST_P(MinimalRuntime, Assignments)
{
    const Array b = matrix(GetParam());
    const std::vector<Value> v = dense(b.get());
    const auto at = [&](unsigned i, unsigned j) { return i < 4 && j < 3 ? v[std::size_t{j} * 4 + i] : Value(); };
    const Array seven = row({7});
    const Array list = row({6, 2, 5, 1});
    const Array colon = own(createColon());

    Array a = matrix(); // a target that is real to begin with
    EXPECT_EQ(spAss4(a.get(), b.get(), row({5, 1, 4}).get()), spOK);
    const std::vector<Value> old = dense(matrix().get());
    expect(a.get(), 4, 5, [&](unsigned i, unsigned j) {
        return j == 4 ? at(i, 0) : j == 0 ? at(i, 1) : j == 3 ? at(i, 2) : old[std::size_t{j} * 4 + i];
    });

    a = matrix(GetParam());
    EXPECT_EQ(spAss5(a.get(), b.get(), list.get()), spOK); // row k of b goes to row list(k)
    expect(a.get(), 6, 3, [&](unsigned i, unsigned j) {
        const int from[] = {3, 1, -1, -1, 2, 0};
        return from[i] >= 0 ? at(static_cast<unsigned>(from[i]), j) : at(i, j);
    });

    a = matrix(GetParam());
    EXPECT_EQ(spAss6(a.get(), seven.get(), list.get(), mask({0, 1}).get()), spOK);
    expect(a.get(), 6, 3, [&](unsigned i, unsigned j) { return j == 1 && i != 2 && i != 3 ? Value(7) : at(i, j); });

    a = matrix(GetParam());
    EXPECT_EQ(spAss3(a.get(), seven.get(), own(createRange(2, 3, 12)).get()), spOK);
    expect(a.get(), 4, 3, [&](unsigned i, unsigned j) { return (4 * j + i) % 3 == 1 ? Value(7) : at(i, j); });

    EXPECT_EQ(spAss4(a.get(), a.get(), own(createRange(4, 1, 6)).get()), spOK); // the target is its own right side
    expect(a.get(), 4, 6, [&](unsigned i, unsigned j) { return (4 * (j % 3) + i) % 3 == 1 ? Value(7) : at(i, j % 3); });

    EXPECT_EQ(spAss3(a.get(), own(kxCreateDoubleMatrix(1, 1, kxREAL)).get(), colon.get()), spOK);
    expect(a.get(), 4, 6, [](unsigned, unsigned) { return Value(); });
}

TEST_P(MinimalRuntime, DeletionsAndReshape)
{
    const Array a = matrix(GetParam());
    const std::vector<Value> v = dense(a.get());
    const Array first = row({1, 1});

    EXPECT_EQ(spDeleteRows(a.get(), first.get()), spOK);
    expect(a.get(), 3, 3, [&](unsigned i, unsigned j) { return v[std::size_t{j} * 4 + i + 1]; });
    EXPECT_EQ(spDeleteColumns(a.get(), first.get()), spOK);
    expect(a.get(), 3, 2, [&](unsigned i, unsigned j) { return v[std::size_t{j} * 4 + i + 5]; });
    EXPECT_TRUE(spReshapeOk(3, 2, 2, 3));
    spReshape(a.get(), 2, 3);
    const std::vector<Value> w = dense(a.get());
    EXPECT_EQ(spDeleteElements(a.get(), own(createRange(1, 2, 5)).get()), spOK);
    expect(a.get(), 1, 3, [&](unsigned, unsigned j) { return w[std::size_t{j} * 2 + 1]; });
}

TEST_P(MinimalRuntime, ErrorsAndLimits)
{
    using TooLarge = fl::except::Exception<ZENTAR::legacy_two_part::pmaxsize, std::exception>;
    const Array a = matrix(GetParam());
    const std::vector<Value> v = dense(a.get());
    kxArray* out = nullptr;

    EXPECT_EQ(spRef5(a.get(), row({0.5}).get(), &out), spIndexBelowOne);
    EXPECT_EQ(spRef4(a.get(), row({4}).get(), &out), spIndexOutOfRange);
    EXPECT_EQ(spDeleteRows(a.get(), row({5}).get()), spIndexToRemoveOutOfRange);
    EXPECT_EQ(spAss4(a.get(), row({1}).get(), row({kMaxElements + 1.0}).get()), spIndexExceedsMaxSize);
    EXPECT_THROW(spAss6(a.get(), row({1}).get(), row({1}).get(), row({kMaxElements / 2.0}).get()), TooLarge);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(dense(a.get()), v);

    EXPECT_THROW(kxHandleSparseSubscriptError(spIndexOutOfRange), std::out_of_range);
    EXPECT_THROW(kxHandleSparseSubscriptError(spIndexExceedsMaxSize), TooLarge);
}

INSTANTIATE_TEST_SUITE_P(RealAndComplex, MinimalRuntime, ::testing::Values(kxREAL, kxCOMPLEX),
                         [](const auto& parameter) { return parameter.param == kxREAL ? "Real" : "Complex"; });

} // namespace
