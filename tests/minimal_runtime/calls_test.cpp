// The exports on the minimal runtime, whose results are written out.
#include "minimal_runtime.hpp"

#include <fl_except.hpp>
#include <zqspmatrix.h>

#include <gtest/gtest.h>

#include <complex>
#include <initializer_list>
#include <memory>
#include <stdexcept>
#include <vector>

namespace {

using namespace minrt;

using Value = std::complex<double>;
using Rows = std::vector<std::vector<Value>>;
using Array = std::unique_ptr<kxArray, decltype(&kxDestroyArray)>;

Array own(kxArray* array)
{
    return {array, &kxDestroyArray};
}

Array row(std::initializer_list<double> values)
{
    Array array = own(kxCreateDoubleMatrix(1, static_cast<unsigned>(values.size()), kxREAL));
    std::copy(values.begin(), values.end(), static_cast<double*>(array->pr));
    return array;
}

Array mask(std::initializer_list<bool> values)
{
    Array array = own(createMask(static_cast<unsigned>(values.size())));
    std::copy(values.begin(), values.end(), kxGetLogicals(array.get()));
    return array;
}

const Value kC{4, -4};

/// {1 0 9; 0 6 0; c 8 12}, real with c = 4.
Array matrix(kxComplexity complexity)
{
    const double values[] = {1, 0, 4, 0, 6, 8, 9, 0, 12};
    const Array full = own(kxCreateDoubleMatrix(3, 3, complexity));
    std::copy(std::begin(values), std::end(values), static_cast<double*>(full->pr));
    if (complexity == kxCOMPLEX) {
        static_cast<double*>(full->pi)[2] = -4;
    }
    return own(kxMustBeSparse(full.get()));
}

/// The elements by rows; checks on the way that rows ascend within each column.
Rows rowsOf(const Array& array)
{
    Rows rows(array->get_dimensions()[0], std::vector<Value>(kxGetN(array.get())));
    EXPECT_EQ(array->jc[0], 0U);
    for (unsigned j = 0; j < kxGetN(array.get()); ++j) {
        for (unsigned e = array->jc[j]; e < array->jc[j + 1]; ++e) {
            EXPECT_TRUE(e == array->jc[j] || array->ir[e - 1] < array->ir[e]);
            rows.at(array->ir[e])[j] = {static_cast<double*>(array->pr)[e],
                                        array->pi != nullptr ? static_cast<double*>(array->pi)[e] : 0};
        }
    }
    return rows;
}

class MinimalRuntime : public ::testing::Test
{
  protected:
    void TearDown() override { EXPECT_EQ(blocksInUse(), before_); }

  private:
    std::size_t before_ = blocksInUse();
};

TEST_F(MinimalRuntime, References)
{
    const Array a = matrix(kxCOMPLEX);
    const auto result = [](auto call) {
        kxArray* array = nullptr;
        EXPECT_EQ(call(&array), spOK);
        return rowsOf(own(array));
    };
    const Array list = row({3, 1, 3});
    const Array down = own(createRange(3, -1, 1));
    const Array colon = own(createColon());
    const Array some = mask({true, false, true});
    EXPECT_EQ(result([&](kxArray** out) { return spRef2(a.get(), out); }),
              (Rows{{1}, {0}, {kC}, {0}, {6}, {8}, {9}, {0}, {12}}));
    EXPECT_EQ(result([&](kxArray** out) { return spRef3(a.get(), list.get(), out); }), (Rows{{kC, 1, kC}}));
    EXPECT_EQ(result([&](kxArray** out) { return spRef4(a.get(), down.get(), out); }),
              (Rows{{9, 0, 1}, {0, 6, 0}, {12, 8, kC}}));
    EXPECT_EQ(result([&](kxArray** out) { return spRef5(a.get(), list.get(), out); }),
              (Rows{{kC, 8, 12}, {1, 0, 9}, {kC, 8, 12}}));
    EXPECT_EQ(result([&](kxArray** out) { return spRef6(a.get(), list.get(), some.get(), out); }),
              (Rows{{kC, 12}, {1, 9}, {kC, 12}}));
    EXPECT_EQ(result([&](kxArray** out) { return spRef6(a.get(), colon.get(), colon.get(), out); }), rowsOf(a));
    const unsigned rows[] = {2, 0};
    EXPECT_EQ(rowsOf(own(kxSparseReference(a.get(), rows, 2, nullptr, 0))), (Rows{{kC, 8, 12}, {1, 0, 9}}));
    EXPECT_EQ(rowsOf(own(kxSparseColonReference(a.get(), 1, 2, 3, 3, -2, 1))), (Rows{{9, 1}, {12, kC}}));
}

TEST_F(MinimalRuntime, AssignmentsDeletionsAndReshape)
{
    const Array a = matrix(kxREAL); // to begin with
    const Array b = matrix(kxCOMPLEX);
    const Array seven = row({7});
    EXPECT_EQ(spAss4(a.get(), b.get(), row({4, 1, 3}).get()), spOK);
    EXPECT_EQ(rowsOf(a), (Rows{{0, 0, 9, 1}, {6, 6, 0, 0}, {8, 8, 12, kC}}));
    EXPECT_EQ(spAss5(a.get(), row({1, 2, 0, 3}).get(), row({4}).get()), spOK);
    EXPECT_EQ(spAss6(a.get(), seven.get(), row({2, 1}).get(), mask({false, true}).get()), spOK);
    EXPECT_EQ(rowsOf(a), (Rows{{0, 7, 9, 1}, {6, 7, 0, 0}, {8, 8, 12, kC}, {1, 2, 0, 3}}));
    EXPECT_EQ(spAss3(a.get(), seven.get(), own(createRange(2, 5, 16)).get()), spOK);
    EXPECT_EQ(rowsOf(a), (Rows{{0, 7, 9, 1}, {7, 7, 0, 0}, {8, 7, 12, kC}, {1, 2, 7, 3}}));

    EXPECT_EQ(spDeleteRows(a.get(), row({2, 2}).get()), spOK);
    EXPECT_EQ(spDeleteColumns(a.get(), own(createRange(1, 2, 3)).get()), spOK);
    EXPECT_EQ(rowsOf(a), (Rows{{7, 1}, {7, kC}, {2, 3}}));
    EXPECT_EQ(spAss4(a.get(), a.get(), row({2, 3}).get()), spOK); // the target is its own right side
    EXPECT_EQ(rowsOf(a), (Rows{{7, 7, 1}, {7, 7, kC}, {2, 2, 3}}));
    EXPECT_TRUE(spReshapeOk(3, 3, 1, 9));
    spReshape(a.get(), 1, 9);
    EXPECT_EQ(spDeleteElements(a.get(), row({9, 1, 4}).get()), spOK);
    EXPECT_EQ(rowsOf(a), (Rows{{7, 2, 7, 2, 1, kC}}));
    EXPECT_EQ(spAss3(a.get(), row({0}).get(), own(createColon()).get()), spOK);
    EXPECT_EQ(rowsOf(a), (Rows{{0, 0, 0, 0, 0, 0}}));
}

TEST_F(MinimalRuntime, ErrorsAndLimits)
{
    using TooLarge = fl::except::Exception<ZENTAR::legacy_two_part::pmaxsize, std::exception>;
    const Array a = matrix(kxCOMPLEX);
    const Array one = row({1});
    const Rows before = rowsOf(a);
    kxArray* out = nullptr;
    EXPECT_EQ(spRef5(a.get(), row({0.5}).get(), &out), spIndexBelowOne);
    EXPECT_EQ(spRef4(a.get(), row({4}).get(), &out), spIndexOutOfRange);
    EXPECT_EQ(spDeleteRows(a.get(), row({5}).get()), spIndexToRemoveOutOfRange);
    EXPECT_EQ(spAss4(a.get(), one.get(), row({kMaxElements + 1.0}).get()), spIndexExceedsMaxSize);
    EXPECT_THROW(spAss6(a.get(), one.get(), one.get(), row({kMaxElements / 2.0}).get()), TooLarge);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(rowsOf(a), before);
    EXPECT_THROW(kxHandleSparseSubscriptError(spIndexOutOfRange), std::out_of_range);
    EXPECT_THROW(kxHandleSparseSubscriptError(spIndexExceedsMaxSize), TooLarge);
}

} // namespace
