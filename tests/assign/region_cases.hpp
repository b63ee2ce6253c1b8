// What the tests of A(I,J) = B, A(:,J) = B and A(I,:) = B share: short names for their operands and calls.
#ifndef ZQSP_TESTS_ASSIGN_REGION_CASES_HPP
#define ZQSP_TESTS_ASSIGN_REGION_CASES_HPP

#include "support/operation.hpp"

#include <gtest/gtest.h>

#include <initializer_list>
#include <utility>
#include <vector>

namespace zqsp::test {

inline constexpr Storage kReal{kxDOUBLE_CLASS, false};
inline constexpr Storage kComplex{kxDOUBLE_CLASS, true};

inline Subscript at(std::vector<double> indices)
{
    return Subscript::list(std::move(indices));
}

inline RightSide byRows(std::initializer_list<std::initializer_list<Value>> rows)
{
    return RightSide::of(Model::of(kReal, rows));
}

inline Model withRoom(Model model, unsigned nzmax)
{
    model.nzmax = nzmax;
    return model;
}

/// An empty full array.
inline Model emptyFull(Storage storage, unsigned m, unsigned n)
{
    Model a = Model::empty(storage, m, n);
    a.sparse = false;
    return a;
}

/// Indices that a subscript names; 1 where it cannot be converted.
inline unsigned namedBy(const Subscript& s, unsigned extent)
{
    try {
        return static_cast<unsigned>(convert(s, extent, Purpose::Assignment).size());
    } catch (const Failure&) {
        return 1;
    }
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

/// The call gives this matrix; so says its prediction, which all other tests rely on.
inline void expectGives(const Operation& op, const Model& expected)
{
    SCOPED_TRACE(testing::Message() << op);
    Model predicted = predict(op).result;
    if (predicted.nzmax == Model::kAnyCapacity) {
        predicted.nzmax = expected.nzmax;
    }
    EXPECT_EQ("", diff(toArray(predicted).get(), expected));
    EXPECT_EQ("", checkOperation(op));
}

} // namespace zqsp::test

#endif
