// Colon objects, seen through the exports; and what a subscript that fails costs.
#include "support/operation.hpp"

#include <gtest/gtest.h>

#include <limits>

using namespace zqsp::test;

namespace {

constexpr double kNearlyOne = 1 + std::numeric_limits<double>::epsilon();

Model row(unsigned n)
{
    Model a = Model::empty({}, 1, n);
    for (unsigned j = 0; j < n; ++j) {
        a.entries[{j, 0}] = j + 1.0;
    }
    return a.fit();
}

/// Reads and deletes elements and columns by `s`.
void check(const Model& a, const Subscript& s)
{
    for (const Export callee : {Export::Ref3, Export::Ref4, Export::DeleteColumns, Export::DeleteElements}) {
        EXPECT_EQ("", checkOperation({.callee = callee, .a = a, .i = s}));
    }
}

} // namespace

TEST(SubscriptRanges, Ends)
{
    for (const double start : {-2.0, 0.0, 1.0, 1.5, 2.0, 2.5, 5.0, 6.0, 9.0, 3e9}) {
        for (const double step : {-1e300, -2147483648.0, -2.0, -1.0, 0.0, 0.5, 1.0, 2.0, 9.0, 2147483647.0}) {
            for (const double stop : {-3.5, -1.0, 0.0, 0.5, 1.0, 2.0, 2.5, 3.0, 5.0, 5.25, 6.0, 6.5, 9.0}) {
                if (start < 10 || step < -2) { // else the values are too many to be written out
                    check(row(5), Subscript::range(start, step, stop));
                }
            }
        }
    }
    check(row(5), Subscript::range(3e9, 1, 3e9));
    // 1 and 2, as the step's fraction is lost in the sum; 3 times it shows
    check(row(5), Subscript::range(1, kNearlyOne, 2.5));
    check(row(5), Subscript::range(1, kNearlyOne, 3.5));
}

TEST(SubscriptRanges, TheRuntimeSaysWhetherAStepIsReached)
{
    // The stop lies some rounding errors before the next value: of one the runtime counts it in, and delivers the
    // stop; of eight it does not. Nothing is written out to know.
    Model tall = Model::empty({}, 2000000001, 1);
    tall.entries[{0, 8}] = 1;
    const LargestBlock page(4096);
    const auto ends = [](double start, double step, double stop, Export callee, const Model& a) {
        const Call call(
            {.callee = callee, .a = a, .b = RightSide::scalar(0), .i = Subscript::range(start, step, stop)});
        Array result;
        return run([&] { return call.make(result.slot()); });
    };
    const Ended fraction(spIndexNotPositiveInteger);
    for (const auto& [start, step, next] : {std::tuple{1.0, 1.0, 3.0}, {1.0, 2.0, 2000000001.0}, {2e9, -1.0, 1.0}}) {
        const double error = std::max(start, next) * std::numeric_limits<double>::epsilon();
        const double back = step > 0 ? -error : error;
        EXPECT_EQ(ends(start, step, next + back, Export::Ref3, tall.fit()), fraction) << step << ':' << next;
        EXPECT_EQ(ends(start, step, next + 8 * back, Export::Ref3, tall.fit()), Ended()) << step << ':' << next;
        EXPECT_EQ(ends(start, step, next + back, Export::Ass3, tall.fit()), fraction) << step << ':' << next;
        EXPECT_EQ(ends(start, step, next + 8 * back, Export::Ass3, tall.fit()), Ended()) << step << ':' << next;
    }
    // What comes before the stop is judged before it.
    EXPECT_EQ(ends(1, 1, 7 / kNearlyOne, Export::Ref3, row(5)), Ended(spIndexOutOfRange));
}

TEST(Subscripts, WhatFailsIsNotWrittenOut)
{
    const auto far = [](unsigned rows, unsigned columns) {
        std::vector<Place> places;
        for (unsigned i = 0; i < 2000; ++i) {
            places.push_back({i, i});
        }
        places.push_back({columns - 1, rows - 1});
        return Subscript::sparseMask(rows, columns, places);
    };
    const Failure outOfRange(spIndexOutOfRange);
    const Failure fraction(spIndexNotPositiveInteger);
    const Failure belowOne(spIndexBelowOne);
    const Failure cannotResize(spCannotResize);
    const Failure tooLarge(kSizeLimitError);
    const struct
    {
        Subscript s;
        Failure reading, assigning, elements, inMatrix;
    } cases[] = {
        {Subscript::range(1, 2, 3e9), outOfRange, outOfRange, tooLarge, cannotResize},
        {Subscript::range(0.5, 1, 1e9), fraction, fraction, fraction, cannotResize},
        {Subscript::range(1, 1.5, 2e9), fraction, fraction, fraction, cannotResize},
        {Subscript::range(3, -2, -4e9), fraction, fraction, fraction, fraction},
        {Subscript::range(2, -2, -4e9), fraction, fraction, belowOne, belowOne},
        {Subscript::range(2, -2, -2e9), fraction, fraction, belowOne, belowOne}, // three signed words
        {Subscript::range(4e9, -2, 1.5), outOfRange, outOfRange, tooLarge, cannotResize},
        {Subscript::range(1, 0.1, 1e8), fraction, fraction, fraction, cannotResize}, // whatever its last value is
        {Subscript::range(1, 0.5, 3e9), tooLarge, tooLarge, tooLarge, tooLarge},     // too many comes first
        {far(5000, 3000), outOfRange, {}, {}, cannotResize},
        {far(0x10000, 0x9000), outOfRange, spIndexExceedsMaxSize, tooLarge, cannotResize}};
    const Model matrix = reshaped(row(9), 3, 3);
    const RightSide five = RightSide::scalar(5);
    const Subscript one = Subscript::list({1});
    for (const auto& [s, reading, assigning, elements, inMatrix] : cases) {
        const Failure deleting = reading == outOfRange ? Failure(spIndexToRemoveOutOfRange) : reading;
        const std::pair<Operation, Failure> calls[] = {
            {{.callee = Export::Ref3, .a = row(9), .i = s}, reading},
            {{.callee = Export::Ref6, .a = matrix, .i = one, .j = s}, reading},
            {{.callee = Export::DeleteColumns, .a = matrix, .i = s}, deleting},
            {{.callee = Export::DeleteRows, .a = matrix, .i = s}, deleting},
            {{.callee = Export::DeleteElements, .a = matrix, .i = s}, deleting},
            {{.callee = Export::Ass4, .a = matrix, .b = five, .i = s}, assigning},
            {{.callee = Export::Ass6, .a = matrix, .b = five, .i = s, .j = one}, assigning},
            {{.callee = Export::Ass3, .a = row(9), .b = five, .i = s}, elements},
            {{.callee = Export::Ass3, .a = matrix, .b = five, .i = s}, inMatrix}};
        for (const auto& [operation, failure] : calls) {
            if (failure == Failure()) {
                continue;
            }
            SCOPED_TRACE(testing::Message() << nameOf(operation.callee) << ' ' << s.start << ':' << s.step);
            const Call call(operation);
            const LargestBlock page(4096);
            expectFails([&] { return call.make(nullptr); }, failure, call.unchanging(false));
        }
    }
}
