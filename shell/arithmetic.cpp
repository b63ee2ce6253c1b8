#include "operators.hpp"

#include "assembly.hpp"
#include "error.hpp"
#include "interrupt.hpp"
#include "operand.hpp"

#include <fmt/format.h>

#include <cmath>
#include <optional>

namespace kxsh {

namespace {

constexpr double kMaxExact = 9007199254740992.0; // 2^53: whole numbers up to here are exact

template <typename T>
T combine(BinaryOperator op, T a, T b)
{
    switch (op) {
    case BinaryOperator::kAdd:
        return a + b;
    case BinaryOperator::kSubtract:
        return a - b;
    case BinaryOperator::kMultiply:
        return a * b;
    default:
        return a / b;
    }
}

bool isExact(double value)
{
    return std::trunc(value) == value && std::abs(value) <= kMaxExact;
}

/// A whole-number range shifted or scaled by a whole number stays a range.
std::optional<Value> lazyResult(BinaryOperator op, const Value& left, const Value& right)
{
    const bool rangeLeft = left.isRange();
    const Value& range = rangeLeft ? left : right;
    const Value& other = rangeLeft ? right : left;
    if (!range.isRange() || other.isRange() || !other.isScalar() || other.classId() != kxDOUBLE_CLASS ||
        other.isComplex() || op == BinaryOperator::kDivide) {
        return std::nullopt;
    }
    const double c = firstNumber(other);
    const RangeBounds bounds = boundsOf(range);
    if (!isExact(c) || !isExact(bounds.start) || !isExact(bounds.step) || !isExact(bounds.stop)) {
        return std::nullopt;
    }
    double factor = 1;
    double shift = 0;
    if (op == BinaryOperator::kMultiply) {
        factor = c;
    } else if (op == BinaryOperator::kAdd) {
        shift = c;
    } else {
        factor = rangeLeft ? 1 : -1;
        shift = rangeLeft ? -c : c;
    }
    const double start = factor * bounds.start + shift;
    const double stop = factor * bounds.stop + shift;
    if (factor == 0 || !isExact(start) || !isExact(stop) || !isExact(factor * bounds.step)) {
        return std::nullopt;
    }
    return Value::range(start, factor * bounds.step, stop);
}

kxClassID resultClass(const Value& left, const Value& right)
{
    for (const Value* value : {&left, &right}) {
        if (isIntegerClass(value->classId())) {
            return value->classId();
        }
    }
    const bool single = left.classId() == kxSINGLE_CLASS || right.classId() == kxSINGLE_CLASS;
    return single ? kxSINGLE_CLASS : kxDOUBLE_CLASS;
}

Value fullResult(BinaryOperator op, const Value& left, const Value& right)
{
    const Value& shape = left.isScalar() ? right : left;
    const Operand a(left);
    const Operand b(right);
    const bool complex = a.isComplex() || b.isComplex();
    Value result = Value::full(shape.rows(), shape.columns(), kxDOUBLE_CLASS, complex ? kxCOMPLEX : kxREAL);
    const std::size_t count = result.count();
    auto* re = result.data<double>();
    if (!complex) {
        for (std::size_t i = 0; i < count; ++i) {
            re[i] = combine(op, a.re(i), b.re(i));
        }
        return result;
    }
    auto* im = result.imagData<double>();
    for (std::size_t i = 0; i < count; ++i) {
        const std::complex<double> value = combine(op, a.at(i), b.at(i));
        re[i] = value.real();
        im[i] = value.imag();
    }
    kx::kxFreeImagIfZero(result.get());
    return result;
}

/// A sparse array times, or divided by, a number: its stored values alone are touched.
Value scaledSparse(BinaryOperator op, const Value& sparse, const Value& number)
{
    const std::complex<double> factor = Operand(number).at(0);
    if (op == BinaryOperator::kDivide && factor == 0.0) {
        throw Error("kxsh:operand", "a sparse array cannot be divided by 0");
    }
    const Value values = converted(sparse, kxDOUBLE_CLASS);
    const bool complex = values.isComplex() || factor.imag() != 0;
    Triplets triplets;
    appendEntries(triplets, values, 0, 0, complex);
    for (std::size_t k = 0; k < triplets.re.size(); ++k) {
        if (!complex) {
            triplets.re[k] = combine(op, triplets.re[k], factor.real());
            continue;
        }
        const auto value = combine(op, std::complex<double>(triplets.re[k], triplets.im[k]), factor);
        triplets.re[k] = value.real();
        triplets.im[k] = value.imag();
    }
    return assemble(std::move(triplets), sparse.rows(), sparse.columns());
}

Value sparseSum(BinaryOperator op, const Value& left, const Value& right)
{
    const bool complex = left.isComplex() || right.isComplex();
    Triplets triplets;
    appendEntries(triplets, left, 0, 0, complex);
    appendEntries(triplets, right, 0, 0, complex, op == BinaryOperator::kAdd ? 1 : -1);
    return assemble(std::move(triplets), left.rows(), left.columns());
}

Value doubleResult(BinaryOperator op, const Value& left, const Value& right)
{
    const bool additive = op == BinaryOperator::kAdd || op == BinaryOperator::kSubtract;
    if (!left.isScalar() && !right.isScalar() && !additive) {
        throw Error("kxsh:operand", fmt::format("'{}' takes a number on at least one side", symbolOf(op)));
    }
    if (left.isSparse() && right.isSparse() && additive && left.sameShape(right)) {
        return sparseSum(op, left, right);
    }
    if (left.isSparse() && right.isScalar() && !additive) {
        return scaledSparse(op, left, right);
    }
    if (right.isSparse() && left.isScalar() && op == BinaryOperator::kMultiply) {
        return scaledSparse(op, right, left);
    }
    if (op == BinaryOperator::kDivide && !right.isScalar()) {
        throw Error("kxsh:operand", "'/' takes a number on its right");
    }
    return fullResult(op, left, right);
}

} // namespace

Value arithmetic(BinaryOperator op, const Value& left, const Value& right)
{
    requireMatchingShapes(op, left, right);
    if (auto lazy = lazyResult(op, left, right)) {
        return *std::move(lazy);
    }
    pollInterrupt();
    const kxClassID id = resultClass(left, right);
    Value result = doubleResult(op, left, right);
    return id == kxDOUBLE_CLASS ? result : converted(result, id);
}

} // namespace kxsh
