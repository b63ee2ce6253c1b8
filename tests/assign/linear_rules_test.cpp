// A(K) = B and A(:) = B: growth, contents and capacity spelled out, sizes at the limits.
#include "assign/cases.hpp"
#include "support/call.hpp"

#include <algorithm>
#include <map>

using namespace zqsp::test;

namespace {

const Subscript kColon = Subscript::colon();
const RightSide kFive = RightSide::scalar(5);
const RightSide kZero = RightSide::scalar(0);

/// m-by-n with these entries.
Model storing(unsigned m, unsigned n, std::map<Place, Value> entries, unsigned nzmax)
{
    Model a = Model::empty(kReal, m, n);
    a.entries = std::move(entries);
    return withCapacity(a, nzmax);
}

} // namespace

TEST(LinearAssignment, Growth)
{
    const Model rowOfFive = Model::empty(kReal, 1, 5);
    const Model column = Model::of(kReal, {{1}, {0}, {2}});
    const struct
    {
        Model a;
        RightSide b;
        Subscript k;
        Model expected;
    } cases[] = {
        {rowOfFive, kZero, at({7}), storing(1, 7, {}, 0)}, // nothing stored, and still longer
        {column, kZero, at({4, 3}), storing(4, 1, {{{0, 0}, 1}}, 2)},
        {Model::empty(kReal, 0, 1), kFive, at({2}), storing(2, 1, {{{0, 1}, 5}}, 2)},
        {Model::empty(kReal, 0, 1), kFive, at({1, 3}), storing(1, 3, {{{0, 0}, 5}, {{2, 0}, 5}}, 3)},
        {Model::empty(kReal, 0, 1), kFive, at({3, 1}), storing(3, 1, {{{0, 0}, 5}, {{0, 2}, 5}}, 3)},
        // the last of repeated indices wins, also where it is a zero
        {rowOfFive, row({5, 7, 0}), at({2, 4, 2}), storing(1, 5, {{{3, 0}, 7}}, 5)},
    };
    for (const auto& [a, b, k, expected] : cases) {
        expectGives(toElements(a, k, b), expected);
    }
}

TEST(LinearAssignment, CapacityGrowsByTenAtATime)
{
    const struct
    {
        unsigned m, n, nzmax, assigned, expected;
    } cases[] = {{50, 50, 10, 10, 10}, {50, 50, 10, 11, 20},  {50, 50, 10, 20, 20}, {50, 50, 10, 21, 30},
                 {50, 50, 0, 1, 10},   {50, 50, 3, 240, 243}, {3, 5, 10, 11, 15},   {1, 12, 4, 5, 12},
                 {1, 12, 0, 21, 21}}; // a vector is as long as it is when the room runs out: here 21 at the first index
    for (const auto& [m, n, nzmax, assigned, expected] : cases) {
        const Operation op = toElements(storing(m, n, {}, nzmax), Subscript::range(assigned, -1, 1), kFive);
        EXPECT_EQ("", checkOperation(op));
        EXPECT_EQ(predict(op).result.nzmax, expected);
    }
}

TEST(LinearAssignment, AllocationsHardlyGrowWithTheIndices)
{
    const auto allocationsFor = [](unsigned count) {
        std::vector<double> k;
        for (unsigned t = 0; t < count; ++t) {
            k.push_back(1 + (t * 7919) % 10000);
        }
        const Call call(toElements(Model::empty(kReal, 100, 100), at(k), kFive));
        const long before = kxrt::allocations();
        EXPECT_EQ(call.make(nullptr), spOK);
        return kxrt::allocations() - before;
    };
    constexpr long kDoublings = 4; // a growing list takes one more for each, none is taken for an entry
    EXPECT_LE(allocationsFor(9000), allocationsFor(1000) + kDoublings);
}

TEST(LinearAssignment, ZerosInsideKeepTheBlocks)
{
    for (const Storage storage : sparseStorages()) {
        const Model a = patterned(storage, 3, 4, storage.classId != kxLOGICAL_CLASS);
        const Call call(toElements(a, at({12, 4, 1, 2, 4}), kZero));
        const kxArray* target = call.target();
        const void* const blocks[] = {target->pr, target->ir, target->jc};
        ASSERT_EQ(call.make(nullptr), spOK);
        const void* const after[] = {target->pr, target->ir, target->jc};
        EXPECT_TRUE(std::equal(std::begin(blocks), std::end(blocks), std::begin(after))) << storage;
        EXPECT_EQ(target->nzmax, a.nzmax);
    }
}

TEST(LinearAssignment, PositionsAtTheLimit)
{
    const Model column = patterned(kComplex, 3, 1);
    const Model huge = storing(0x30000, 0x10000, {{{0, 5}, 1}, {{0x2AA9, 0x1FFFF}, 2}, {{0xFFFF, 0x2FFFF}, 3}}, 3);
    for (const RightSide& b : {row({7, 8, 9, 0}), kZero, kFive}) {
        EXPECT_EQ("", checkOperation(toElements(column, at({2147483647, 5, 2147483646, 2147483647}), b)));
        EXPECT_EQ("", checkOperation(toElements(huge, at({6, 2147483647, 2147352576, 7}), b)));
        EXPECT_EQ("",
                  checkOperation(toElements(huge, Subscript::range(2147483647, -65536, 2147483647 - 3 * 65536), b)));
    }
}

/// Values that the random tests do not draw, in every way of assigning one.
TEST(Assignment, WhatIsZero)
{
    const double tiny = std::numeric_limits<double>::denorm_min();
    const std::pair<Value, Storage> sources[] = {
        {-0.0, kReal},        {{-0.0, -0.0}, kComplex}, {{0, tiny}, kComplex}, {tiny, kReal},
        {kNaN, kReal},        {{0, kNaN}, kComplex},    {kInf, kReal},         {-0.4, kReal},
        {{0, 0.4}, kComplex}, {{0, 300}, kComplex}};
    for (const Storage storage : sparseStorages()) {
        const Model a = patterned(storage, 4, 3, storage.classId != kxLOGICAL_CLASS);
        for (const auto& [value, source] : sources) {
            const RightSide b = RightSide::scalar(value, source);
            for (const Operation& op : {toElements(a, at({3}), b), toElements(a, at({2, 9, 3, 1, 2}), b),
                                        toElements(a, at({3, 4, 5}), row({value, 0, value}, source)),
                                        toElements(a, kColon, b), toColumns(a, at({2}), b), toRows(a, at({2, 5}), b),
                                        toRegion(a, at({2}), at({2}), b), toRegion(a, at({3, 1}), at({1, 4}), b)}) {
                EXPECT_EQ("", checkOperation(op));
            }
        }
    }
}

TEST(ColonAssignment, ShapesAndSizes)
{
    const Failure mismatch(kColonMismatchError);
    const Failure tooLarge(spIndexExceedsMaxSize);
    const Model a = patterned(kReal, 3, 4);
    Model full = a;
    full.sparse = false;
    const Model huge = Model::empty(kReal, 0x10000, 0x10000);
    Model entry = Model::empty(kReal, 0x8000, 0x20000);
    entry.entries[{3, 9}] = 1;
    const RightSide pair = RightSide::full({1, 2}, {1, 2});
    const RightSide none = RightSide::full({0, 0}, {});
    const RightSide contained = RightSide::literal(RightSide::Kind::ContainedLiteral);
    const struct
    {
        Model a;
        RightSide b;
        Failure failure;
    } cases[] = {{a, RightSide::full({2, 2, 2}, std::vector<Value>(8, 5)), mismatch},
                 {a, RightSide::full({2, 0, 3}, {}), mismatch},
                 {a, contained, mismatch},
                 {Model::empty(kReal, 0, 3), none, {}},
                 {Model::empty(kReal, 0, 0), contained, {}},
                 {Model::empty(kReal, 0, 3), pair, mismatch},
                 {emptyFull(kReal, 0, 3), kFive, {}},
                 {full, kFive, {}},
                 {full, kZero, {}},
                 {Model::unset(), kFive, mismatch},
                 {Model::unset(), none, mismatch},
                 // the element counts agree in 32 bits only
                 {huge, RightSide::of(Model::empty(kReal, 0, 5)), mismatch},
                 {Model::empty(kReal, 0x10000, 0x10001), RightSide::of(Model::empty(kReal, 0x10000, 1)), mismatch},
                 // more elements than can be counted
                 {huge, kFive, tooLarge},
                 {huge, kZero, {}},
                 {huge, RightSide::of(entry.fit()), {}}};
    for (const auto& [target, b, failure] : cases) {
        expectEnds(toElements(target, kColon, b), failure);
    }
    const MaxElements limit(11);
    expectEnds(toElements(a, kColon, kFive), tooLarge);
    expectEnds(toElements(a, kColon, kZero), spOK);
}
