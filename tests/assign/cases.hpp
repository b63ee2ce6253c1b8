// What the tests of assignments share: short names for their operands and calls.
#ifndef ZQSP_TESTS_ASSIGN_CASES_HPP
#define ZQSP_TESTS_ASSIGN_CASES_HPP

#include "support/operation.hpp"
#include "support/patterns.hpp"

#include <gtest/gtest.h>

#include <limits>
#include <utility>
#include <vector>

namespace zqsp::test {

inline constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
inline constexpr double kInf = std::numeric_limits<double>::infinity();

inline Subscript at(std::vector<double> indices)
{
    return Subscript::list(std::move(indices));
}

inline RightSide row(std::vector<Value> values, Storage storage = {})
{
    const auto n = static_cast<unsigned>(values.size());
    return RightSide::full({1, n}, std::move(values), storage);
}

/// A(k) = b
inline Operation toElements(const Model& a, const Subscript& k, const RightSide& b)
{
    return {.callee = Export::Ass3, .a = a, .b = b, .i = k};
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
