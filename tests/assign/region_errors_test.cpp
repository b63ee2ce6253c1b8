// A(I,J) = B, A(:,J) = B and A(I,:) = B: how they fail, and which failure comes first.
#include "assign/region_cases.hpp"
#include "support/patterns.hpp"

#include <limits>

using namespace zqsp::test;

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr Storage kLogical{kxLOGICAL_CLASS, false};

const Model kA = patterned(kReal, 3, 3);
const RightSide kSeven = RightSide::scalar(7);
const RightSide kPair = RightSide::full({1, 2}, {6, 7});
const RightSide kBlock = RightSide::full({2, 2, 2}, std::vector<Value>(8, 6));
const RightSide kContained = RightSide::literal(RightSide::Kind::ContainedLiteral);

/// The call fails like this, with nothing changed and nothing leaked; so says its prediction.
void expectFailure(const Operation& op, const Failure& failure)
{
    SCOPED_TRACE(testing::Message() << op);
    EXPECT_EQ(predict(op).ended, Ended(failure));
    EXPECT_EQ("", checkOperation(op));
}

void expectStatus(const Operation& op, spStatus status)
{
    expectFailure(op, {status, ""});
}

void expectThrown(const Operation& op, const char* identifier)
{
    expectFailure(op, {spOK, identifier});
}

/// The call completes as predicted.
void expectCompletes(const Operation& op)
{
    EXPECT_TRUE(predict(op).ended.completed()) << op;
    EXPECT_EQ("", checkOperation(op));
}

} // namespace

TEST(RegionErrors, BadIndices)
{
    const struct
    {
        Subscript s;
        spStatus status;
    } bad[] = {{at({1, 0}), spIndexBelowOne},
               {at({0.5, 1}), spIndexBelowOne},
               {at({-3, 1}), spIndexBelowOne},
               {Subscript::sparseList({1, 0}), spIndexBelowOne},
               {at({1, 1.5}), spIndexNotPositiveInteger},
               {at({1, kNaN}), spIndexNotPositiveInteger},
               {at({1, kInf}), spIndexNotPositiveInteger},
               {at({1, 0}).as(kxUINT8_CLASS), spIndexNotPositiveInteger},
               {at({1, -1}).as(kxINT64_CLASS), spIndexNotPositiveInteger},
               {Subscript::range(0, 1, 2), spIndexNotPositiveInteger},
               {Subscript::range(0.5, 1, 2), spIndexNotPositiveInteger},
               {at({1, 1e300}), spIndexExceedsMaxSize},
               {at({1, 4e9}).as(kxUINT32_CLASS), spIndexExceedsMaxSize},
               {at({1, 2147483648.0}).as(kxSINGLE_CLASS), spIndexOutOfRange}, // no larger single is the maximum
               {Subscript::sparseMask(2147483648, 1, {{0, 2147483647}}), spIndexExceedsMaxSize}};
    for (const auto& [s, status] : bad) {
        expectStatus(toColumns(kA, s, kSeven), status);
        expectStatus(toRows(kA, s, kSeven), status);
        expectStatus(toRegion(kA, s, at({1, 2}), kSeven), status);
        expectStatus(toRegion(kA, at({1, 2}), s, kSeven), status);
    }
    Subscript complex = at({1, 2});
    complex.complex = true;
    expectStatus(toColumns(kA, complex, kSeven), spIndexNotPositiveInteger);
    expectStatus(toRegion(kA, at({1}), complex, kSeven), spIndexNotPositiveInteger);
}

TEST(RegionErrors, IndicesBeyondALowerMaximum)
{
    const MaxElements limit(42);
    const Subscript small = at({1, 43}).as(kxINT8_CLASS);
    for (const Subscript& s : {Subscript::range(1, 1, 43), Subscript::range(43, -1, 1), small}) {
        expectStatus(toColumns(kA, s, kSeven), spIndexOutOfRange);
        expectStatus(toRows(kA, s, kSeven), spIndexOutOfRange);
        expectStatus(toRegion(kA, at({1, 2}), s, kSeven), spIndexOutOfRange);
        expectStatus(toRegion(kA, s, at({1, 2}), kSeven), spIndexOutOfRange);
    }
    expectStatus(toRows(kA, at({1, 43}), kSeven), spIndexExceedsMaxSize);
    expectCompletes(toRows(kA, at({1, 42}), RightSide::scalar(0)));
}

TEST(RegionErrors, ColumnsBeyondAQuarterOfTheMaximum)
{
    const MaxElements limit(44); // the eleventh column is the last
    const Subscript one = at({1});
    const Subscript two = at({1, 2});
    const RightSide zero = RightSide::scalar(0);
    for (const RightSide& b : {kSeven, zero}) {
        expectCompletes(toColumns(kA, at({11}), b));
        expectCompletes(toRegion(kA, one, at({11}), b));
        expectCompletes(toRegion(kA, two, at({11}), b));
        expectCompletes(toRegion(kA, at({}), at({11}), b));
        for (const Model& a : {kA, Model::empty(kReal, 3, 0), withRoom(kA, 90)}) {
            expectThrown(toColumns(a, at({12}), b), kMaxSizeError);
            expectThrown(toColumns(a, Subscript::range(12, -1, 1), b), kMaxSizeError);
            expectThrown(toRegion(a, one, at({12}), b), kMaxSizeError);
            expectThrown(toRegion(a, at({9}), Subscript::mask({0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}), b), kMaxSizeError);
            expectThrown(toRegion(a, two, at({12, 1}), b), kMaxSizeError);
            expectThrown(toRegion(a, at({}), at({12}), b), kMaxSizeError);
        }
    }
    expectCompletes(toColumns(patterned(kReal, 1, 20), at({15}), kSeven)); // a column that is there already
}

TEST(RegionErrors, ShapesThatDoNotFit)
{
    const RightSide square = RightSide::full({2, 2}, {1, 2, 3, 4});
    const RightSide none = RightSide::of(Model::empty(kReal, 0, 0));
    expectStatus(toColumns(kA, at({1}), kPair), spAssignDimMismatch);
    expectStatus(toColumns(kA, at({1, 2}), RightSide::full({2, 3}, std::vector<Value>(6, 1))), spAssignDimMismatch);
    expectStatus(toColumns(kA, at({}), square), spAssignDimMismatch);
    expectStatus(toColumns(kA, at({1}), none), spAssignDimMismatch);
    expectStatus(toColumns(kA, at({1}), kContained), spAssignDimMismatch);
    expectStatus(toColumns(Model::unset(), at({}), square), spAssignDimMismatch);
    expectStatus(toRows(kA, at({1}), kPair), spAssignDimMismatch);
    expectStatus(toRows(kA, at({1, 2}), RightSide::full({3, 2}, std::vector<Value>(6, 1))), spAssignDimMismatch);
    expectStatus(toRows(kA, at({}), square), spAssignDimMismatch);
    expectStatus(toRows(kA, at({1}), kContained), spAssignDimMismatch);
    expectStatus(toRegion(kA, at({1}), at({1}), kPair), spAssignDimMismatch);
    expectStatus(toRegion(kA, at({1, 2, 3}), at({1, 2}), RightSide::full({2, 3}, std::vector<Value>(6, 1))),
                 spAssignDimMismatch);
    expectStatus(toRegion(kA, at({}), at({1, 2}), kPair), spAssignDimMismatch);
    expectStatus(toRegion(kA, at({1}), at({1, 2}), none), spAssignDimMismatch);
    for (const Operation& op : {toColumns(kA, at({1, 2}), kBlock), toRows(kA, at({1, 2}), kBlock),
                                toRegion(kA, at({1, 2}), at({1, 2}), kBlock), toRegion(kA, at({1}), at({1}), kBlock)}) {
        expectStatus(op, spAssignDimMismatch);
    }
}

TEST(RegionErrors, TheEmptyLiteralIsToldApart)
{
    const Subscript colon = Subscript::colon();
    for (const RightSide& b : {RightSide::literal(), kContained}) {
        expectStatus(toRegion(kA, at({1}), at({1}), b), spEmptyAssignDisallowed);
        expectStatus(toRegion(kA, at({1, 2}), at({1, 2}), b), spEmptyAssignDisallowed);
        expectStatus(toRegion(kA, colon, at({1}), b), spEmptyAssignDisallowed);
        expectStatus(toRegion(Model::unset(), at({1}), at({1}), b), spEmptyAssignDisallowed);
    }
    // Converted to another class it is the literal no longer, which the mark of a deletion never is.
    const Model single = patterned({kxSINGLE_CLASS, false}, 3, 3);
    expectStatus(toRegion(single, colon, at({1}), RightSide::literal()), spEmptyAssignDisallowed);
    expectStatus(toRegion(single, colon, at({1}), kContained), spAssignDimMismatch);
    expectStatus(toColumns(kA, at({4}), RightSide::literal()), spIndexToRemoveOutOfRange);
    expectStatus(toRows(kA, at({1.5}), RightSide::literal()), spIndexNotPositiveInteger);
}

TEST(RegionErrors, SingleNumbersHaveChecksOfTheirOwn)
{
    const Subscript one = at({1});
    const struct
    {
        Subscript s;
        spStatus status;
    } bad[] = {{at({0}), spIndexBelowOne},
               {Subscript::list({0}).as(kxUINT8_CLASS), spIndexBelowOne},
               {Subscript::sparseList({0, 2}), spIndexBelowOne}, // the one that is stored is not the first
               {at({2.5}), spIndexNotPositiveInteger},
               {at({0.5}), spIndexNotPositiveInteger},
               {at({-3}), spIndexNotPositiveInteger},
               {at({kNaN}), spIndexNotPositiveInteger},
               {at({kInf}), spIndexNotPositiveInteger},
               {at({-kInf}), spIndexNotPositiveInteger}};
    for (const auto& [s, status] : bad) {
        for (const Model& a : {kA, Model::unset()}) {
            expectStatus(toRegion(a, s, one, kSeven), status);
            expectStatus(toRegion(a, one, s, kSeven), status);
            expectStatus(toRegion(a, s, at({1.5}), kSeven), status); // the row comes first
            expectStatus(toRegion(a, s, one, kPair), spAssignDimMismatch);
        }
    }
    expectThrown(toRegion(kA, at({3e9}), at({0}), kSeven), kSizeLimitError);
    expectThrown(toRegion(kA, one, at({1e300}), kSeven), kSizeLimitError);
    expectStatus(toRegion(kA, one, at({0}), kSeven), spIndexBelowOne);

    // A single number of a class that is never complex, a complex one, or a range of one is converted like a list.
    Subscript complex = one;
    complex.complex = true;
    expectStatus(toRegion(kA, complex, one, kSeven), spIndexNotPositiveInteger);
    expectStatus(toRegion(kA, Subscript::range(0, 1, 0), one, kSeven), spIndexNotPositiveInteger);
    expectStatus(toRegion(kA, at({0}).as(kxCHAR_CLASS), one, kSeven), spIndexNotPositiveInteger);
    expectStatus(toRegion(kA, at({0.5}), Subscript::range(1, 1, 1), kSeven), spIndexBelowOne);
    // One stored number among zeros counts as a single number: the first element.
    expectCompletes(toRegion(kA, Subscript::sparseList({2, 0}), one, kSeven));
}

TEST(RegionErrors, OrderOfTheChecks)
{
    const Model logical = patterned(kLogical, 3, 3);
    const RightSide nan = RightSide::full({1, 2}, {kNaN, 1});
    const RightSide nanBlock = RightSide::full({2, 2, 2}, std::vector<Value>(8, kNaN));
    const Subscript fraction = at({1, 1.5});
    const Subscript zero = at({0, 1});
    const Subscript good = at({1, 2});
    // A(I,J): the class of B, its dimensions, the rows, the columns, the shape, the size.
    expectThrown(toRegion(logical, fraction, good, nanBlock), kInvalidOperandError);
    expectStatus(toRegion(kA, fraction, good, kBlock), spAssignDimMismatch);
    expectStatus(toRegion(kA, fraction, zero, kPair), spIndexNotPositiveInteger);
    expectStatus(toRegion(kA, zero, fraction, kPair), spIndexBelowOne);
    expectStatus(toRegion(kA, good, zero, kPair), spIndexBelowOne);
    expectStatus(toRegion(kA, good, at({1, 2e9}), kPair), spAssignDimMismatch);
    expectThrown(toRegion(kA, good, at({1, 2e9}), kSeven), kMaxSizeError);
    // A(:,J) and A(I,:): the dimensions of B, its class, the subscript, the shape, the size.
    expectStatus(toColumns(logical, fraction, nanBlock), spAssignDimMismatch);
    expectStatus(toRows(logical, fraction, nanBlock), spAssignDimMismatch);
    expectThrown(toColumns(logical, fraction, nan), kInvalidOperandError);
    expectThrown(toRows(logical, fraction, nan), kInvalidOperandError);
    expectStatus(toColumns(kA, fraction, kPair), spIndexNotPositiveInteger);
    expectStatus(toRows(kA, zero, kPair), spIndexBelowOne);
    expectStatus(toColumns(kA, at({1, 2e9}), kPair), spAssignDimMismatch);
    expectThrown(toColumns(kA, at({1, 2e9}), kSeven), kMaxSizeError);
    // A target without a class takes B as it is, but B must be a matrix.
    expectStatus(toColumns(Model::unset(), Subscript::colon(), kBlock), spAssignDimMismatch);
    expectStatus(toRows(Model::unset(), Subscript::colon(), kBlock), spAssignDimMismatch);
}

TEST(RegionErrors, CountsPast32Bits)
{
    constexpr unsigned kMany = 65536; // 2^32 elements in all
    const Subscript all = Subscript::range(1, 1, kMany);
    const Array a = toArray(withRoom(patterned(kReal, 2, 2), 9));
    const Array column = toArray(Model::empty(kReal, kMany, 1));
    const Array row = toArray(Model::empty(kReal, 1, kMany));
    const Array seven = toArray(kSeven);
    const Array s = toArray(all);
    const Array colon = toArray(Subscript::colon());
    const Array unset = toArray(Model::unset());
    const Failure tooLarge{spOK, kMaxSizeError};
    expectFails([&] { return spAss6(a.get(), seven.get(), s.get(), s.get()); }, tooLarge, {a.get()});
    expectFails([&] { return spAss6(unset.get(), seven.get(), s.get(), s.get()); }, tooLarge, {unset.get()});
    expectFails([&] { return spAss6(column.get(), seven.get(), colon.get(), s.get()); }, tooLarge, {column.get()});
    expectFails([&] { return spAss4(column.get(), seven.get(), s.get()); }, tooLarge, {column.get()});
    expectFails([&] { return spAss5(row.get(), seven.get(), s.get()); }, tooLarge, {row.get()});
}

TEST(RegionErrors, EntriesBeyondAShareOfTheMaximum)
{
    // Several columns of a matrix of moderate height: entries of 8 bytes up to an eighth, columns up to a quarter.
    const MaxElements limit(100);
    const auto assign = [](const Model& a, double rows, double columns, const RightSide& b, bool fits) {
        const Array target = toArray(a);
        const Array rightSide = toArray(b);
        const Array i = toArray(Subscript::range(1, 1, rows));
        const Array j = toArray(Subscript::range(1, 1, columns));
        const auto call = [&] { return spAss6(target.get(), rightSide.get(), i.get(), j.get()); };
        SCOPED_TRACE(testing::Message() << rows << " by " << columns << " of " << a);
        if (fits) {
            EXPECT_EQ(run(call), Ended());
            EXPECT_EQ("", brokenInvariant(target.get()));
        } else {
            expectFails(call, {spOK, kMaxSizeError}, {target.get()});
        }
    };
    const Model wide = Model::empty(kReal, 10, 30);
    assign(wide, 6, 2, kSeven, true);
    assign(wide, 7, 2, kSeven, false);
    assign(wide, 60, 1, kSeven, true);
    assign(Model::unset(), 7, 2, kSeven, false);
    assign(Model::empty(kReal, 0x200001, 2), 7, 2, kSeven, true);
    assign(Model::empty(kLogical, 10, 30), 12, 2, kSeven, true);
    assign(Model::empty(kLogical, 10, 30), 13, 2, kSeven, false);
    assign(kA, 3, 3, kSeven, true);
    assign(patterned(kReal, 12, 3), 2, 3, kSeven, false); // entries in other rows count
    const auto zeros = [](unsigned n) { return RightSide::of(Model::empty(kReal, 1, n)); };
    assign(wide, 1, 25, zeros(25), true);
    assign(wide, 1, 26, zeros(26), false);
    assign(wide, 10, 26, RightSide::scalar(0), true);
}
