// A(I,J) = B, A(:,J) = B and A(I,:) = B: how they fail, and which failure comes first.
#include "assign/cases.hpp"
#include "support/operation.hpp"

using namespace zqsp::test;

namespace {

const Model kA = patterned(kReal, 3, 3);
const RightSide kSeven = RightSide::scalar(7);
const RightSide kPair = row({6, 7});
const RightSide kBlock = RightSide::full({2, 2, 2}, std::vector<Value>(8, 6));
const RightSide kContained = RightSide::literal(RightSide::Kind::ContainedLiteral);

} // namespace

TEST(RegionErrors, OrderOfTheChecks)
{
    // The class of B, its dimensions, the rows, the columns, the shape, the size; single numbers and the literal have
    // checks of their own.
    const MaxElements limit(401); // the hundredth column is the last
    const Model single = patterned({kxSINGLE_CLASS, false}, 3, 3);
    const RightSide sides[] = {kSeven,
                               kPair,
                               kBlock,
                               kContained,
                               RightSide::literal(),
                               row({kNaN, 1}),
                               RightSide::full({2, 2, 2}, std::vector<Value>(8, kNaN))};
    const std::vector<Subscript> subscripts = oddSubscripts();
    for (const Model& a : {kA, single, patterned(kLogical, 3, 3), Model::unset()}) {
        for (const RightSide& b : sides) {
            if (b.isDeletion() && a.isUnset()) {
                continue; // of a deletion from nothing the models know nothing
            }
            for (const Subscript& i : subscripts) {
                EXPECT_EQ("", checkOperation(toColumns(a, i, b)));
                EXPECT_EQ("", checkOperation(toRows(a, i, b)));
                for (const Subscript& j : subscripts) {
                    EXPECT_EQ("", checkOperation(toRegion(a, i, j, b)));
                }
            }
        }
    }
}

TEST(RegionErrors, CountsPast32Bits)
{
    constexpr unsigned kMany = 65536; // 2^32 elements in all
    const Subscript s = Subscript::range(1, 1, kMany);
    const Model column = Model::empty(kReal, kMany, 1);
    const Subscript fewer = Subscript::range(1, 1, 60000); // more than the maximum all the same
    const Subscript more = Subscript::range(1, 1, 90000);  // in 32 bits a count that is left over
    const Subscript everyOther = Subscript::range(1, 2, 131071);
    const Outcome tooLarge{Failure(kMaxSizeError), {}};
    const LargestBlock small(1U << 21); // nothing is obtained first
    for (const Operation& op :
         {toRegion(withCapacity(patterned(kReal, 2, 2), 9), s, s, kSeven),
          toRegion(Model::unset(), fewer, fewer, kSeven), toRegion(column, Subscript::colon(), s, kSeven),
          toColumns(column, s, kSeven), toRows(patterned(kReal, 1, kMany), everyOther, kSeven),
          toRows(emptyFull(kReal, 0, kMany), more, kSeven)}) {
        EXPECT_EQ("", makeAndCheck(Call(op), op, tooLarge).complaint) << op; // too large for the model
    }
}

/// Up to a moderate height, the entries of several columns are bounded by a share of the maximum.
TEST(RegionErrors, EntriesBeyondAShareOfTheMaximum)
{
    const MaxElements limit(100);
    for (const unsigned m : {10U, 0x200000U, 0x200001U}) {
        for (const unsigned columns : {1U, 4U, 6U, 7U, 25U, 26U}) {
            const Subscript j = Subscript::range(1, 1, columns);
            EXPECT_EQ("", checkOperation(toRegion(Model::empty(kReal, m, 30), at({1, 2}), j, kSeven)));
        }
    }
}
