// Reshape: which are legal, and that its two methods agree.
#include "support/draw.hpp"
#include "support/generators.hpp"

#include <numeric>

using namespace zqsp::test;

TEST(Reshape, LegalExactlyWhereTheElementCountsAgree)
{
    for (unsigned sizes = 0; sizes < 4096; ++sizes) {
        const unsigned m = sizes % 8, n = sizes / 8 % 8, newM = sizes / 64 % 8, newN = sizes / 512;
        EXPECT_EQ(spReshapeOk(m, n, newM, newN), isReshape(m, n, newM, newN)) << m << 'x' << n << " to " << newM;
    }
    EXPECT_TRUE(spReshapeOk(0xFFFFFFFF, 0xFFFFFFFE, 0xFFFFFFFE, 0xFFFFFFFF));
    EXPECT_FALSE(spReshapeOk(0x10000, 0x10000, 1, 0)); // equal in 32 bits only
    EXPECT_FALSE(spReshapeOk(0x10000, 0x10001, 0x10000, 1));
    EXPECT_FALSE(spReshapeOk(0x80000000, 2, 0, 7));
    EXPECT_TRUE(spReshapeOk(0xC0000000, 2, 0x80000000, 3));
}

TEST(Reshape, BothMethodsGiveTheSame)
{
    property(3000, [] {
        const Model a = drawModel();
        const auto elements = static_cast<unsigned>(a.numel());
        if (elements == 0) {
            return holds({.callee = Export::Reshape, .a = a, .newM = draw(5), .newN = 0});
        }
        const unsigned m = std::gcd(elements, 1 + draw(60)) * std::gcd(elements, 1 + draw(7));
        if (elements % m != 0) {
            return;
        }
        const Operation op{.callee = Export::Reshape, .a = a, .newM = m, .newN = elements / m};
        holds(op);
        const MaxElements tiny(0); // no element count is representable: by division
        holds(op);
    });
}
