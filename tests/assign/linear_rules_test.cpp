// A(K) = B: growth, contents and capacity spelled out, what counts as zero, every class of subscript and target.
#include "assign/linear_cases.hpp"

#include <algorithm>
#include <limits>
#include <map>

using namespace zqsp::test;
using namespace zqsp::test::linear;

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

} // namespace

TEST(LinearAssignment, Growth)
{
    const RightSide five = RightSide::scalar(5);
    const RightSide none = RightSide::scalar(0);
    const Model rowOfFive = Model::empty(kReal, 1, 5);
    const Model column = Model::of(kReal, {{1}, {0}, {2}});
    const auto at = [](unsigned m, unsigned n, std::map<Place, Value> entries, unsigned nzmax) {
        Model a = Model::empty(kReal, m, n);
        a.entries = std::move(entries);
        return withCapacity(a, nzmax);
    };
    const struct
    {
        Model a;
        RightSide b;
        Subscript k;
        Model expected;
    } cases[] = {{Model::of(kReal, {{7}}), five, Subscript::list({3}), at(1, 3, {{{0, 0}, 7}, {{2, 0}, 5}}, 3)},
                 {column, five, Subscript::list({5}), at(5, 1, {{{0, 0}, 1}, {{0, 2}, 2}, {{0, 4}, 5}}, 5)},
                 {rowOfFive, five, Subscript::list({7}), at(1, 7, {{{6, 0}, 5}}, 7)},
                 {rowOfFive, none, Subscript::list({7}), at(1, 7, {}, 0)}, // nothing stored, and still longer
                 {column, none, Subscript::list({4, 3}), at(4, 1, {{{0, 0}, 1}}, 2)},
                 {Model::empty(kReal, 0, 0), five, Subscript::list({2}), at(1, 2, {{{1, 0}, 5}}, 2)},
                 {Model::empty(kReal, 0, 4), five, Subscript::list({2}), at(1, 2, {{{1, 0}, 5}}, 2)},
                 {Model::empty(kReal, 4, 0), five, Subscript::list({2}), at(1, 2, {{{1, 0}, 5}}, 2)},
                 {Model::empty(kReal, 0, 1), five, Subscript::list({2}), at(2, 1, {{{0, 1}, 5}}, 2)},
                 {Model::empty(kReal, 0, 1), five, Subscript::list({1, 3}), at(1, 3, {{{0, 0}, 5}, {{2, 0}, 5}}, 3)},
                 {Model::empty(kReal, 0, 1), five, Subscript::list({3, 1}), at(3, 1, {{{0, 0}, 5}, {{0, 2}, 5}}, 3)},
                 {Model::empty(kReal, 1, 0), none, Subscript::list({3}), at(1, 3, {}, 0)},
                 // the last of repeated indices wins, also where it is a zero
                 {rowOfFive, row({5, 7}), Subscript::list({2, 2}), at(1, 5, {{{1, 0}, 7}}, 5)},
                 {rowOfFive, row({5, 7, 0}), Subscript::list({2, 4, 2}), at(1, 5, {{{3, 0}, 7}}, 5)},
                 {Model::of(kReal, {{1, 2}, {3, 4}}), row({0, 9}), Subscript::list({3, 2}),
                  at(2, 2, {{{0, 0}, 1}, {{0, 1}, 9}, {{1, 1}, 4}}, 4)}};
    for (const auto& [a, b, k, expected] : cases) {
        expectGives(assign(a, b, k), expected);
    }
}

TEST(LinearAssignment, CapacityGrowsByTenAtATime)
{
    const auto capacityAfter = [](unsigned m, unsigned n, unsigned nzmax, unsigned assigned) {
        std::vector<double> k;
        for (unsigned t = assigned; t > 0; --t) {
            k.push_back(t);
        }
        const Operation op =
            assign(withCapacity(Model::empty(kReal, m, n), nzmax), RightSide::scalar(5), Subscript::list(k));
        EXPECT_EQ("", checkOperation(op));
        return predict(op).result.nzmax;
    };
    EXPECT_EQ(capacityAfter(50, 50, 10, 10), 10U);
    EXPECT_EQ(capacityAfter(50, 50, 10, 11), 20U);
    EXPECT_EQ(capacityAfter(50, 50, 10, 20), 20U);
    EXPECT_EQ(capacityAfter(50, 50, 10, 21), 30U);
    EXPECT_EQ(capacityAfter(50, 50, 0, 1), 10U);
    EXPECT_EQ(capacityAfter(50, 50, 3, 240), 243U);
    EXPECT_EQ(capacityAfter(3, 5, 10, 11), 15U);
    EXPECT_EQ(capacityAfter(1, 12, 4, 5), 12U);
    // A vector is as long as it is when the room runs out: here 21 at the first index.
    EXPECT_EQ(capacityAfter(1, 12, 0, 21), 21U);

    // An entry that is stored and removed again needs room all the same, and one removed before makes some.
    const Model full = Model::of(kReal, {{1, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}});
    EXPECT_EQ(predict(assign(full, row({5, 0}), Subscript::list({3, 3}))).result.nzmax, 12U);
    EXPECT_EQ(predict(assign(full, row({0, 5}), Subscript::list({1, 3}))).result.nzmax, 2U);
    EXPECT_EQ(predict(assign(full, row({5, 0}), Subscript::list({3, 1}))).result.nzmax, 12U);
    for (const Subscript& k : {Subscript::list({3, 3}), Subscript::list({1, 3}), Subscript::list({3, 1})}) {
        EXPECT_EQ("", checkOperation(assign(full, row({5, 0}), k)));
        EXPECT_EQ("", checkOperation(assign(full, row({0, 5}), k)));
    }
}

TEST(LinearAssignment, AllocationsHardlyGrowWithTheIndices)
{
    const auto allocationsFor = [](unsigned count) {
        std::vector<double> k;
        for (unsigned t = 0; t < count; ++t) {
            k.push_back(1 + (t * 7919) % 10000);
        }
        const Array target = toArray(Model::empty(kReal, 100, 100));
        const Array b = toArray(RightSide::scalar(5));
        const Array subscript = toArray(Subscript::list(k));
        const long before = kxrt::allocations();
        EXPECT_EQ(spAss3(target.get(), b.get(), subscript.get()), spOK);
        return kxrt::allocations() - before;
    };
    constexpr long kDoublings = 4; // a growing list takes one more for each, none is taken for an entry
    EXPECT_LE(allocationsFor(9000), allocationsFor(1000) + kDoublings);
}

TEST(LinearAssignment, ZerosInsideKeepTheBlocks)
{
    for (const Storage storage : sparseStorages()) {
        const Model model = patterned(storage, 3, 4, storage.classId != kxLOGICAL_CLASS);
        const Array a = toArray(model);
        const Array zero = toArray(RightSide::scalar(0));
        const Array k = toArray(Subscript::list({12, 4, 1, 2, 4}));
        const void* const blocks[] = {a->pr, a->ir, a->jc};
        ASSERT_EQ(spAss3(a.get(), zero.get(), k.get()), spOK);
        const void* const after[] = {a->pr, a->ir, a->jc};
        EXPECT_TRUE(std::equal(std::begin(blocks), std::end(blocks), std::begin(after))) << storage;
        EXPECT_EQ(a->nzmax, model.nzmax);
    }
}

TEST(LinearAssignment, WhatIsZero)
{
    const double tiny = std::numeric_limits<double>::denorm_min();
    const std::pair<Value, Storage> sources[] = {{-0.0, kReal},
                                                 {{-0.0, -0.0}, kComplex},
                                                 {{0, 0}, kComplex},
                                                 {{0, tiny}, kComplex},
                                                 {tiny, kReal},
                                                 {{tiny, 0}, kComplex},
                                                 {kNaN, kReal},
                                                 {kInf, kReal},
                                                 {0.4, kReal},
                                                 {-1, kReal},
                                                 {{0, 3}, kComplex},
                                                 {{0, 0.4}, kComplex},
                                                 {{5, 0}, kComplex},
                                                 {300, kReal},
                                                 {1, kLogical},
                                                 {0, kLogical},
                                                 {200, {kxUINT8_CLASS, false}}};
    for (const Storage storage : sparseStorages()) {
        const Model a = patterned(storage, 4, 3, storage.classId != kxLOGICAL_CLASS);
        for (const auto& [value, source] : sources) {
            for (const Subscript& k : {Subscript::list({3}), Subscript::list({2}), Subscript::list({2, 9, 3, 1, 2})}) {
                EXPECT_EQ("", checkOperation(assign(a, RightSide::scalar(value, source), k)));
            }
            const RightSide many = row({value, 0, value}, source);
            EXPECT_EQ("", checkOperation(assign(a, many, Subscript::list({3, 4, 5}))));
            EXPECT_EQ("", checkOperation(assign(Model::unset(), many, Subscript::list({3, 4, 5}))));
        }
    }
    const Model mask = patterned(kLogical, 4, 3, false);
    expectEnds(assign(mask, RightSide::scalar(kNaN), Subscript::list({1})), {spOK, kInvalidOperandError});
}

TEST(LinearAssignment, EveryClassOfSubscript)
{
    for (const Storage storage : {kReal, kLogical, Storage{kxINT32_CLASS, false}}) {
        for (const Model& a : {patterned(storage, 3, 4, false), patterned(storage, 5, 1, false),
                               patterned(storage, 1, 5, false), Model::unset()}) {
            for (const kxClassID id :
                 {kxCHAR_CLASS, kxDOUBLE_CLASS, kxSINGLE_CLASS, kxINT8_CLASS, kxUINT8_CLASS, kxINT16_CLASS,
                  kxUINT16_CLASS, kxINT32_CLASS, kxUINT32_CLASS, kxINT64_CLASS, kxUINT64_CLASS}) {
                const Subscript k = Subscript::list({5, 2, 1, 5}).as(id);
                Subscript sparse = k;
                sparse.form = Form::SparseNumeric;
                for (const Subscript& s : {k, k.shaped(4, 1), k.shaped(2, 2), sparse, sparse.shaped(2, 2)}) {
                    EXPECT_EQ("", checkOperation(assign(a, row({7, 0, 9, 11}), s)));
                    EXPECT_EQ("", checkOperation(assign(a, RightSide::scalar(1), s)));
                }
            }
        }
    }
}

TEST(LinearAssignment, TargetsWithoutClassOrContent)
{
    const RightSide sources[] = {RightSide::scalar(5),
                                 RightSide::scalar(0),
                                 RightSide::scalar(1, kLogical),
                                 row({Value(0, 1), 0, 3}, {kxSINGLE_CLASS, true}),
                                 RightSide::full({1, 1, 3}, {1, 0, 2}, {kxUINT16_CLASS, false}),
                                 RightSide::of(patterned(kComplex, 3, 1)),
                                 RightSide::of(patterned(kLogical, 1, 3))};
    const Subscript subscripts[] = {Subscript::list({4, 1, 2}), Subscript::range(3, -1, 1),
                                    Subscript::mask({1, 0, 1, 1}),
                                    Subscript::sparseMask(2, 2, {{0, 1}, {1, 0}, {1, 1}})};
    for (const RightSide& b : sources) {
        for (const Subscript& k : subscripts) {
            EXPECT_EQ("", checkOperation(assign(Model::unset(), b, k)));
            for (const auto& [m, n] : {std::pair{0U, 0U}, {0U, 3U}, {3U, 0U}, {0U, 1U}, {1U, 0U}}) {
                for (const bool sparse : {false, true}) {
                    Model a = Model::empty({kxINT32_CLASS, false}, m, n);
                    a.sparse = sparse;
                    a.hideClass = sparse && n == 3;
                    EXPECT_EQ("", checkOperation(assign(a, b, k)));
                }
            }
        }
        // without an index the class is taken, and nothing else happens
        EXPECT_EQ("", checkOperation(assign(Model::unset(), b, Subscript::list({}))));
        EXPECT_EQ("", checkOperation(assign(Model::empty(kReal, 3, 0), b, Subscript::mask({0}))));
    }
    const Array a = toArray(Model::unset());
    kxSetArrayScope(a.get(), kxELEMENT_SCOPE);
    const Array b = toArray(RightSide::scalar(5));
    EXPECT_EQ(spAss3(a.get(), b.get(), toArray(Subscript::list({1})).get()), spOK);
    EXPECT_EQ(a->scope, kxTEMPORARY_SCOPE);
}

TEST(LinearAssignment, PositionsAtTheLimit)
{
    const Subscript far = Subscript::list({2147483647, 5, 2147483646, 2147483647});
    for (const RightSide& b : {row({7, 8, 9, 0}), RightSide::scalar(0), RightSide::scalar(4)}) {
        EXPECT_EQ("", checkOperation(assign(patterned(kComplex, 3, 1), b, far)));
    }
    Model a = Model::empty(kReal, 0x30000, 0x10000);
    a.entries = {{{0, 5}, 1}, {{0x2AA9, 0x1FFFF}, 2}, {{0xFFFF, 0x2FFFF}, 3}};
    a.fit();
    for (const RightSide& b : {row({7, 8, 0, 9}), RightSide::scalar(0), RightSide::scalar(4)}) {
        EXPECT_EQ("", checkOperation(assign(a, b, Subscript::list({6, 2147483647, 2147352576, 7}))));
        EXPECT_EQ("", checkOperation(assign(a, b, Subscript::range(2147483647, -65536, 2147483647 - 3 * 65536))));
    }
}
