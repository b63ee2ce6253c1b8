// The parts that the statements stand on: assembly, random numbers, completion.
#include "test_shell.hpp"

#include "assembly.hpp"
#include "completion.hpp"
#include "sampling.hpp"
#include "support/model.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <tuple>

namespace kxsh::test {
namespace {

using zqsp::test::Model;

/// Random entries against the model, in few columns, many of them on one place.
TEST(Assembly, SumsPlacesAndDropsZeros)
{
    Sampler random(11);
    for (const unsigned m : {1U, 7U, 4000000U}) {
        for (const bool complex : {false, true}) {
            const unsigned n = 1 + static_cast<unsigned>(random.below(6));
            Model expected = Model::empty({kxDOUBLE_CLASS, complex}, m, n);
            std::vector<std::tuple<unsigned, unsigned, zqsp::test::Value>> entries;
            Assembly assembly(m, n, kxDOUBLE_CLASS, complex ? kxCOMPLEX : kxREAL);
            for (int k = 0; k < 500; ++k) {
                const auto row = static_cast<unsigned>(random.below(random.below(2) != 0 ? m : std::min(m, 5U)));
                const auto column = static_cast<unsigned>(random.below(n));
                const auto part = [&random] { return static_cast<double>(random.below(3)) - 1; };
                const zqsp::test::Value value(part(), complex ? part() : 0);
                entries.emplace_back(row, column, value);
                assembly.count(column);
                expected.entries[{column, row}] += value;
            }
            assembly.startPlacing();
            for (const auto& [row, column, value] : entries) {
                assembly.place(row, column, value.real(), value.imag());
            }
            std::erase_if(expected.entries, [](const auto& entry) { return entry.second == 0.0; });
            EXPECT_EQ("", zqsp::test::diff(assembly.finish().get(), expected.fit()));
        }
    }
}

TEST(Sampling, ChoosesDistinctNumbersInOrder)
{
    for (const std::uint64_t bound : {1ULL, 10ULL, 1000ULL, 1ULL << 45}) {
        for (const std::uint64_t count : {0ULL, 1ULL, 2ULL, 9ULL, 240ULL, 260ULL, 1000ULL}) {
            if (count > bound) {
                continue;
            }
            const auto chosen = Sampler(5).choose(count, bound);
            ASSERT_EQ(chosen.size(), count);
            EXPECT_TRUE(std::is_sorted(chosen.begin(), chosen.end(), std::less_equal<>())) << "and none twice";
            EXPECT_TRUE(count == 0 || chosen.back() < bound);
        }
    }
    // Every number has its chance: over many seeds, each of ten is chosen about 300 times in 1000 draws of three.
    std::map<std::uint64_t, int> times;
    for (std::uint64_t seed = 0; seed < 1000; ++seed) {
        for (const std::uint64_t number : Sampler(seed).choose(3, 10)) {
            ++times[number];
        }
    }
    for (const auto& [number, count] : times) {
        EXPECT_NEAR(count, 300, 75) << number;
    }
}

TEST(Completion, NamesAndFiles)
{
    const TestFolder folder;
    folder.file("plate.mtx", "");
    folder.file("plate.svg", "");
    std::filesystem::create_directory(folder / "plates");
    TestShell shell;
    shell("spread = 1; x = 2;");
    using Names = std::vector<std::string>;
    EXPECT_EQ(complete(shell.session(), "A = spr").candidates, (Names{"sprand", "spread"}));
    EXPECT_EQ(complete(shell.session(), "A = spr").common, "spr");
    EXPECT_EQ(complete(shell.session(), "A(e").candidates, (Names{"else", "elseif", "end", "exit", "eye"}));
    EXPECT_EQ(complete(shell.session(), "mmr").common, "mmread");
    EXPECT_EQ(complete(shell.session(), "A' * spe").common, "speye");
    EXPECT_EQ(complete(shell.session(), "zzz").candidates, Names{});
    const Completion files = complete(shell.session(), "mmread('" + (folder / "pla"));
    EXPECT_EQ(files.candidates, (Names{folder / "plate.mtx", folder / "plate.svg", folder / "plates/"}));
    EXPECT_EQ(files.common, folder / "plate");
    EXPECT_EQ(files.begun, (folder / "pla").size());
    EXPECT_EQ(complete(shell.session(), "f('no/such/folder/x").candidates, Names{});
}

} // namespace
} // namespace kxsh::test
