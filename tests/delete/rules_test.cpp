// Deletions of elements from sizes at the limit of what becomes a row.
#include "support/operation.hpp"
#include "support/patterns.hpp"

#include <gtest/gtest.h>

using namespace zqsp::test;

namespace {

Operation elements(const Model& a, const Subscript& s)
{
    return {.callee = Export::DeleteElements, .a = a, .i = s};
}

} // namespace

TEST(DeletionRules, HundredsOfMillionsOfElements)
{
    const auto expectLeft = [](const Model& a, const Subscript& deleted, Model expected) {
        expected.nzmax = a.nzmax;
        expectMakes(elements(a, deleted), expected); // too long for the model
    };
    // The bytes of the elements decide: as many doubles do not fit 32 bits, as many logicals do.
    const Model tooWide = withOnes(kReal, 0x10000, 0x2000, {{0, 1}});
    expectEnds(elements(tooWide, Subscript::list({1})), spCannotResizeToRowVector);
    expectLeft(withOnes(kLogical, 0x10000, 0x2000, {{0, 1}, {0, 3}, {9, 9}}), Subscript::range(4, 1, 0x20000000),
               withOnes(kLogical, 1, 3, {{1, 0}}));
    const Storage int16Complex = {kxINT16_CLASS, true};
    expectLeft(withOnes(int16Complex, 0x8000, 0x4000, {{9, 9}, {0x3FFF, 0x7FFE}}), Subscript::range(0x1FFFFFFE, -1, 1),
               withOnes(int16Complex, 1, 2, {{0, 0}}));
}
