// What the tests of A(K) = B share: short names for their operands and calls.
#ifndef ZQSP_TESTS_ASSIGN_LINEAR_CASES_HPP
#define ZQSP_TESTS_ASSIGN_LINEAR_CASES_HPP

#include "support/operation.hpp"
#include "support/patterns.hpp"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace zqsp::test::linear {

/// A(k) = b
inline Operation assign(const Model& a, const RightSide& b, const Subscript& k)
{
    return {.callee = Export::Ass3, .a = a, .b = b, .i = k};
}

/// A(:) = b
inline Operation fill(const Model& a, const RightSide& b)
{
    return assign(a, b, Subscript::colon());
}

inline RightSide row(std::vector<Value> values, Storage storage = {})
{
    const auto n = static_cast<unsigned>(values.size());
    return RightSide::full({1, n}, std::move(values), storage);
}

} // namespace zqsp::test::linear

#endif
