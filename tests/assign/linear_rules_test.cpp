// A(K) = B and A(:) = B: what the random tests do not draw.
#include "assign/cases.hpp"
#include "support/call.hpp"

#include <algorithm>

using namespace zqsp::test;

namespace {

const Subscript kColon = Subscript::colon();
const RightSide kFive = RightSide::scalar(5);
const RightSide kZero = RightSide::scalar(0);

} // namespace

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

/// A logical array that another program made holds any byte but 0 for true.
TEST(Assignment, TrueIsStoredAsOne)
{
    const Model a = patterned(kLogical, 4, 3, false);
    const auto toAll = [&](Subscript k, std::vector<Value> values) {
        return toElements(a, std::move(k), row(std::move(values), kLogical));
    };
    const Model sparse = patterned(kLogical, 12, 1, false);
    for (const Operation& op :
         {toAll(at({3}), {1}), toAll(at({2}), {1}), toAll(at({1, 2, 3, 4}), {1, 0, 1, 1}), toAll(at({1, 3}), {1, 1}),
          toAll(at({2, 2, 11}), {1, 1, 1}), toAll(Subscript::range(1, 1, 4), {1}), toAll(kColon, {1}),
          toElements(a, Subscript::range(1, 1, 12), RightSide::of(sparse)),
          toColumns(a, at({2, 4}), row({1}, kLogical))}) {
        const Call call(op);
        const kxArray* const b = call.unchanging(true).front();
        auto* const bytes = static_cast<unsigned char*>(b->pr);
        const unsigned stored = kxGetNumNonZeroEl(b);
        std::transform(bytes, bytes + stored, bytes, [](unsigned char byte) { return byte != 0 ? 254 : 0; });
        ASSERT_EQ(call.make(nullptr), spOK);
        EXPECT_EQ("", diff(call.target(), predict(op).result));
        EXPECT_TRUE(std::all_of(bytes, bytes + stored, [](unsigned char byte) { return byte == 0 || byte == 254; }));
    }
}

TEST(ColonAssignment, ShapesAndSizes)
{
    const Model a = patterned(kReal, 3, 4);
    Model full = a;
    full.sparse = false;
    Model entry = Model::empty(kReal, 0x8000, 0x20000);
    entry.entries[{3, 9}] = 1;
    // More elements than can be counted; some counts agree in 32 bits only.
    const Model targets[] = {a,
                             full,
                             emptyFull(kReal, 0, 3),
                             Model::empty(kReal, 0, 0),
                             Model::unset(),
                             Model::empty(kReal, 0x10000, 0x10000),
                             Model::empty(kReal, 0x10000, 0x10001)};
    const RightSide sides[] = {kFive,
                               kZero,
                               RightSide::literal(RightSide::Kind::ContainedLiteral),
                               RightSide::full({2, 2, 2}, std::vector<Value>(8, 5)),
                               RightSide::full({2, 0, 3}, {}),
                               RightSide::of(Model::empty(kReal, 0, 5)),
                               RightSide::of(Model::empty(kReal, 0x10000, 1)),
                               RightSide::of(entry.fit())};
    for (const RightSide& b : sides) {
        for (const Model& target : targets) {
            EXPECT_EQ("", checkOperation(toElements(target, kColon, b)));
        }
    }
    const MaxElements limit(11);
    EXPECT_EQ("", checkOperation(toElements(a, kColon, kFive)));
    EXPECT_EQ("", checkOperation(toElements(a, kColon, kZero)));
}
