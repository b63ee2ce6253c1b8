// What the tests of A(I,J) = B, A(:,J) = B and A(I,:) = B share: short names for their operands and calls.
#ifndef ZQSP_TESTS_ASSIGN_REGION_CASES_HPP
#define ZQSP_TESTS_ASSIGN_REGION_CASES_HPP

#include "support/operation.hpp"

#include <gtest/gtest.h>

#include <initializer_list>
#include <utility>
#include <vector>

namespace zqsp::test {

inline Subscript at(std::vector<double> indices)
{
    return Subscript::list(std::move(indices));
}

inline RightSide byRows(std::initializer_list<std::initializer_list<Value>> rows)
{
    return RightSide::of(Model::of(kReal, rows));
}

/// An empty full array.
inline Model emptyFull(Storage storage, unsigned m, unsigned n)
{
    Model a = Model::empty(storage, m, n);
    a.sparse = false;
    return a;
}

/// A(:,j) = b
inline Operation toColumns(const Model& a, const Subscript& j, const RightSide& b)
{
    return {.callee = Export::Ass4, .a = a, .b = b, .i = j};
}

/// A(i,:) = b
inline Operation toRows(const Model& a, const Subscript& i, const RightSide& b)
{
    return {.callee = Export::Ass5, .a = a, .b = b, .i = i};
}

/// A(i,j) = b
inline Operation toRegion(const Model& a, const Subscript& i, const Subscript& j, const RightSide& b)
{
    return {.callee = Export::Ass6, .a = a, .b = b, .i = i, .j = j};
}

} // namespace zqsp::test

#endif
