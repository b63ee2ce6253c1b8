// A(I,J) = B, A(:,J) = B and A(I,:) = B: how they fail, and which failure comes first.
#include "assign/cases.hpp"
#include "support/call.hpp"

using namespace zqsp::test;

namespace {

const Model kA = patterned(kReal, 3, 3);
const RightSide kSeven = RightSide::scalar(7);
const RightSide kPair = row({6, 7});
const RightSide kBlock = RightSide::full({2, 2, 2}, std::vector<Value>(8, 6));
const RightSide kContained = RightSide::literal(RightSide::Kind::ContainedLiteral);

} // namespace

/// Indices are bounded by the maximum, whatever the size of the target; what else is bad is so for references too.
TEST(RegionErrors, IndicesBeyondTheMaximum)
{
    const auto check = [](const Subscript& s) {
        for (const Operation& op : {toColumns(kA, s, kSeven), toRows(kA, s, kSeven),
                                    toRegion(kA, s, at({1, 2}), kSeven), toRegion(kA, at({1, 2}), s, kSeven)}) {
            EXPECT_EQ("", checkOperation(op));
        }
    };
    check(at({1, 1e300}));
    check(at({1, 2147483648.0}).as(kxSINGLE_CLASS)); // no larger single is the maximum
    check(Subscript::sparseMask(2147483648, 1, {{0, 2147483647}}));
    const MaxElements limit(42);
    check(Subscript::range(1, 1, 43));
    check(at({1, 43}).as(kxINT8_CLASS));
}

TEST(RegionErrors, ColumnsBeyondAQuarterOfTheMaximum)
{
    const MaxElements limit(44); // the eleventh column is the last that is new
    const Subscript late = Subscript::mask({0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1});
    for (const Model& a : {kA, Model::empty(kReal, 3, 0), withCapacity(kA, 90), patterned(kReal, 1, 20)}) {
        for (const Subscript& j : {at({11}), at({12}), at({12, 1}), at({15}), late}) {
            for (const RightSide& b : {kSeven, RightSide::scalar(0)}) {
                EXPECT_EQ("", checkOperation(toColumns(a, j, b)));
                for (const Subscript& i : {at({1}), at({1, 2}), at({})}) {
                    EXPECT_EQ("", checkOperation(toRegion(a, i, j, b)));
                }
            }
        }
    }
}

TEST(RegionErrors, OrderOfTheChecks)
{
    // The class of B, its dimensions, the rows, the columns, the shape, the size; single numbers and the literal have
    // checks of their own.
    const MaxElements limit(400); // the hundredth column is the last
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
    const Outcome tooLarge{Failure(kMaxSizeError), {}};
    for (const Operation& op : {toRegion(withCapacity(patterned(kReal, 2, 2), 9), s, s, kSeven),
                                toRegion(Model::unset(), s, s, kSeven), toRegion(column, Subscript::colon(), s, kSeven),
                                toColumns(column, s, kSeven), toRows(Model::empty(kReal, 1, kMany), s, kSeven)}) {
        EXPECT_EQ("", makeAndCheck(Call(op), op, tooLarge).complaint) << op; // too large for the model
    }
}

TEST(RegionErrors, EntriesBeyondAShareOfTheMaximum)
{
    // Several columns of a matrix of moderate height: entries of 8 bytes up to an eighth, columns up to a quarter;
    // those in other rows count.
    const MaxElements limit(100);
    unsigned failures = 0;
    for (const Model& a : {Model::empty(kReal, 10, 30), Model::empty(kLogical, 10, 30), Model::unset(), kA,
                           Model::empty(kReal, 0x200001, 2), patterned(kReal, 12, 3)}) {
        for (const double rows : {1, 2, 3, 6, 7, 10, 12, 13, 60}) {
            for (const unsigned columns : {1U, 2U, 3U, 25U, 26U}) {
                for (const RightSide& b :
                     {kSeven, RightSide::scalar(0), RightSide::of(Model::empty(kReal, 1, columns))}) {
                    const Operation op = toRegion(a, Subscript::range(1, 1, rows), Subscript::range(1, 1, columns), b);
                    EXPECT_EQ("", checkOperation(op));
                    failures += predict(op).ended == Ended(Failure(kMaxSizeError)) ? 1 : 0;
                }
            }
        }
    }
    EXPECT_GT(failures, 100U);
}
