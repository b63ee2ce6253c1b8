// A(K): masks of matrices with more elements than 32 bits count, limits, memory.
#include "support/call.hpp"
#include "support/patterns.hpp"

#include <gtest/gtest.h>

#include <algorithm>

using namespace zqsp::test;

namespace {

Operation linear(const Model& a, const Subscript& k)
{
    return {.callee = Export::Ref3, .a = a, .i = k};
}

/// A matrix of 4.9e9 elements and its stored positions as the entries of a mask with `m` rows, others added.
struct LargeMask
{
    Model a = Model::empty({kxDOUBLE_CLASS, true}, 70000, 70000);
    Subscript mask;

    explicit LargeMask(unsigned m)
    {
        const std::uint64_t last = a.numel() - 1;
        const std::uint64_t positions[] = {0, 69999, 70000, 0x7FFFFFFF, 0xFFFFFFFF, 0x100000000, 0x100000001, last};
        mask = Subscript::sparseMask(m, static_cast<unsigned>((a.numel() + m - 1) / m), {});
        for (const std::uint64_t p : positions) {
            a.entries[a.place(p)] = {static_cast<double>(a.nnz()) + 1, 2};
            mask.store(p);
            mask.store(p / 2);
        }
        a.fit();
    }
};

} // namespace

TEST(LinearReference, LargeMasks)
{
    for (const unsigned m : {70000U, 35000U, 140000U, 10000U, 490000U, 69999U, 70001U, 49000000U, 1000000007U}) {
        LargeMask given(m);
        expectEnds(linear(given.a, given.mask), spOK);
        given.mask.n += 5; // columns past the end that store nothing do no harm
        expectEnds(linear(given.a, given.mask), spOK);
        given.mask.store(given.a.numel()); // one past the last element
        expectEnds(linear(given.a, given.mask), spIndexOutOfRange);
    }
    // a small mask of a large matrix, and one that stores nothing
    const Model a = LargeMask(70000).a;
    expectEnds(linear(a, Subscript::sparseMask(3, 30000, {{0, 0}, {23333, 0}, {23333, 1}})), spOK);
    expectEnds(linear(a, Subscript::sparseMask(90000, 90000, {})), spOK);
    // a column with more rows than the maximum
    Model column = Model::empty({}, 0xF0000000, 1);
    column.entries[{0, 0xEFFFFFFF}] = 5;
    expectEnds(linear(column.fit(), Subscript::sparseMask(0xF0000000, 1, {{0, 7}, {0, 0xEFFFFFFF}})), spOK);
}

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
