// kxSparseReference and kxSparseColonReference: null lists, errors, imaginary zeros.
#include "support/operation.hpp"

#include <gtest/gtest.h>

using namespace zqsp::test;

namespace {

const Model kMatrix = Model::of({kxDOUBLE_CLASS, true}, {{1, 0, 2}, {0, 3, 0}, {4, 5, 0}}); // imaginary zeros
const Subscript kNull = Subscript::colon();

} // namespace

TEST(RuntimeReference, NullListsSelectAll)
{
    const Subscript none = Subscript::list({});
    const Subscript some = Subscript::list({3, 1, 3});
    for (const auto& [i, j, m, n] : {std::tuple{kNull, kNull, 3U, 0U},
                                     {kNull, some, 3U, 3U},
                                     {some, kNull, 3U, 3U},
                                     {none, kNull, 0U, 3U},
                                     {kNull, none, 3U, 0U},
                                     {none, none, 0U, 0U}}) {
        const Operation op{.callee = Export::ReferenceByLists, .a = kMatrix, .i = i, .j = j};
        const Model result = predict(op).result;
        EXPECT_EQ(std::pair(result.m, result.n), std::pair(m, n)) << op;
        EXPECT_TRUE(result.storage.complex);
        EXPECT_EQ("", checkOperation(op));
    }
}

TEST(RuntimeReference, Errors)
{
    const Subscript good = Subscript::list({1});
    const Subscript beyond = Subscript::list({1, 4});
    const Subscript run = Subscript::range(1, 1, 3);
    const struct
    {
        Export callee;
        Subscript i, j;
        const char* identifier;
    } cases[] = {{Export::ReferenceByLists, beyond, good, kOutOfRangeError},
                 {Export::ReferenceByLists, good, beyond, kOutOfRangeError},
                 {Export::ReferenceByLists, kNull, beyond, kOutOfRangeError},
                 {Export::ReferenceByLists, beyond, kNull, kOutOfRangeError},
                 {Export::ReferenceByRanges, Subscript::range(0, 1, 2), run, kNotPositiveIntegerError},
                 {Export::ReferenceByRanges, run, Subscript::range(2, -1, 0), kNotPositiveIntegerError},
                 {Export::ReferenceByRanges, Subscript::range(1, 1, 4), run, kOutOfRangeError},
                 {Export::ReferenceByRanges, run, Subscript::range(4, -1, 1), kOutOfRangeError},
                 {Export::ReferenceByRanges, run, Subscript::range(1, 2, 4), kOutOfRangeError},
                 {Export::ReferenceByRanges, Subscript::range(2147483647, 1, 2147483647), run, kOutOfRangeError}};
    for (const auto& [callee, i, j, identifier] : cases) {
        const Operation op{.callee = callee, .a = kMatrix, .i = i, .j = j};
        EXPECT_EQ(predict(op).ended, Ended(Failure{spOK, identifier})) << op;
        EXPECT_EQ("", checkOperation(op));
    }
}

TEST(RuntimeReference, EmptyRunsAndDescendingOnes)
{
    const Subscript all = Subscript::range(1, 1, 3);
    for (const Subscript& i : {Subscript::range(3, -1, 1), Subscript::range(2, 1, 1), Subscript::range(1, -1, 3),
                               Subscript::range(0, 0, 9), Subscript::range(-5, -1, 3), Subscript::range(3, -2, 1)}) {
        EXPECT_EQ("", checkOperation({.callee = Export::ReferenceByRanges, .a = kMatrix, .i = i, .j = all}));
        EXPECT_EQ("", checkOperation({.callee = Export::ReferenceByRanges, .a = kMatrix, .i = all, .j = i}));
    }
}
