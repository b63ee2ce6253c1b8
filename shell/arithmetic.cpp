#include "operators.hpp"

#include "elementwise.hpp"
#include "error.hpp"

#include <cmath>
#include <optional>

namespace kxsh {

namespace {

constexpr double kMaxExact = 9007199254740992.0; // 2^53: whole numbers up to here are exact

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
        other.isComplex() || op > BinaryOperator::kMultiplyEach) {
        return std::nullopt;
    }
    const double c = firstNumber(other);
    const RangeBounds bounds = boundsOf(range);
    if (!isExact(c) || !isExact(bounds.start) || !isExact(bounds.step) || !isExact(bounds.stop)) {
        return std::nullopt;
    }
    double factor = 1;
    double shift = 0;
    if (op == BinaryOperator::kMultiplyEach) {
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

/// std::pow() goes by logarithms where the base is complex; small whole exponents need not.
template <typename Number>
Number power(Number base, Number exponent)
{
    if constexpr (std::is_same_v<Number, double>) {
        return std::pow(base, exponent);
    } else {
        constexpr double kMostFactors = 64;
        const double times = exponent.real();
        if (exponent.imag() != 0 || times != std::trunc(times) || std::abs(times) > kMostFactors) {
            return base == 0.0 && times > 0 ? Number{} : std::pow(base, exponent);
        }
        Number result = 1.0;
        for (double k = 0; k < std::abs(times); ++k) {
            result *= base;
        }
        return times < 0 ? 1.0 / result : result;
    }
}

bool anyStored(const Value& value, bool (*test)(double))
{
    const std::size_t count = value.isSparse() ? value.entries() : value.count();
    return std::any_of(value.data<double>(), value.data<double>() + count, test);
}

bool needsComplexPower(const Value& base, const Value& exponent)
{
    return anyStored(exponent, [](double v) { return v != std::trunc(v) && std::isfinite(v); }) &&
           anyStored(base, [](double v) { return v < 0; });
}

/// Whether the result has the shape of `wide`, `other` being spread over it.
bool covers(const Value& wide, const Value& other)
{
    return (other.rows() == wide.rows() || other.rows() == 1) &&
           (other.columns() == wide.columns() || other.columns() == 1);
}

/// Whether 0 op right is 0 for all that `right` holds, as far as that counts.
bool keepsZeros(BinaryOperator op, const Value& right)
{
    const bool positivePower =
        op == BinaryOperator::kPowerEach && right.isScalar() && !right.isComplex() && firstNumber(right) > 0;
    return op == BinaryOperator::kMultiplyEach || op == BinaryOperator::kDivideEach || positivePower;
}

template <typename Number, typename F>
Value combined(BinaryOperator op, const Value& left, const Value& right, F f)
{
    const bool sparse = left.isSparse() && right.isSparse();
    if (sparse && left.sameShape(right) && op != BinaryOperator::kPowerEach) {
        return sparseMerge<Number>(left, right, f, op == BinaryOperator::kMultiplyEach);
    }
    if (left.isSparse() && covers(left, right) && keepsZeros(op, right)) {
        const Value full = asFull(right);
        const Spread<Number> other(full);
        if constexpr (std::is_same_v<Number, double>) {
            if (right.isScalar()) {
                return sparseScaled(left, [f, factor = other.at(0, 0)](double v) { return f(v, factor); });
            }
        }
        return sparseMap<Number>(left, [&](Number value, unsigned i, unsigned j) { return f(value, other.at(i, j)); });
    }
    if (right.isSparse() && covers(right, left) && op == BinaryOperator::kMultiplyEach) {
        const Value full = asFull(left);
        const Spread<Number> other(full);
        if constexpr (std::is_same_v<Number, double>) {
            if (left.isScalar()) {
                return sparseScaled(right, [f, factor = other.at(0, 0)](double v) { return f(factor, v); });
            }
        }
        return sparseMap<Number>(right, [&](Number value, unsigned i, unsigned j) { return f(other.at(i, j), value); });
    }
    const Value result = fullElementwise<Number>(asFull(left), asFull(right), f);
    return sparse && !left.isScalar() && !right.isScalar() ? asSparse(result) : result;
}

template <typename Number>
Value doubleResult(BinaryOperator op, const Value& left, const Value& right)
{
    switch (op) {
    case BinaryOperator::kAdd:
        return combined<Number>(op, left, right, [](Number a, Number b) { return a + b; });
    case BinaryOperator::kSubtract:
        return combined<Number>(op, left, right, [](Number a, Number b) { return a - b; });
    case BinaryOperator::kMultiplyEach:
        return combined<Number>(op, left, right, [](Number a, Number b) { return a * b; });
    case BinaryOperator::kDivideEach:
        return combined<Number>(op, left, right, [](Number a, Number b) { return a / b; });
    default:
        return combined<Number>(op, left, right, power<Number>);
    }
}

/// A sparse number beside a full array is a number like any other.
Value operandOf(const Value& value, const Value& other)
{
    const Value number = converted(value, kxDOUBLE_CLASS);
    return number.isScalar() && !other.isSparse() && !other.isScalar() ? asFull(number) : number;
}

bool isPlainNumber(const Value& value)
{
    return value.isScalar() && !value.isSparse() && !value.isRange() && value.classId() == kxDOUBLE_CLASS &&
           !value.isComplex();
}

} // namespace

Value arithmetic(BinaryOperator op, const Value& left, const Value& right)
{
    if (isPlainNumber(left) && isPlainNumber(right) && op < BinaryOperator::kPowerEach) {
        const double a = *left.data<double>();
        const double b = *right.data<double>();
        return Value::number(op == BinaryOperator::kAdd            ? a + b
                             : op == BinaryOperator::kSubtract     ? a - b
                             : op == BinaryOperator::kMultiplyEach ? a * b
                                                                   : a / b);
    }
    if (auto lazy = lazyResult(op, left, right)) {
        return *std::move(lazy);
    }
    const Value a = operandOf(left, right);
    const Value b = operandOf(right, left);
    if (op == BinaryOperator::kDivideEach && a.isSparse() && b.isScalar() && firstNumber(b) == 0 && !b.isComplex()) {
        throw Error("kxsh:operand", "a sparse array cannot be divided by 0");
    }
    const bool complex =
        a.isComplex() || b.isComplex() || (op == BinaryOperator::kPowerEach && needsComplexPower(a, b));
    const kxClassID id = resultClass(left, right);
    Value result = complex ? doubleResult<std::complex<double>>(op, a, b) : doubleResult<double>(op, a, b);
    return id == kxDOUBLE_CLASS ? result : converted(result, id);
}

} // namespace kxsh
