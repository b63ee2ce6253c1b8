// A(I,:) and A(I,J): columns of uncommon lengths, counts past 32 bits.
#include "support/operation.hpp"
#include <gtest/gtest.h>

#include <algorithm>

using namespace zqsp::test;

namespace {

/// n columns of `length` entries each, in the rows from `firstRow` on.
Model evenColumns(unsigned m, unsigned n, unsigned length, unsigned firstRow = 0)
{
    Model a = Model::empty({}, m, n);
    for (unsigned j = 0; j < n; ++j) {
        for (unsigned e = 0; e < length; ++e) {
            a.entries[{j, firstRow + e}] = j * 100.0 + e + 1;
        }
    }
    return a.fit();
}

} // namespace

/// A run of rows is cut out of very long columns and selected from what lies between them.
TEST(RowReference, RunsOfRowsInColumnsOfAnyLength)
{
    Model a = evenColumns(20000, 2500, 1, 3000);
    for (const unsigned j : {0U, 256U, 258U}) {
        for (unsigned row = j; row < 18000; ++row) {
            a.entries[{j, row}] = row + 0.5;
        }
    }
    a.fit();
    for (const Subscript& j : {Subscript::colon(), Subscript::list({700, 1, 256, 257, 258, 257, 257, 1, 601}),
                               Subscript::range(2500, -3, 300)}) {
        for (const auto& [first, last] : {std::pair{1.0, 3000.0}, {3001.0, 20000.0}, {17900.0, 18100.0}}) {
            EXPECT_EQ("",
                      checkOperation({.callee = Export::Ref6, .a = a, .i = Subscript::range(first, 1, last), .j = j}));
        }
    }
}

/// Nearly all entries lie in a few rows, which nobody expects.
TEST(GeneralReference, RoomIsMadeForMoreThanExpected)
{
    const Model a = evenColumns(1200, 400, 120);
    std::vector<double> rows = {1200};
    for (unsigned i = 0; i < 120; ++i) {
        rows.push_back(i * 7 % 120 + 1.0);
    }
    EXPECT_EQ("", checkOperation({.callee = Export::Ref5, .a = a, .i = Subscript::list(rows)}));
    std::ranges::sort(rows);
    EXPECT_EQ("", checkOperation({.callee = Export::Ref5, .a = a, .i = Subscript::list(rows)}));
}

/// Columns of most rows or all, between others, are read off in the order of the rows.
TEST(RowReference, DenseColumnsInAnyOrder)
{
    constexpr unsigned kRows = 50000;
    Model a = evenColumns(kRows, 4, 3, 1000);
    for (unsigned row = 0; row < kRows; ++row) {
        if (row % 5 != 0) {
            a.entries[{0, row}] = row + 0.5;
        }
        a.entries[{2, row}] = row + 0.25; // a full one
        if (row % 10 == 0) {
            a.entries[{3, row}] = row + 0.75; // sorted, with more than what is sorted together
        }
    }
    a.fit();
    std::vector<double> all;
    std::vector<double> most;
    for (unsigned p = 0; p < kRows; ++p) {
        all.push_back((p * 7919 + 11) % kRows + 1.0);
        if (p % 11 != 0) {
            most.push_back(all.back());
        }
    }
    for (const auto& rows : {all, most}) {
        const Subscript i = Subscript::list(rows);
        EXPECT_EQ("", checkOperation({.callee = Export::Ref5, .a = a, .i = i}));
        for (const Subscript& j : {Subscript::list({3, 1, 3}), Subscript::range(2, 1, 4), Subscript::range(1, 2, 3)}) {
            EXPECT_EQ("", checkOperation({.callee = Export::Ref6, .a = a, .i = i, .j = j}));
        }
    }
}

TEST(GeneralReference, CountsPast32BitsRaiseASizeError)
{
    constexpr unsigned kMany = 65536; // times as many entries, 2^32 in all
    const Subscript many = Subscript::list(std::vector<double>(kMany, 1.0));
    const Model column = evenColumns(kMany, 1, kMany);
    const Outcome tooLarge{Failure(kMaxSizeError), {}};
    const Operation cases[] = {
        {.callee = Export::Ref4, .a = column, .i = many},
        {.callee = Export::Ref6, .a = evenColumns(1, 1, 1), .i = many, .jIs = Alias::SharesSubscript},
        {.callee = Export::Ref6, .a = evenColumns(0x7FFFFFFF, 1, 1), .i = many, .j = many}, // by searches
        {.callee = Export::ReferenceByLists, .a = column, .i = Subscript::colon(), .j = many}};
    for (const Operation& op : cases) {
        EXPECT_EQ("", makeAndCheck(Call(op), op, tooLarge).complaint); // too large for the model
    }
}
