// The memory that A(K) takes; which reshapes are legal.
#include "support/operation.hpp"

#include <gtest/gtest.h>

#include <algorithm>

using namespace zqsp::test;

namespace {

Operation linear(const Model& a, const Subscript& k)
{
    return {.callee = Export::Ref3, .a = a, .i = k};
}

} // namespace

/// What a call takes beside its result and the converted list of positions, which is four bytes for each.
TEST(LinearReference, ExtraMemoryStaysBelowTheResult)
{
    constexpr unsigned kRows = 300;
    constexpr unsigned kColumns = 300; // more positions than share half an ordinal
    std::vector<double> listed;
    std::vector<double> mask(std::size_t{kRows} * kColumns);
    for (unsigned p = 0; p < mask.size(); ++p) {
        if (p % 5 != 2) {
            listed.push_back(p + 1.0);
            mask[p] = 1;
        }
    }
    std::vector<double> unsorted = listed;
    std::rotate(unsorted.begin(), unsorted.begin() + 40000, unsorted.end());
    const std::vector<double> descending(listed.rbegin(), listed.rend());
    for (const Storage storage : {kLogical, kReal, kComplex}) {
        const Model a = patterned(storage, kRows, kColumns);
        for (const Subscript& k : {Subscript::list(listed), Subscript::list(unsorted), Subscript::list(descending),
                                   Subscript::mask(mask), Subscript::range(90000, -2, 2)}) {
            const Operation op = linear(a, k);
            if (storage.complex) {
                EXPECT_EQ("", checkOperation(op)); // the longest lists, once against the model
            }
            const Call call(op);
            kxArray* made = nullptr;
            const std::size_t before = kxrt::bytes_requested();
            ASSERT_EQ(call.make(&made), spOK);
            const std::size_t taken = kxrt::bytes_requested() - before;
            const Array result(made);
            const std::size_t element = kxGetElementSize(made) * (storage.complex ? 2U : 1U);
            const std::size_t size = result->nzmax * (sizeof(unsigned) + element);
            const std::size_t converted = k.form == Form::Numeric ? k.numel() * sizeof(unsigned) : 0;
            EXPECT_GT(taken, size);
            EXPECT_LT(taken, 2 * size + (kxGetN(made) + std::size_t{1}) * sizeof(unsigned) + converted) << op.i;
        }
    }
}

/// By a filter of what is stored, made when the first positions of a long list hold nothing; by a mask as large.
TEST(LinearReference, MoreElementsThanAWordCounts)
{
    Model a = Model::empty({}, 0x60000001, 3);
    std::vector<Place> places;
    std::vector<double> listed;
    for (unsigned i = 0; i < 3000; ++i) {
        const Place place{i % 3, i < 3 ? 0 : i * 12345677U % a.m};
        places.push_back(place);
        if (a.linear(place) < 0x7FFFFFFF) {
            listed.push_back(static_cast<double>(a.linear(place)) + 1);
        }
        if (i < 3 || (i > 2000 && i % 2 == 0)) {
            a.entries[place] = i;
        }
    }
    a.fit();
    EXPECT_EQ("", checkOperation(linear(a, Subscript::list(listed))));
    EXPECT_EQ("", checkOperation(linear(a, Subscript::sparseMask(a.m, a.n, places))));
}

TEST(Reshape, LegalExactlyWhereTheElementCountsAgree)
{
    for (unsigned sizes = 0; sizes < 4096; ++sizes) {
        const unsigned m = sizes % 8, n = sizes / 8 % 8, newM = sizes / 64 % 8, newN = sizes / 512;
        EXPECT_EQ(spReshapeOk(m, n, newM, newN), isReshape(m, n, newM, newN)) << m << 'x' << n << " to " << newM;
    }
    EXPECT_TRUE(spReshapeOk(0xFFFFFFFF, 0xFFFFFFFE, 0xFFFFFFFE, 0xFFFFFFFF));
    EXPECT_FALSE(spReshapeOk(0x10000, 0x10000, 1, 0)); // equal in 32 bits only
    EXPECT_FALSE(spReshapeOk(0x10000, 0x10001, 0x10000, 1));
    EXPECT_FALSE(spReshapeOk(0x80000000, 2, 0, 7));
    EXPECT_TRUE(spReshapeOk(0xC0000000, 2, 0x80000000, 3));
}
