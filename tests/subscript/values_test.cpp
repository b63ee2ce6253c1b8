// Subscript values of every class, seen through the exports: which status, in which order, with which limit.
#include "support/operation.hpp"

#include <gtest/gtest.h>

#include <limits>

using namespace zqsp::test;

namespace {

constexpr unsigned kExtent = 5;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kMax = 0x7FFFFFFF;

Model square()
{
    Model a = Model::empty({}, kExtent, kExtent);
    for (unsigned i = 0; i < kExtent; ++i) {
        a.entries[{i, i}] = i + 1.0;
        a.entries[{i, (i + 2) % kExtent}] = -1;
    }
    return a.fit();
}

/// The calls that convert `s` against an extent of 5, for reading or for deleting.
std::vector<Operation> calls(const Subscript& s, bool deleting)
{
    const Model a = square();
    Model column = Model::empty({}, kExtent, 1);
    column.entries[{0, 2}] = 7;
    column.fit();
    if (deleting) {
        return {{.callee = Export::DeleteColumns, .a = a, .i = s},
                {.callee = Export::DeleteRows, .a = a, .i = s},
                {.callee = Export::DeleteElements, .a = column, .i = s}};
    }
    return {{.callee = Export::Ref3, .a = column, .i = s},
            {.callee = Export::Ref4, .a = a, .i = s},
            {.callee = Export::Ref5, .a = a, .i = s},
            {.callee = Export::Ref6, .a = a, .i = s, .j = Subscript::list({1})},
            {.callee = Export::Ref6, .a = a, .i = Subscript::list({1}), .j = s}};
}

void expectStatus(const Subscript& s, spStatus reading, spStatus deleting)
{
    for (const bool deletes : {false, true}) {
        for (const Operation& op : calls(s, deletes)) {
            expectEnds(op, deletes ? deleting : reading);
        }
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

TEST(SubscriptValues, FloatingPoint)
{
    const struct
    {
        double value;
        spStatus reading, deleting;
    } cases[] = {{5, spOK, spOK},
                 {0, spIndexBelowOne, spIndexBelowOne},
                 {-3, spIndexBelowOne, spIndexBelowOne},
                 {0.5, spIndexBelowOne, spIndexBelowOne},
                 {-kInf, spIndexBelowOne, spIndexBelowOne},
                 {1.5, spIndexNotPositiveInteger, spIndexNotPositiveInteger},
                 {5.5, spIndexNotPositiveInteger, spIndexToRemoveOutOfRange}, // the orders differ here
                 {kNaN, spIndexNotPositiveInteger, spIndexNotPositiveInteger},
                 {kInf, spIndexNotPositiveInteger, spIndexNotPositiveInteger},
                 {1e30, spIndexExceedsMaxSize, spIndexExceedsMaxSize},
                 {4294967297.0, spIndexExceedsMaxSize, spIndexExceedsMaxSize}, // 1 in its low word
                 {6, spIndexOutOfRange, spIndexToRemoveOutOfRange},
                 {6.5, spIndexNotPositiveInteger, spIndexToRemoveOutOfRange},
                 {kMax - 127, spIndexOutOfRange, spIndexToRemoveOutOfRange}};
    for (const auto& [value, reading, deleting] : cases) {
        for (const kxClassID id : {kxDOUBLE_CLASS, kxSINGLE_CLASS}) {
            expectStatus(Subscript::list({1, value, 2}).as(id), reading, deleting);
            expectStatus(Subscript::list({value}).as(id), reading, deleting);
            Subscript sparse = Subscript::list({3, value}).as(id);
            sparse.form = Form::SparseNumeric;
            const bool unstored = value == 0;
            expectStatus(sparse, unstored ? spIndexBelowOne : reading, unstored ? spIndexBelowOne : deleting);
        }
    }
    expectStatus(Subscript::list({kMax}), spIndexOutOfRange, spIndexToRemoveOutOfRange);
    expectStatus(Subscript::list({kMax + 1}), spIndexExceedsMaxSize, spIndexExceedsMaxSize);
    // the maximum is no single: it is compared as the next one, which is then merely out of range
    expectStatus(Subscript::list({kMax + 1}).as(kxSINGLE_CLASS), spIndexOutOfRange, spIndexToRemoveOutOfRange);
}

TEST(SubscriptValues, SinglesBeyondTheirWholeNumbers)
{
    // Singles step by two here; the extent lies between two of them.
    constexpr unsigned kRows = (1U << 24U) + 3;
    Model tall = Model::empty({}, kRows, 1);
    tall.entries[{0, kRows - 2}] = 5;
    tall.fit();
    for (const auto& [value, status] : {std::pair{kRows - 1.0, spOK}, {kRows + 1.0, spIndexOutOfRange}}) {
        expectEnds({.callee = Export::Ref5, .a = tall, .i = Subscript::list({1, value}).as(kxSINGLE_CLASS)}, status);
    }
}

TEST(SubscriptValues, Integers)
{
    for (const kxClassID id : kIntegerClasses) {
        expectStatus(Subscript::list({5, 0}).as(id), spIndexNotPositiveInteger, spIndexNotPositiveInteger);
        expectStatus(Subscript::list({6, 1}).as(id), spIndexOutOfRange, spIndexToRemoveOutOfRange);
        const bool wide = id == kxUINT32_CLASS || id == kxINT64_CLASS || id == kxUINT64_CLASS;
        expectStatus(Subscript::list({1, 4294967297.0}).as(id), wide ? spIndexExceedsMaxSize : spIndexOutOfRange,
                     wide ? spIndexExceedsMaxSize : spIndexToRemoveOutOfRange);
    }
}

TEST(SubscriptValues, BadValueAnywhereInALongList)
{
    constexpr unsigned kLong = 2100; // longer than any block that is read at once
    for (const unsigned at : {0U, 1U, 7U, 1022U, 1023U, 1024U, 1025U, 2047U, 2048U, kLong - 1}) {
        expectStatus(among(1.5, at, kLong, kxDOUBLE_CLASS), spIndexNotPositiveInteger, spIndexNotPositiveInteger);
        expectStatus(among(kNaN, at, kLong, kxSINGLE_CLASS), spIndexNotPositiveInteger, spIndexNotPositiveInteger);
        for (const kxClassID id : kIntegerClasses) {
            expectStatus(among(0, at, kLong, id), spIndexNotPositiveInteger, spIndexNotPositiveInteger);
        }
        Subscript two = among(6, at, kLong, kxDOUBLE_CLASS);
        two.values[kLong / 2] = -1; // whichever comes first decides
        const bool sixIsFirst = at < kLong / 2;
        expectStatus(two, sixIsFirst ? spIndexOutOfRange : spIndexBelowOne,
                     sixIsFirst ? spIndexToRemoveOutOfRange : spIndexBelowOne);
    }
}

TEST(SubscriptValues, SparseAndComplex)
{
    // holding a zero comes before being complex, and both before the values
    Subscript holdsZero = Subscript::sparseList({1, 0, 9});
    expectStatus(holdsZero, spIndexBelowOne, spIndexBelowOne);
    holdsZero.complex = true;
    expectStatus(holdsZero, spIndexBelowOne, spIndexBelowOne);
    Subscript complex = Subscript::list({9, 0, 1});
    complex.complex = true;
    expectStatus(complex, spIndexNotPositiveInteger, spIndexNotPositiveInteger);
}

TEST(SubscriptValues, HiddenClassIsAskedFor)
{
    const Array a = toArray(square());
    for (const auto& [id, status] : {std::pair{kxDOUBLE_CLASS, spIndexBelowOne},
                                     {kxUINT8_CLASS, spIndexNotPositiveInteger},
                                     {kxLOGICAL_CLASS, spOK}}) {
        const Array subscript = toArray(Subscript::list({1, 0, 1, 0, 1}).as(id));
        kxrt::hide_class(subscript.get());
        Array result;
        EXPECT_EQ(spRef4(a.get(), subscript.get(), result.slot()), status);
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
