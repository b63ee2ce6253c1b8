// Random input of the lengths at which loops over whole registers and blocks begin and end.
#ifndef ZQSP_TESTS_KERNELS_RANDOM_INPUT_HPP
#define ZQSP_TESTS_KERNELS_RANDOM_INPUT_HPP

#include "kernels/guarded.hpp"
#include "kernels/tested.hpp"

#include <algorithm>
#include <numeric>
#include <random>

namespace zqsp::test {

using Words = std::vector<unsigned>;

/// One for each table of the program.
class KernelTable : public ::testing::TestWithParam<const Kernels*>
{
  protected:
    [[nodiscard]] static const Kernels& table() { return *GetParam(); }
    [[nodiscard]] static const Kernels& portable() { return *testedTables().back(); }

    /// 0 .. below-1.
    unsigned draw(unsigned below) { return std::uniform_int_distribution<unsigned>(0, below - 1)(random_); }
    unsigned anyWord() { return static_cast<unsigned>(random_()); }
    bool oneIn(unsigned n) { return draw(n) == 0; }
    Edge edge() { return oneIn(4) ? Edge::kBefore : Edge::kBehind; }

    Words words(std::size_t count, unsigned below)
    {
        Words all(count);
        std::ranges::generate(all, [&] { return draw(below); });
        return all;
    }
    std::vector<std::byte> bytes(std::size_t count)
    {
        std::vector<std::byte> all(count);
        std::ranges::generate(all, [&] { return static_cast<std::byte>(random_()); });
        return all;
    }
    /// Each of 0 .. below-1 by a chance of `share` in 64.
    Words ascending(unsigned below, unsigned share)
    {
        Words all;
        for (unsigned i = 0; i < below; ++i) {
            if (draw(64) < share) {
                all.push_back(i);
            }
        }
        return all;
    }
    unsigned anyShare() { return std::array{0U, 1U, 6U, 32U, 58U, 64U}[draw(6)]; }

    /// f(length) for every length about two registers, and about one and two blocks.
    template <typename F>
    static void forEachLength(F&& f)
    {
        for (const auto& [first, end] : {std::pair{0U, 35U}, {1006U, 1042U}, {2047U, 2050U}}) {
            for (unsigned length = first; length < end && !HasFailure(); ++length) {
                SCOPED_TRACE(length);
                f(length);
            }
        }
    }

  private:
    std::mt19937 random_{20240229};
};

/// The set of ascending rows below m, in words.
inline std::vector<RowWord> wordsOf(const Words& rows, unsigned m)
{
    std::vector<RowWord> set((m + RowWord::kBits - 1) / RowWord::kBits);
    for (const unsigned row : rows) {
        set[row / RowWord::kBits].members |= 1U << row % RowWord::kBits;
    }
    for (std::size_t i = 1; i < set.size(); ++i) {
        set[i].before = set[i - 1].before + static_cast<unsigned>(std::popcount(set[i - 1].members));
    }
    return set;
}

} // namespace zqsp::test

#endif
