// Size checks and ranges.
#include "arrays.hpp"

#include <climits>

namespace zqsp::test::runtime {
namespace {

using LimitsTest = RuntimeTest;

TEST_F(LimitsTest, ProductsAreCheckedAtTheEdges)
{
    unsigned product = 0;
    EXPECT_TRUE(kxCheckMN_nothrow(1, 0x7FFFFFFF, 1, &product));
    EXPECT_EQ(product, 0x7FFFFFFFU);
    EXPECT_FALSE(kxCheckMN_nothrow(2, 0x40000000, 1, &product));
    EXPECT_EQ(product, 0x7FFFFFFFU);
    EXPECT_FALSE(kxCheckMN_nothrow(65536, 65536, 1, nullptr)); // wraps to 0 in 32 bits
    EXPECT_TRUE(kxCheckMN_nothrow(1, 0x1FFFFFFF, 8, nullptr));
    EXPECT_FALSE(kxCheckMN_nothrow(1, 0x20000000, 8, nullptr)); // the bytes no longer fit
    EXPECT_TRUE(kxCheckMN_nothrow(0, UINT_MAX, 8, &product));
    EXPECT_EQ(product, 0U);

    kxrt::set_max_number_of_elements(100);
    EXPECT_EQ(kxGetMaxNumberOfElements(), 100U);
    EXPECT_TRUE(kxCheckMNForIndexing_nothrow(10, 10, &product));
    EXPECT_EQ(product, 100U);
    EXPECT_FALSE(kxCheckMNForIndexing_nothrow(101, 1, &product));

    EXPECT_EQ(kxCheckMN(65535, 65537, 1), UINT_MAX);
    EXPECT_EQ(errorOf([] { kxCheckMN(65536, 65536, 1); }), "kx:sizeLimit");
    EXPECT_EQ(errorOf([] { kxCheckMN(1U << 22U, 1U << 21U, 1U << 21U); }), "kx:sizeLimit");
    EXPECT_EQ(kxCheckMN(UINT_MAX, UINT_MAX, 0), 0U);
}

TEST_F(LimitsTest, SubscriptValuesAreTruncatedOrRefused)
{
    for (const double none : {0.0, -3.0, 0.99, kNaN, kInf, -kInf}) {
        EXPECT_EQ(kxCheckIndex(none), 0U) << none;
    }
    EXPECT_EQ(kxCheckIndex(2.9), 2U);
    EXPECT_EQ(kxCheckIndex(0x7FFFFFFF), 0x7FFFFFFFU);
    EXPECT_EQ(errorOf([] { kxCheckIndex(0x7FFFFFFF + 0.5); }), "kx:sizeLimit");
    EXPECT_EQ(errorOf([] { kxCheckIndex(1e300); }), "kx:sizeLimit");
}

TEST_F(LimitsTest, RangesHaveTheExpectedCounts)
{
    const struct
    {
        double start, step, stop;
        unsigned count;
    } cases[] = {{1, 1, 5, 5},      {5, -1, 1, 5},    {1, 2, 6, 3},
                 {3, 1, 1, 0},      {1, 0, 5, 0},     {0, 0.1, 1, 11},
                 {0, 0.1, 0.3, 4},  {1, 0.5, 3, 5},   {7, 3, 7, 1},
                 {7, -3, 7, 1},     {kNaN, 1, 2, 0},  {1, kNaN, 2, 0},
                 {1, 1, kNaN, 0},   {1, kInf, 9, 1},  {-0.3, 0.1, 0.3, 7},
                 {1, 1, 5.999, 5},  {1, 1, -kInf, 0}, {1e17, 32, 1e17 + 64, 3},
                 {1, 1e-3, 2, 1001}};
    for (const auto& [start, step, stop, expected] : cases) {
        SCOPED_TRACE(testing::Message() << start << ':' << step << ':' << stop);
        const Array lazy(kxCreateColonObject(start, step, stop));
        EXPECT_EQ(dimensions(lazy), (std::vector<unsigned>{1, expected}));
        const Array values(kxColonop(start, step, stop, kxDOUBLE_CLASS));
        ASSERT_EQ(dimensions(values), (std::vector<unsigned>{1, expected}));
        for (unsigned i = 0; i < expected; ++i) {
            const double value = static_cast<const double*>(values->pr)[i];
            EXPECT_DOUBLE_EQ(value, i == 0 ? start : start + i * step);
            EXPECT_TRUE(step > 0 ? value <= stop : value >= stop);
        }
        unsigned count = 99;
        const Block indices(kxSignedIndexColonop(start, step, stop, &count));
        EXPECT_EQ(count, expected);
        EXPECT_NE(indices, nullptr);
    }
}

TEST_F(LimitsTest, OverlongRangesStayLazyButAreNotMadeIntoValues)
{
    const Array lazy(kxCreateColonObject(1, 1, 1e18));
    EXPECT_EQ(kxGetNumberOfElements(lazy.get()), 0x7FFFFFFFU);
    double values[3];
    kxGetColonObjValues(lazy.get(), values);
    EXPECT_EQ(std::vector<double>(values, values + 3), (std::vector<double>{1, 1, 1e18}));
    EXPECT_EQ(errorOf([&] { kxMustBeFull(lazy.get()); }), "kx:sizeLimit");
    EXPECT_EQ(kxrt::range_count(lazy.get()), 1e18);
    EXPECT_EQ(kxrt::range_count(Array(kxCreateColonObject(5, -2, 1)).get()), 3);
    EXPECT_EQ(kxrt::range_count(Array(kxCreateColonObject(1, 1, kInf)).get()), kInf);
    EXPECT_EQ(errorOf([] { kxrt::range_count(Array(kxCreateColon()).get()); }), "kx:invalidOperand");
    try {
        kxColonop(1, 1, 1e308, kxDOUBLE_CLASS);
        ADD_FAILURE();
    } catch (const kxrt::Error& error) {
        EXPECT_STREQ(error.what(), "The range 1:1:1e+308 has 1e+308 values, above the largest number of elements, "
                                   "2147483647.");
    }

    unsigned count = 0;
    EXPECT_EQ(errorOf([&] { kxSignedIndexColonop(1, 1, kInf, &count); }), "kx:sizeLimit");
    kxrt::set_max_number_of_elements(3);
    EXPECT_EQ(errorOf([] { kxColonop(1, 1, 4, kxDOUBLE_CLASS); }), "kx:sizeLimit");
    EXPECT_EQ(kxGetNumberOfElements(Array(kxColonop(1, 1, 3, kxDOUBLE_CLASS)).get()), 3U);
}

TEST_F(LimitsTest, SizesMayReachTheLargestWord)
{
    kxrt::set_max_number_of_elements(UINT_MAX);
    EXPECT_EQ(kxCheckIndex(UINT_MAX), UINT_MAX);
    EXPECT_EQ(errorOf([] { kxCheckIndex(UINT_MAX + 1.0); }), "kx:sizeLimit");
    EXPECT_TRUE(kxCheckMNForIndexing_nothrow(UINT_MAX, 1, nullptr));
    EXPECT_FALSE(kxCheckMNForIndexing_nothrow(UINT_MAX, 2, nullptr));
    EXPECT_EQ(kxGetN(Array(kxCreateColonObject(1, 1, UINT_MAX)).get()), UINT_MAX);
    EXPECT_EQ(errorOf([] { kxColonop(0, 1, UINT_MAX, kxDOUBLE_CLASS); }), "kx:sizeLimit"); // one more

    const Array tall(kxCreateSparseNumericMatrix(UINT_MAX, 2, 2, kxDOUBLE_CLASS, kxREAL));
    tall->ir[0] = UINT_MAX - 1;
    tall->jc[1] = tall->jc[2] = 1;
    EXPECT_EQ(kxCheckSparse(tall.get()), "");
    EXPECT_EQ(kxGetNumberOfElements(tall.get()), UINT_MAX);
    EXPECT_EQ(errorOf([&] { kxMustBeFull(tall.get()); }), "kx:sizeLimit");
    // 16 GiB of column starts, of which but the first page and the last are ever touched.
    Array wide;
    if (!hasOwnAllocator() ||
        errorOf([&] { wide = Array(kxCreateSparseNumericMatrix(1, UINT_MAX, 1, kxDOUBLE_CLASS, kxREAL)); }) != "") {
        GTEST_SKIP() << "no column starts without memory behind them";
    }
    wide->ir[0] = 0;
    wide->jc[UINT_MAX] = 1;
    EXPECT_EQ(kxGetN(wide.get()), UINT_MAX);
    EXPECT_EQ(kxGetNumNonZeroEl(wide.get()), 1U);
    EXPECT_EQ(kxGetNumNonZeroEl(Array(kxCreateSharedDataCopy(wide.get())).get()), 1U);
    EXPECT_EQ(kxGetScalar(wide.get()), 0);
}

TEST_F(LimitsTest, RangeValuesTakeTheClassAskedFor)
{
    unsigned count = 0;
    const Block halves(kxSignedIndexColonop(-1, 0.5, 1, &count));
    EXPECT_EQ(elements<int>(halves.get(), count), (std::vector<int>{-1, 0, 0, 0, 1}));
    const Block ends(kxSignedIndexColonop(-3e9, 3e9, 3e9, &count));
    EXPECT_EQ(elements<int>(ends.get(), count), (std::vector<int>{INT_MIN, 0, INT_MAX}));

    const Array bytes(kxColonop(-100, 100, 200, kxINT8_CLASS));
    EXPECT_EQ(elements<signed char>(bytes->pr, 4), (std::vector<signed char>{-100, 0, 100, 127}));
    const Array lazy(kxCreateColonObject(1, 1, 3));
    EXPECT_EQ(elements<float>(Array(kxMustBe(lazy.get(), kxSINGLE_CLASS))->pr, 3), (std::vector<float>{1, 2, 3}));
    EXPECT_EQ(elements<double>(Array(kxMustBe(lazy.get(), kxDOUBLE_CLASS))->pr, 3), (std::vector<double>{1, 2, 3}));
    const Array column(kxTranspose(lazy.get()));
    EXPECT_EQ(dimensions(column), (std::vector<unsigned>{3, 1}));
    EXPECT_EQ(kxGetNumNonZeroEl(Array(kxMustBeSparse(lazy.get())).get()), 3U);
    const Array long1(kxColonop(1, 1, 1000, kxUINT16_CLASS)); // longer than a piece of the conversion
    EXPECT_EQ(static_cast<unsigned short*>(long1->pr)[999], 1000);
}

} // namespace
} // namespace zqsp::test::runtime
