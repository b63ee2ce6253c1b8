// Which reshapes are legal.
#include "support/model_operations.hpp"

#include <gtest/gtest.h>

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
