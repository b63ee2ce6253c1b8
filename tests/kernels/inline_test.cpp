// The loops that are too short to be called through a table.
#include "kernels/compare_rows.hpp"
#include "kernels/guarded.hpp"
#include "kernels/mask_bits.hpp"

#include <numeric>
#include <random>

namespace zqsp::test {

namespace {

using Bytes = std::vector<unsigned char>;

TEST(TrueBytes, AreCountedAndFound)
{
    std::mt19937 random(7);
    for (unsigned length = 0; length < 200 && !::testing::Test::HasFailure(); ++length) {
        for (const unsigned oneIn : {1U, 3U, 60U, 1000U}) {
            Bytes bytes(length);
            std::ranges::generate(bytes, [&] { return random() % oneIn == 0 ? 1 + random() % 255 : 0; });
            std::vector<unsigned> expected;
            for (unsigned i = 0; i < length; ++i) {
                if (bytes[i] != 0) {
                    expected.push_back(i);
                }
            }
            const Guarded mask(bytes, length % 2 == 0 ? Edge::kBehind : Edge::kBefore);
            EXPECT_EQ(countTrue(mask.data(), 0, length), expected.size());
            std::vector<unsigned> found;
            for (unsigned i = 0; (i = nextTrue(mask.data(), i, length)) < length; ++i) {
                found.push_back(i);
            }
            EXPECT_EQ(found, expected);
            if (!expected.empty()) {
                EXPECT_EQ(lastTrue(mask.data(), length), expected.back());
            }
        }
    }
    const Guarded many(Bytes(20000, 0xFF), Edge::kBehind); // counts of a byte would overflow
    EXPECT_EQ(countTrue(many.data(), 0, 20000), 20000U);
}

TEST(ComparedRows, RankAndEqual)
{
    std::vector<unsigned> rows(kComparedRows); // past the highest positive word of a signed comparison
    std::generate(rows.begin(), rows.end(), [row = 0x7FFFFFE0U]() mutable { return row += 4; });
    const Guarded compared(rows, Edge::kBehind);
    for (unsigned length = 0; length <= kComparedRows; ++length) {
        for (unsigned row = rows.front() - 1; row <= rows.back() + 1; ++row) {
            const auto end = rows.begin() + length;
            const auto at = std::lower_bound(rows.begin(), end, row);
            EXPECT_EQ(rankAmong(compared.data(), length, row), at - rows.begin());
            EXPECT_EQ(whichAmong(compared.data(), length, row), at != end && *at == row ? 1 << (at - rows.begin()) : 0);
        }
    }
}

} // namespace

} // namespace zqsp::test
