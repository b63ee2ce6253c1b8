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

TEST(RowReference, MethodIsChosenByTheRule)
{
    // Repeated rows make the search set more capacity aside than there are entries, which tells the methods apart.
    unsigned maps = 0;
    unsigned searches = 0;
    for (unsigned length = 1; length < 40; ++length) {
        for (const unsigned m : {40U, 10U * 2 * length, 10U * 2 * length + 1}) {
            for (unsigned k = 1; k < 6; ++k) {
                const Model a = evenColumns(std::max(m, length), 2, length);
                std::vector<double> rows = ones(k);
                rows.back() = a.m;
                EXPECT_EQ("", checkOperation({.callee = Export::Ref5, .a = a, .i = Subscript::list(rows)}));
                ++(usesRowMap(a, k) ? maps : searches);
            }
        }
    }
    EXPECT_GT(maps, 100U);
    EXPECT_GT(searches, 100U);
    for (const unsigned m : {30U, 31U}) { // few entries: as many rows as a map may have for k of them
        const Model a = evenColumns(m, 2, 1, 1);
        EXPECT_EQ(usesRowMap(a, 3), m == 30);
        EXPECT_EQ("", checkOperation({.callee = Export::Ref5, .a = a, .i = Subscript::list({1, 1, 3})}));
    }
}

/// A run of rows is cut out of very long columns and selected from what lies between them.
TEST(RowReference, RunsOfRowsInColumnsOfAnyLength)
{
    Model a = evenColumns(20000, 2500, 1, 3000);
    for (const unsigned j : {0U, 256U}) {
        for (unsigned row = j; row < 18000; ++row) {
            a.entries[{j, row}] = row + 0.5;
        }
    }
    a.fit();
    std::vector<double> scattered = {700, 1, 3, 257, 256, 256, 1, 601};
    for (const Subscript& j : {Subscript::colon(), Subscript::list(scattered)}) {
        for (const auto& [first, last] :
             {std::pair{1.0, 3000.0}, {3001.0, 20000.0}, {17900.0, 18100.0}, {20000.0, 20000.0}}) {
            EXPECT_EQ("",
                      checkOperation({.callee = Export::Ref6, .a = a, .i = Subscript::range(first, 1, last), .j = j}));
        }
    }
}

TEST(RowReference, ColumnsOfEveryLengthAreSorted)
{
    // Full columns of all rows in a scattered order, once each and with repeats: by each way of sorting.
    for (const unsigned m : {31U, 32U, 33U, 63U, 64U, 65U, 112U, 113U, 2000U, 5000U}) {
        const Model full = evenColumns(m, 2, m);
        Model wide = Model::empty({}, 20 * m, 1); // hardly any entries: rows are searched, not mapped
        wide.entries[{0, 20 * m - 1}] = 1;
        wide.fit();
        std::vector<double> scattered(m);
        std::vector<double> repeated(m);
        for (unsigned p = 0; p < m; ++p) {
            scattered[p] = (p * 7919 + 11) % m + 1.0; // a prime that divides no m here
            repeated[p] = p * p % m + 1.0;
        }
        for (const auto& rows : {scattered, repeated}) {
            const Subscript i = Subscript::list(rows);
            EXPECT_EQ("", checkOperation({.callee = Export::Ref5, .a = full, .i = i}));
            EXPECT_EQ("", checkOperation({.callee = Export::Ref3, .a = full, .i = i}));
            std::vector<double> spread = rows;
            std::for_each(spread.begin(), spread.end(), [](double& row) { row *= 20; });
            spread.resize(m / 20 + 1);
            spread.push_back(20.0 * m);
            EXPECT_EQ("", checkOperation({.callee = Export::Ref5, .a = wide, .i = Subscript::list(spread)}));
        }
    }
}

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

TEST(GeneralReference, FewRowsInAnyOrder)
{
    const Model a = evenColumns(1000, 3, 40, 100); // from seven rows on these are looked up
    ASSERT_TRUE(usesRowMap(a, 7));
    std::vector<double> sameLowDigit; // in no order, so that they are sorted
    for (unsigned i = 0; i < 300; ++i) {
        sameLowDigit.push_back((i ^ 1U) * 256.0 + 1);
    }
    const Model tall = evenColumns(300 * 256, 3, 500, 100);
    const Model dense = evenColumns(1200, 400, 120); // nearly all entries lie in a few rows, which nobody expects
    std::vector<double> inDense = {1200};
    for (unsigned i = 0; i < 120; ++i) {
        inDense.push_back(i * 7 % 120 + 1.0);
    }
    std::vector<double> sorted = inDense;
    std::ranges::sort(sorted);
    const std::pair<Model, Subscript> cases[] = {{a, Subscript::list({139, 5, 101, 101, 133, 120, 7, 110})},
                                                 {a, Subscript::list({5, 7, 101, 101, 110, 120, 133, 139})},
                                                 {a, Subscript::range(139, -5, 101)},
                                                 {tall, Subscript::list(sameLowDigit)},
                                                 {dense, Subscript::list(inDense)},
                                                 {dense, Subscript::list(sorted)}};
    for (const auto& [matrix, i] : cases) {
        EXPECT_EQ("", checkOperation({.callee = Export::Ref5, .a = matrix, .i = i}));
        EXPECT_EQ("", checkOperation({.callee = Export::Ref6, .a = matrix, .i = i, .j = Subscript::list({3, 1, 3})}));
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
