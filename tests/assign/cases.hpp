// What the tests of assignments share: short names for their operands and calls.
#ifndef ZQSP_TESTS_ASSIGN_CASES_HPP
#define ZQSP_TESTS_ASSIGN_CASES_HPP

#include "support/operation.hpp"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace zqsp::test {

inline Subscript at(std::vector<double> indices)
{
    return Subscript::list(std::move(indices));
}

inline constexpr double kOddValues[] = {1, 2, 0, -1, 0.5, 1.5, 4.5, 5, kNaN, kInf, -kInf, 3e9, 1e300};

/// Of every form, most of them bad in one way or another; the hundred and first index is past a lowered maximum.
inline std::vector<Subscript> oddSubscripts()
{
    std::vector<Subscript> all = {Subscript::colon(),
                                  Subscript::range(0, 1, 9),
                                  Subscript::range(5, -1, 0),
                                  Subscript::range(1, 1, 1),
                                  Subscript::sparseList({0, 2}), // of one stored number the first element counts
                                  Subscript::sparseList({2, 0}),
                                  Subscript::sparseList({1, 0, 9}),
                                  Subscript::sparseList({0}).as(kxINT8_CLASS),
                                  Subscript::mask({0, 0, 0, 0, 1}),
                                  Subscript::sparseMask(2, 2, {{1, 1}}),
                                  Subscript::sparseMask(0x10000, 0x20000, {{0x1FFFF, 7}}),
                                  at({0}).as(kxCHAR_CLASS),
                                  at({-4}).as(kxINT8_CLASS)};
    for (const std::vector<double>& list : std::vector<std::vector<double>>{{1, 9, kNaN}, {1}}) {
        all.push_back(at(list));
        all.back().complex = true;
    }
    for (const std::vector<double>& list :
         std::vector<std::vector<double>>{{}, {0, 9, kNaN}, {1, 1.5}, {0, 1}, {1, 2}, {1, 101}}) {
        all.push_back(at(list));
    }
    for (const double value : kOddValues) {
        all.push_back(at({value}));
    }
    return all;
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
