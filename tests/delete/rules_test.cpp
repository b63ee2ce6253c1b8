// The blocks that are kept, the order of the checks, and sizes at the limits.
#include "support/call.hpp"
#include "support/patterns.hpp"

#include <gtest/gtest.h>

using namespace zqsp::test;

namespace {

constexpr Export kDeletions[] = {Export::DeleteColumns, Export::DeleteRows, Export::DeleteElements};

Operation elements(const Model& a, const Subscript& s)
{
    return {.callee = Export::DeleteElements, .a = a, .i = s};
}

} // namespace

/// In place means in the blocks that were there. Only the column starts of a new row vector are new.
TEST(DeletionRules, NothingMovesToOtherBlocks)
{
    for (const Storage storage : sparseStorages()) {
        for (const Export callee : kDeletions) {
            const Call call({.callee = callee, .a = patterned(storage, 5, 6), .i = Subscript::list({3, 1, 4})});
            const kxArray* a = call.target();
            const std::vector<const void*> blocks = {a->pr, a->pi, a->ir};
            const void* const starts = a->jc;
            ASSERT_EQ(call.make(nullptr), spOK);
            EXPECT_EQ((std::vector<const void*>{a->pr, a->pi, a->ir}), blocks) << storage;
            EXPECT_TRUE(starts == a->jc || callee == Export::DeleteElements) << storage;
        }
    }
}

TEST(DeletionRules, ElementsThatCannotBecomeARow)
{
    constexpr unsigned kSide = 0x10000;
    Model huge = Model::empty(kReal, kSide, kSide);
    huge.entries[{7, 9}] = 1;
    huge.fit();
    Subscript complex = Subscript::list({1});
    complex.complex = true;
    // Before the subscript is looked at, unless it is the colon, or there is nothing in it to delete.
    for (const Subscript& s :
         {Subscript::list({1}), Subscript::list({0}), complex, Subscript::sparseList({0}), Subscript::range(1, 1, 2),
          Subscript::range(0, 1, 2), Subscript::mask({0}), Subscript::sparseMask(2, 2, {}), Subscript::colon(),
          Subscript::list({}), Subscript::mask({}), Subscript::range(3, 1, 1), Subscript::sparseMask(0, 4, {})}) {
        EXPECT_EQ("", checkOperation(elements(huge, s)));
    }
    const MaxElements limit(11);
    for (const Model& a : {patterned(kReal, 3, 4), patterned(kReal, 1, 12), patterned(kReal, 11, 1)}) {
        EXPECT_EQ("", checkOperation(elements(a, Subscript::list({1}))));
    }
}

TEST(DeletionRules, HundredsOfMillionsOfElements)
{
    const auto ones = [](Storage storage, unsigned m, unsigned n, const std::vector<Place>& places) {
        Model a = Model::empty(storage, m, n);
        for (const Place place : places) {
            a.entries[place] = 1;
        }
        return a.fit();
    };
    const auto expectLeft = [](const Model& a, const Subscript& deleted, Model expected) {
        expected.nzmax = a.nzmax;
        expectMakes(elements(a, deleted), expected); // too long for the model
    };
    // The bytes of the elements decide: as many doubles do not fit 32 bits, as many logicals do.
    const Model tooWide = ones(kReal, 0x10000, 0x2000, {{0, 1}});
    expectEnds(elements(tooWide, Subscript::list({1})), spCannotResizeToRowVector);
    expectLeft(ones(kLogical, 0x10000, 0x2000, {{0, 1}, {0, 3}, {9, 9}}), Subscript::range(4, 1, 0x20000000),
               ones(kLogical, 1, 3, {{1, 0}}));
    const Storage int16Complex = {kxINT16_CLASS, true};
    expectLeft(ones(int16Complex, 0x8000, 0x4000, {{9, 9}, {0x3FFF, 0x7FFE}}), Subscript::range(0x1FFFFFFE, -1, 1),
               ones(int16Complex, 1, 2, {{0, 0}}));
    // A column has no such limit.
    const Model column = ones(kReal, 0x7FFFFFF0, 1, {{0, 0}, {0, 3}, {0, 0x40000000}, {0, 0x7FFFFFEF}});
    expectLeft(column, Subscript::list({0x7FFFFFEE, 4, 1, 4}),
               ones(kReal, 0x7FFFFFED, 1, {{0, 0x3FFFFFFE}, {0, 0x7FFFFFEC}}));
    expectLeft(column, Subscript::sparseMask(0x10000, 0x8000, {{0, 2}, {0x4000, 0}}),
               ones(kReal, 0x7FFFFFEE, 1, {{0, 0}, {0, 2}, {0, 0x7FFFFFED}}));
    expectLeft(column, Subscript::range(0x7FFFFFF0, -1, 2), ones(kReal, 1, 1, {{0, 0}}));
}
