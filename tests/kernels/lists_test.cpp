// The loops over numbers, rows and positions, each table's against the portable one.
#include "kernels/random_input.hpp"

#include <cmath>
#include <limits>

namespace zqsp::test {

namespace {

INSTANTIATE_TEST_SUITE_P(Tables, KernelTable, ::testing::ValuesIn(testedTables()),
                         [](const auto& each) { return each.param->name; });

TEST_P(KernelTable, StoresIndices)
{
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    forEachLength([&](unsigned length) {
        for (const double highest : {0.0, 1.0, 20.0, 2147483647.0}) {
            std::vector<double> values(length);
            std::ranges::generate(values, [&] { return 1 + draw(std::max(1U, static_cast<unsigned>(highest))); });
            if (length > 0 && oneIn(2)) {
                const std::array bad{0.0,          -1.0,         1.5,           highest + 1,  highest + 0.5,
                                     5e-324,       4294967297.0, -2147483648.0, kInfinity,    -kInfinity,
                                     std::nan(""), 1e300,        2147483648.0,  -4294967295.0};
                values[draw(length)] = bad[draw(bad.size())];
            }
            const Guarded from(values, edge());
            Words expected(length);
            const bool good = portable().storeIndices(from.data(), length, highest, expected.data());
            const Guarded to(Words(length), edge());
            EXPECT_EQ(table().storeIndices(from.data(), length, highest, to.data()), good);
            if (good) {
                EXPECT_EQ(to.values(), expected);
            }
        }
    });
}

TEST_P(KernelTable, LearnsSteps)
{
    forEachLength([&](unsigned length) {
        for (const unsigned expected : {0U, 1U, 0xFFFFFFFFU, 0x80000001U}) {
            Words indices(length + 1, oneIn(2) ? anyWord() : draw(1000));
            for (unsigned i = 1; i <= length; ++i) {
                indices[i] = indices[i - 1] + expected;
            }
            if (length > 0 && oneIn(2)) {
                indices[draw(length + 1)] = oneIn(2) ? anyWord() : draw(1000);
            }
            const Guarded all(indices, edge());
            const Steps steps = table().stepsTo(all.data() + 1, length, expected);
            const auto isAny = [&](const auto& step) {
                return std::ranges::adjacent_find(indices, step) != indices.end();
            };
            EXPECT_EQ(steps.fall, isAny(std::greater<>()));
            EXPECT_EQ(steps.rise, isAny(std::less<>()));
            EXPECT_EQ(steps.irregular, isAny([=](unsigned i, unsigned next) { return next - i != expected; }));
        }
    });
}

TEST_P(KernelTable, RanksRows)
{
    for (unsigned length = 0; length <= zqsp::kMostRanked; length += length < 66 ? 1 : 31) {
        Words rows(length);
        std::iota(rows.begin(), rows.end(), anyWord()); // past the highest word, too
        std::ranges::for_each(rows, [](unsigned& row) { row *= kHashMultiplier; });
        const Guarded from(rows, edge());
        const Guarded ranks(Words(length), edge());
        Words expected(length);
        portable().rankRows(rows.data(), length, expected.data());
        table().rankRows(from.data(), length, ranks.data());
        EXPECT_EQ(ranks.values(), expected);
    }
}

TEST_P(KernelTable, SiftsRows)
{
    forEachLength([&](unsigned length) {
        for (const bool hasFew : {false, true}) {
            const unsigned m = 1 + draw(oneIn(4) ? 200000 : 3000);
            const Words rows = ascending(m, oneIn(2) ? 1 : anyShare());
            FewRows few;
            std::ranges::for_each(rows, [&](unsigned row) { few.add(row); });
            const Guarded set(wordsOf(rows, m), edge());
            const unsigned begin = draw(3);
            const Guarded ir(words(begin + length, m), edge());
            Words expected(length);
            const unsigned count =
                portable().siftRows(set.data(), nullptr, ir.data(), begin, begin + length, expected.data());
            expected.resize(count);
            const Guarded found(Words(std::min(count + kKernelSlack, length)), edge());
            ASSERT_EQ(
                table().siftRows(set.data(), hasFew ? &few : nullptr, ir.data(), begin, begin + length, found.data()),
                count);
            EXPECT_TRUE(std::ranges::equal(expected, std::span(found.data(), count)));
        }
    });
}

/// The lists are gone through by blocks, as a caller does whose list is made in blocks.
TEST_P(KernelTable, Intersects)
{
    forEachLength([&](unsigned length) {
        const unsigned range = 1 + length + draw(2 * length + 1);
        const Words first = ascending(range, anyShare());
        Words second = oneIn(2) ? words(length, range) : ascending(range, anyShare());
        std::ranges::sort(second);
        Words expectedFirst(second.size());
        Words expectedSecond(second.size());
        const auto firstCount = static_cast<unsigned>(first.size());
        const auto secondCount = static_cast<unsigned>(second.size());
        const unsigned count = portable()
                                   .intersect(first.data(), firstCount, second.data(), secondCount,
                                              expectedFirst.data(), expectedSecond.data())
                                   .count;
        expectedFirst.resize(count);
        expectedSecond.resize(count);

        const Guarded mine(first, edge());
        const Guarded theirs(second, edge());
        const Guarded inFirst(Words(count + kKernelSlack), edge());
        const Guarded inSecond(Words(count + kKernelSlack), edge());
        const unsigned block = oneIn(2) ? range : 1 + draw(40);
        Common all{0, 0, 0};
        while (all.first < firstCount && all.second < secondCount) {
            const unsigned some = std::min(block, firstCount - all.first);
            const unsigned others = std::min(block, secondCount - all.second);
            unsigned* const numbers = inFirst.data() + all.count;
            unsigned* const otherNumbers = inSecond.data() + all.count;
            const Common found = table().intersect(mine.data() + all.first, some, theirs.data() + all.second, others,
                                                   numbers, otherNumbers);
            ASSERT_TRUE(found.first == some || found.second == others);
            ASSERT_LE(found.count, count - all.count);
            for (unsigned i = 0; i < found.count; ++i) {
                numbers[i] += all.first;
                otherNumbers[i] += all.second;
            }
            all = {all.count + found.count, all.first + found.first, all.second + found.second};
        }
        ASSERT_EQ(all.count, count);
        EXPECT_TRUE(std::ranges::equal(expectedFirst, std::span(inFirst.data(), count)));
        EXPECT_TRUE(std::ranges::equal(expectedSecond, std::span(inSecond.data(), count)));
    });
}

TEST_P(KernelTable, WritesStarts)
{
    for (const unsigned from : {0U, 4090U, 8190U}) {
        for (unsigned length = from; length < from + 35; ++length) {
            const Guarded columns(ascending(length, anyShare()), edge());
            const auto count = static_cast<unsigned>(columns.values().size());
            const Guarded starts(Words(length + 1), edge());
            Words expected(length + 1);
            portable().writeStarts(columns.data(), count, length, expected.data());
            table().writeStarts(columns.data(), count, length, starts.data());
            ASSERT_EQ(starts.values(), expected);
        }
    }
}

} // namespace

} // namespace zqsp::test
