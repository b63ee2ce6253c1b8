// A(K): masks of matrices with more elements than 32 bits count, limits.
#include "support/operation.hpp"
#include "support/patterns.hpp"

#include <gtest/gtest.h>

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

TEST(LinearReference, MatricesPastTheMaximum)
{
    const MaxElements limit(10);
    const Model a = patterned(kReal, 4, 4);
    expectEnds(linear(a, Subscript::list({11})), spIndexExceedsMaxSize);
    expectEnds(linear(a, Subscript::list({11}).as(kxINT8_CLASS)), spIndexOutOfRange);
    expectEnds(linear(a, Subscript::range(9, 1, 11)), kMaxSizeError);
    expectEnds(linear(a, Subscript::range(11, 1, 11)), spIndexOutOfRange);
}
