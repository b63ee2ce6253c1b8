// Sizes at the ends of what the runtime, 32 bits and the memory allow: each call gives what the model says, or the
// error of the limit that it breaks with its target byte for byte as it was and nothing leaked.
#include "support/operation.hpp"

#include <gtest/gtest.h>

using namespace zqsp::test;

namespace {

const RightSide kSeven = RightSide::scalar(7);
const RightSide kZero = RightSide::scalar(0);

/// With entries in the first and the last element.
Model cornered(Storage storage, unsigned m, unsigned n)
{
    return withOnes(storage, m, n, {{0, 0}, {n - 1, m - 1}});
}

Model filledColumn(Storage storage, unsigned m)
{
    Model a = Model::empty(storage, m, 1);
    for (unsigned i = 0; i < m; ++i) {
        a.entries[{0, i}] = 1;
    }
    return a.fit();
}

} // namespace

/// Calls whose result no memory holds, by the number of its columns or of its entries.
TEST(Limits, ResultsPastMemory)
{
    const LargestBlock gigabyte(std::size_t{1} << 30);
    constexpr std::size_t kMany = 9000; // times 65536 entries of 8 bytes are more than 2^32 bytes
    const Model row = patterned(kReal, 1, 3);
    const Model column = filledColumn(kReal, 0x10000);
    const Subscript repeated = Subscript::list(std::vector<double>(kMany, 1));
    const Subscript lastColumn = Subscript::list({536870912}); // further ones are past a quarter of the maximum
    const Model wide = cornered(kLogical, 0x10000, 0x7FFF);
    Model fullRow = filledColumn(kReal, 0x10000);
    fullRow = reshaped(fullRow, 1, 0x10000);
    const Operation cases[] = {
        {.callee = Export::Ref4, .a = column, .i = repeated},
        {.callee = Export::Ref5, .a = fullRow, .i = repeated},
        {.callee = Export::Ref6, .a = column, .i = Subscript::range(0x10000, -1, 1), .j = repeated},
        {.callee = Export::ReferenceByLists, .a = column, .i = Subscript::colon(), .j = repeated},
        {.callee = Export::Ass3, .a = row, .b = kSeven, .i = Subscript::list({2147483647})},
        {.callee = Export::Ass4, .a = row, .b = kSeven, .i = lastColumn},
        {.callee = Export::Ass6, .a = row, .b = kSeven, .i = Subscript::list({1}), .j = lastColumn},
        {.callee = Export::Ass6, .a = row, .b = kSeven, .i = Subscript::list({1, 2}), .j = lastColumn},
        {.callee = Export::Ass6,
         .a = Model::unset(),
         .b = kSeven,
         .i = Subscript::list({1}),
         .j = Subscript::list({2147483647})},
        {.callee = Export::Ass6, .a = row, .b = kZero, .i = Subscript::list({1, 2}), .j = lastColumn},
        {.callee = Export::DeleteElements, .a = wide, .i = Subscript::list({2})},
        {.callee = Export::Reshape, .a = cornered(kReal, 2147483647, 1), .newM = 1, .newN = 2147483647},
    };
    for (const Operation& op : cases) {
        const Call call(op);
        Outcome outOfMemory;
        outOfMemory.ended.thrown = kOutOfMemoryError;
        EXPECT_EQ("", makeAndCheck(call, op, outOfMemory).complaint) << op;
    }
}

/// Entries that 32 bits count, in blocks whose bytes they do not.
TEST(Limits, BlocksPast32BitsOfBytes)
{
    constexpr unsigned kSide = 24000; // squared and times 8 more than 2^32
    const Subscript all = Subscript::range(1, 1, kSide);
    Outcome tooLarge;
    tooLarge.ended.thrown = kSizeLimitError;
    for (const Operation& op :
         {Operation{.callee = Export::Ass4, .a = cornered(kReal, kSide, 1), .b = kSeven, .i = all},
          Operation{.callee = Export::Ass5, .a = cornered(kReal, 1, kSide), .b = kSeven, .i = all}}) {
        EXPECT_EQ("", makeAndCheck(Call(op), op, tooLarge).complaint) << op;
    }
}

/// Such subscripts are there before the maximum is lowered; all their elements count.
TEST(Limits, SubscriptsOfMoreElementsThanTheMaximum)
{
    const Model a = patterned(kReal, 3, 3);
    const Subscript zeros = Subscript::sparseList({1, 2, 0, 3, 0});
    const Subscript mask = Subscript::mask({1, 0, 0, 0, 1});
    const std::pair<Operation, Failure> cases[] = {
        {{.callee = Export::Ref5, .a = a, .i = zeros}, spIndexBelowOne},
        {{.callee = Export::DeleteRows, .a = a, .i = zeros}, spIndexBelowOne},
        {{.callee = Export::Ass3, .a = a, .b = kSeven, .i = zeros}, kNotPositiveIntegerError},
        {{.callee = Export::Ass3,
          .a = patterned(kReal, 1, 3),
          .b = kSeven,
          .i = Subscript::list({1, 1, 1, 1, 1, 2, 3})},
         {}},
        {{.callee = Export::Ass3, .a = patterned(kReal, 1, 3), .b = kSeven, .i = mask}, kSizeLimitError},
        {{.callee = Export::Ass4, .a = a, .b = kSeven, .i = mask}, spIndexOutOfRange},
        {{.callee = Export::Ass5, .a = a, .b = kSeven, .i = mask}, spIndexOutOfRange},
        {{.callee = Export::Ass6, .a = a, .b = kSeven, .i = Subscript::list({1}), .j = mask}, spIndexOutOfRange},
    };
    for (const auto& [op, failure] : cases) {
        const Call call(op);
        const MaxElements limit(3);
        EXPECT_EQ(predict(op).ended, Ended(failure));
        EXPECT_EQ("", makeAndCheck(call, op, predict(op)).complaint) << op;
    }
}
