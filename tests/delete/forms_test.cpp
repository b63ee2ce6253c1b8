// Every set of positions that can be deleted from small matrices, in every form of subscript and every storage.
#include "support/call.hpp"
#include "support/patterns.hpp"

#include <gtest/gtest.h>

#include <algorithm>

using namespace zqsp::test;

namespace {

/// Bit p of `set` selects position p of `extent`.
std::vector<Subscript> everyForm(unsigned set, unsigned extent)
{
    std::vector<double> ascending;
    std::vector<double> mask(extent, 0.0);
    std::vector<Place> stored;
    for (unsigned p = 0; p < extent; ++p) {
        if ((set >> p & 1U) != 0) {
            ascending.push_back(p + 1.0);
            mask[p] = 1;
            stored.push_back({p / 2, p % 2});
        }
    }
    std::vector<double> shuffled = ascending; // backwards, with the highest repeated at the end
    std::reverse(shuffled.begin(), shuffled.end());
    if (!shuffled.empty()) {
        shuffled.push_back(shuffled.front());
    }
    const Subscript sparseMask = Subscript::sparseMask(2, (extent + 1) / 2, stored);
    Subscript storesFalse = sparseMask;
    storesFalse.storesFalse = true;
    return {Subscript::list(ascending).as(kxINT16_CLASS),
            Subscript::list(shuffled),
            Subscript::sparseList(shuffled).as(kxSINGLE_CLASS),
            Subscript::mask(mask),
            sparseMask,
            storesFalse};
}

struct Deletion
{
    Export callee;
    unsigned m, n;
    unsigned extent;
};

const Deletion kDeletions[] = {{Export::DeleteColumns, 3, 5, 5},  {Export::DeleteRows, 5, 3, 5},
                               {Export::DeleteElements, 2, 3, 6}, {Export::DeleteElements, 1, 5, 5},
                               {Export::DeleteElements, 5, 1, 5}, {Export::DeleteElements, 1, 1, 1}};

/// In place means in the blocks that were there. Only the column starts of a new row vector are new.
void expectSameBlocks(const Operation& op)
{
    const Call call(op);
    const kxArray* a = call.target();
    const void* const blocks[] = {a->pr, a->pi, a->ir};
    const void* const starts = a->jc;
    ASSERT_EQ(call.make(nullptr), spOK);
    const void* const after[] = {a->pr, a->pi, a->ir};
    EXPECT_TRUE(std::equal(std::begin(blocks), std::end(blocks), std::begin(after))) << op;
    EXPECT_TRUE(starts == a->jc || op.callee == Export::DeleteElements) << op;
}

class DeletionForms : public testing::TestWithParam<Storage>
{
};

} // namespace

TEST_P(DeletionForms, EverySet)
{
    for (const auto& [callee, m, n, extent] : kDeletions) {
        const Model a = patterned(GetParam(), m, n);
        for (unsigned set = 0; set < 1U << extent; ++set) {
            for (const Subscript& s : everyForm(set, extent)) {
                const Operation op{.callee = callee, .a = a, .i = s};
                ASSERT_TRUE(predict(op).ended.completed()) << op;
                ASSERT_EQ("", checkOperation(op));
            }
        }
        expectSameBlocks({.callee = callee, .a = a, .i = Subscript::list({extent / 2 + 1.0})});
    }
}

TEST_P(DeletionForms, EveryRange)
{
    for (const auto& [callee, m, n, extent] : kDeletions) {
        const Model a = patterned(GetParam(), m, n);
        for (double start = 1; start <= extent + 1; ++start) {
            for (double stop = 0; stop <= extent + 1; stop += 0.5) {
                for (const double step : {1.0, 2.0, 3.0, -1.0, -2.0, -3.0}) {
                    const Subscript range = Subscript::range(start, step, stop);
                    ASSERT_EQ("", checkOperation({.callee = callee, .a = a, .i = range}));
                }
            }
        }
        EXPECT_EQ("", checkOperation({.callee = callee, .a = a, .i = Subscript::colon()}));
    }
}

TEST_P(DeletionForms, MatricesWithoutElements)
{
    const Subscript none[] = {
        Subscript::list({}),       Subscript::list({}).shaped(0, 0), Subscript::sparseList({}),
        Subscript::mask({}),       Subscript::mask({0, 0, 0, 0}),    Subscript::sparseMask(3, 3, {}),
        Subscript::range(3, 1, 1), Subscript::range(1, 0, 1),        Subscript::colon()};
    const Subscript first[] = {Subscript::list({1}), Subscript::mask({1}), Subscript::sparseMask(1, 1, {{0, 0}}),
                               Subscript::range(1, 1, 1)};
    for (const auto& [m, n] : {std::pair{0U, 0U}, {0U, 1U}, {0U, 4U}, {1U, 0U}, {3U, 0U}}) {
        Model a = Model::empty(GetParam(), m, n);
        a.nzmax = m;
        for (const Export callee : {Export::DeleteColumns, Export::DeleteRows, Export::DeleteElements}) {
            for (const Subscript& s : none) {
                EXPECT_EQ("", checkOperation({.callee = callee, .a = a, .i = s}));
            }
            const unsigned extent = callee == Export::DeleteColumns ? n : callee == Export::DeleteRows ? m : 0;
            for (const Subscript& s : first) {
                const Operation op{.callee = callee, .a = a, .i = s};
                EXPECT_EQ(predict(op).ended.completed(), extent > 0) << op;
                EXPECT_EQ("", checkOperation(op));
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Storages, DeletionForms, testing::ValuesIn(sparseStorages()),
                         [](const auto& tested) { return testNameOf(tested.param); });
