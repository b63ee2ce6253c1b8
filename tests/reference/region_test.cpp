// A(I,:) and A(I,J): the choice of method, repeated rows, counts past 32 bits.
#include "support/call.hpp"
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

std::vector<double> ones(unsigned count)
{
    return std::vector<double>(count, 1.0);
}

} // namespace

/// Columns of most rows, between others, are read off in the order of the rows.
TEST(RowReference, DenseColumnsInAnyOrder)
{
    constexpr unsigned kRows = 50000;
    Model a = evenColumns(kRows, 4, 3, 1000);
    for (unsigned row = 0; row < kRows; ++row) {
        if (row % 5 != 0) {
            a.entries[{0, row}] = row + 0.5;
            a.entries[{2, row}] = row + 0.25;
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
        EXPECT_EQ("", checkOperation({.callee = Export::Ref6, .a = a, .i = i, .j = Subscript::list({3, 1, 3})}));
    }
}

TEST(GeneralReference, CountsPast32BitsRaiseASizeError)
{
    constexpr unsigned kMany = 65536; // times as many entries, 2^32 in all
    const Subscript many = Subscript::list(ones(kMany));
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
