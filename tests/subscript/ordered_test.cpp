// Ordered: ascending numbers and the places that name them, for lists in every order.
#include "subscript/ordered.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <vector>

using namespace zqsp;

namespace {

using Pairs = std::vector<std::pair<unsigned, unsigned>>; // number and place

Pairs expected(const std::vector<unsigned>& list, Repeats repeats)
{
    Pairs all;
    std::map<unsigned, unsigned> last;
    for (unsigned p = 0; p < list.size(); ++p) {
        all.emplace_back(list[p], p);
        last[list[p]] = repeats == Repeats::kNone ? 0 : p;
    }
    std::sort(all.begin(), all.end());
    return repeats == Repeats::kAll ? all : Pairs(last.begin(), last.end());
}

void check(const std::vector<unsigned>& list, Order order)
{
    const auto count = static_cast<unsigned>(list.size());
    for (const Repeats repeats : {Repeats::kAll, Repeats::kLast, Repeats::kNone}) {
        const Ordered ordered(IndexList(list.data(), count, order), repeats);
        const Numbers numbers(ordered.form());
        Pairs got;
        ordered.forEach([&](unsigned i, unsigned number) {
            got.emplace_back(number, repeats == Repeats::kNone ? 0 : ordered.source(i));
            EXPECT_EQ(numbers[i], number);
        });
        EXPECT_EQ(got, expected(list, repeats));
        for (unsigned number = 0; number < 50; ++number) {
            EXPECT_EQ(ordered.has(number), std::find(list.begin(), list.end(), number) != list.end()) << number;
        }
    }
}

} // namespace

TEST(Ordered, ListsInEveryOrder)
{
    std::mt19937 random(1);
    for (unsigned round = 0; round < 300; ++round) {
        std::vector<unsigned> list(round % 13);
        const unsigned bound = round % 2 == 0 ? 9 : 4000000000U; // marked, sorted
        std::generate(list.begin(), list.end(), [&] { return static_cast<unsigned>(random()) % bound; });
        check(list, Order::kUnsorted);
        std::sort(list.begin(), list.end());
        check(list, Order::kAscending);
        std::reverse(list.begin(), list.end());
        check(list, Order::kDescending);
        list.erase(std::unique(list.begin(), list.end()), list.end());
        check(list, Order::kDescending);
    }
}

TEST(Ordered, WhatIsNoList)
{
    const Ordered range(IndexRange(40, 1, -3, 14), Repeats::kLast);
    EXPECT_TRUE(range.isReversed() && range.sources() == nullptr);
    EXPECT_EQ(range.source(0), 13U);
    const std::vector<unsigned char> bytes = {0, 1, 0, 7, 0};
    const Ordered mask(LogicalMask{bytes.data(), 5, 2}, Repeats::kAll);
    const std::vector<unsigned> ir = {1, 0, 2};
    const std::vector<unsigned> jc = {0, 1, 1, 3};
    const Ordered sparse(SparseLogicalMask{ir.data(), jc.data(), 3, 3}, Repeats::kAll); // 1, 6, 8
    for (unsigned i = 0; i < 50; ++i) {
        EXPECT_EQ(range.has(i), i >= 1 && i <= 40 && i % 3 == 1) << i;
        EXPECT_EQ(mask.has(i), i == 1 || i == 3) << i;
        EXPECT_EQ(sparse.has(i), i == 1 || i == 6 || i == 8) << i;
    }
}
