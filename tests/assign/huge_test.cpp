// Assignments in huge extents, and to arrays with huge capacities: what is obtained for them, and what is not.
#include "assign/cases.hpp"
#include "assign/region.hpp"
#include "support/operation.hpp"

using namespace zqsp::test;

namespace {

constexpr unsigned kHigh = 0x7FFFFFFE;
const RightSide kZero = RightSide::scalar(0);
const RightSide kSeven = RightSide::scalar(7);

} // namespace

/// But for the result's own blocks.
TEST(HugeTargets, ARunTakesNoMemoryByItsLength)
{
    const LargestBlock result(1600000);
    EXPECT_EQ("", checkOperation(toElements(withOnes(kReal, 9, 1, {{0, 1}}), Subscript::range(2, 1, 200000), kSeven)));
}

TEST(HugeTargets, SpareCapacityIsNotTakenAnew)
{
    constexpr unsigned kSpare = 1000000;
    const Array A(kxCreateSparseNumericMatrix(6, 4, kSpare, kxDOUBLE_CLASS, kxREAL));
    for (unsigned e = 0; e < 24; ++e) {
        A->ir[e] = e % 6;
        static_cast<double*>(A->pr)[e] = 1;
        A->jc[e / 6 + 1] = e + 1;
    }
    const Array I = toArray(Subscript::list({1, 4, 5}));
    const Array nine = toArray(Subscript::list({9}));
    const std::size_t before = kxrt::bytes_requested();
    EXPECT_EQ(spAss5(A.get(), nine.get(), I.get()), spOK);
    EXPECT_LT(kxrt::bytes_requested() - before, kSpare);
    EXPECT_EQ(A->nzmax, kSpare);
}

TEST(HugeTargets, AnElementIsOverwrittenWhateverTheCapacity)
{
    const Array A(kxCreateSparseNumericMatrix(1, 1, 0xFFFFFFFFU, kxLOGICAL_CLASS, kxREAL));
    static_cast<char*>(A->pr)[0] = 1;
    A->ir[0] = 0;
    A->jc[1] = 1;
    const Array one = toArray(at({1}));
    EXPECT_EQ(run([&] { return spAss6(A.get(), one.get(), one.get(), one.get()); }), Ended());
    EXPECT_EQ(A->jc[1], 1U);
}

TEST(HugeTargets, ARightSideOfNothingIsNotWrittenOut)
{
    const Array A = toArray(patterned(kReal, 3, 3));
    const Array B(kxCreateDoubleMatrix(0, 700000000, kxREAL));
    const Array none = toArray(at({}));
    const LargestBlock small(1U << 14);
    EXPECT_EQ(run([&] { return spAss4(A.get(), B.get(), none.get()); }), Ended());
}

TEST(HugeTargets, TheSetOfRowsMayBeRefused)
{
    EXPECT_FALSE(zqsp::setOfRowsPays(kHigh, 2, 1000, 2));
    EXPECT_FALSE(zqsp::setOfRowsPays(1000, 500, 12, 500));
    EXPECT_TRUE(zqsp::setOfRowsPays(1000000, 10, 2000, 10));
    EXPECT_TRUE(zqsp::rewritingPays(1000, 600, 10));
    EXPECT_FALSE(zqsp::rewritingPays(1000, 100, 10)); // most entries lie elsewhere
    EXPECT_TRUE(zqsp::rewritingPays(1000, 100, 1));   // in few columns, of which each takes time
    EXPECT_TRUE(zqsp::looksAtAllEntries(600, 3, 20));
    EXPECT_FALSE(zqsp::looksAtAllEntries(9000, 3, 20));  // few rows of long columns are searched
    EXPECT_TRUE(zqsp::looksAtAllEntries(9000, 100, 20)); // many are not
    EXPECT_TRUE(zqsp::freshBlocksPay(100, 8, 60));
    EXPECT_FALSE(zqsp::freshBlocksPay(100, 8, 40));
    EXPECT_FALSE(zqsp::freshBlocksPay(0x20000000, 8, 0x20000000)); // 32 bits do not count the bytes
    Model a = Model::empty(kReal, 1000000, 1);
    for (unsigned i = 0; i < 2000; ++i) {
        a.entries[{0, i * 500}] = 1;
    }
    std::vector<double> rows;
    for (unsigned i = 0; i < 200; ++i) {
        rows.push_back(i * i * 25 + 1.0);
    }
    const LargestBlock small(1U << 16);
    EXPECT_EQ("", checkOperation(toRegion(a.fit(), at(rows), Subscript::range(1, 1, 1), kZero)));
}

TEST(HugeTargets, NewImaginaryPartsAreZeroToTheirEnd)
{
    const Operation op = toElements(patterned(kReal, 1, 9), at({30}), RightSide::scalar(Value(1, 2), kComplex));
    const Array a = toArray(op.a);
    const Array b = toArray(op.b);
    const Array k = toArray(op.i);
    ASSERT_EQ(spAss3(a.get(), b.get(), k.get()), spOK);
    for (unsigned e = 0; e < a->nzmax; ++e) {
        EXPECT_EQ(readElement(a->pi, kxDOUBLE_CLASS, e), e + 1 == kxGetNumNonZeroEl(a.get()) ? 2 : 0);
    }
}

/// Three dimensions are no model's.
TEST(FreshTargets, TakeTheRightSideWholeWhateverItsShape)
{
    const Array b = toArray(RightSide::full({2, 1, 3}, {1, 2, 3, 4, 5, 6}));
    const Array all = toArray(Subscript::colon());
    const Array a = toArray(Model::unset());
    ASSERT_EQ(spAss6(a.get(), b.get(), all.get(), all.get()), spOK);
    ASSERT_EQ(a->ndims, 3U);
    EXPECT_EQ(a->get_dimensions()[2], 3U);
    EXPECT_EQ(readElement(a->pr, kxDOUBLE_CLASS, 5), 6);
    EXPECT_NE(a->pr, b->pr);
}
