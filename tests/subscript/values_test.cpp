// Subscript values of every class, seen through the exports: which status, in which order, with which limit.
#include "support/operation.hpp"

#include <gtest/gtest.h>

using namespace zqsp::test;

namespace {

constexpr unsigned kExtent = 5;

Model square()
{
    Model a = Model::empty({}, kExtent, kExtent);
    for (unsigned i = 0; i < kExtent; ++i) {
        a.entries[{i, i}] = i + 1.0;
        a.entries[{i, (i + 2) % kExtent}] = -1;
    }
    return a.fit();
}

/// What every export makes of `s` against an extent of 5, for reading and for deleting.
void check(const Subscript& s)
{
    const Model a = square();
    const Model column = Model::of({}, {{0}, {0}, {7}, {0}, {0}});
    const Subscript one = Subscript::list({1});
    for (const Operation& op :
         {Operation{.callee = Export::Ref3, .a = column, .i = s}, Operation{.callee = Export::Ref4, .a = a, .i = s},
          Operation{.callee = Export::Ref6, .a = a, .i = s, .j = one},
          Operation{.callee = Export::Ref6, .a = a, .i = one, .j = s},
          Operation{.callee = Export::DeleteColumns, .a = a, .i = s},
          Operation{.callee = Export::DeleteRows, .a = a, .i = s},
          Operation{.callee = Export::DeleteElements, .a = column, .i = s}}) {
        EXPECT_EQ("", checkOperation(op));
    }
}

/// `s` with `value` at place `at` among good ones.
Subscript among(double value, unsigned at, unsigned count, kxClassID id)
{
    std::vector<double> values(count, 1.0);
    for (unsigned i = 0; i < count; ++i) {
        values[i] = 1 + i % kExtent;
    }
    values[at] = value;
    return Subscript::list(values).as(id);
}

const std::vector<kxClassID> kIntegerClasses = {kxCHAR_CLASS,   kxINT8_CLASS,   kxUINT8_CLASS,
                                                kxINT16_CLASS,  kxUINT16_CLASS, kxINT32_CLASS,
                                                kxUINT32_CLASS, kxINT64_CLASS,  kxUINT64_CLASS};

} // namespace

TEST(SubscriptValues, SinglesBeyondTheirWholeNumbers)
{
    // Singles step by two here; the extent lies between two of them.
    constexpr unsigned kRows = (1U << 24U) + 3;
    Model tall = Model::empty({}, kRows, 1);
    tall.entries[{0, kRows - 2}] = 5;
    tall.fit();
    for (const double value : {kRows - 1.0, kRows + 1.0}) {
        const Subscript i = Subscript::list({1, value}).as(kxSINGLE_CLASS);
        EXPECT_EQ("", checkOperation({.callee = Export::Ref5, .a = tall, .i = i}));
    }
}

TEST(SubscriptValues, TheMaximumMayBeBelowTheExtent)
{
    const MaxElements limit(3);
    for (const double value : {3.0, 4.0, 6.0}) {
        for (const kxClassID id : {kxDOUBLE_CLASS, kxSINGLE_CLASS, kxINT32_CLASS, kxUINT32_CLASS}) {
            check(Subscript::list({value}).as(id));
            check(Subscript::list({1, value}).as(id));
        }
    }
}

TEST(SubscriptValues, MoreDimensionsThanTwo)
{
    const unsigned dims[] = {1, 1, 2};
    const Array turned(kxCreateNumericArray(3, dims, kxDOUBLE_CLASS, kxREAL));
    static_cast<double*>(turned->pr)[0] = 2;
    static_cast<double*>(turned->pr)[1] = 1;
    Array out;
    EXPECT_EQ(spRef4(toArray(Model::of({}, {{5, 7}})).get(), turned.get(), out.slot()), spOK);
    EXPECT_EQ("", diff(out.get(), Model::of({}, {{7, 5}})));
}

TEST(SubscriptValues, BadValueAnywhereInALongList)
{
    constexpr unsigned kLong = 2100; // longer than any block that is read at once
    for (const unsigned at : {0U, 1U, 7U, 1022U, 1023U, 1024U, 1025U, 2047U, 2048U, kLong - 1}) {
        check(among(1.5, at, kLong, kxDOUBLE_CLASS));
        check(among(kNaN, at, kLong, kxSINGLE_CLASS));
        for (const kxClassID id : kIntegerClasses) {
            check(among(0, at, kLong, id));
        }
        Subscript two = among(6, at, kLong, kxDOUBLE_CLASS);
        two.values[kLong / 2] = -1; // whichever comes first decides
        check(two);
    }
}

TEST(SubscriptValues, ASubscriptWithoutAClassIsTheRuntimesToConvert)
{
    const Array a = toArray(Model::of({}, {{1, 2}}));
    const Array unset(kxCreateUnset());
    kxArray* out = nullptr;
    expectFails([&] { return spRef5(a.get(), unset.get(), &out); }, kInvalidOperandError, {a.get()});
    expectFails([&] { return spDeleteRows(a.get(), unset.get()); }, kInvalidOperandError, {a.get()});
}
