#include "operators.hpp"

#include "elementwise.hpp"
#include "error.hpp"

#include <fmt/format.h>

namespace kxsh {

namespace {

/// Whether f of two zeros is 0, so that what no side stores need not be looked at.
template <typename Number, typename F>
Value truths(BinaryOperator op, const Value& left, const Value& right, F f)
{
    const bool matrix = (left.isSparse() && !left.isScalar()) || (right.isSparse() && !right.isScalar());
    const bool stored = (left.isSparse() || left.isScalar()) && (right.isSparse() || right.isScalar());
    if (!matrix || !stored || (!left.isScalar() && !right.isScalar() && !left.sameShape(right))) {
        const Value result = fullElementwise<Number>(asFull(left), asFull(right), f);
        return (matrix && op == BinaryOperator::kAnd) || (left.isSparse() && right.isSparse()) ? asSparse(result)
                                                                                               : result;
    }
    const auto number = [](const Value& value) {
        return value.isScalar() ? Numbers<Number>(asFull(value)).at(0) : 0.0;
    };
    const Number a = number(left);
    const Number b = number(right);
    if (f(a, b)) {
        const Value& shape = left.isScalar() ? right : left;
        if (shape.count() > kx::kxGetMaxNumberOfElements()) {
            throw Error("kx:sizeLimit",
                        fmt::format("'{}' is true for the zeros too; {}-by-{} true entries are too many", symbolOf(op),
                                    shape.rows(), shape.columns()));
        }
        return sparseEverywhere<Number>(left, right, f);
    }
    if (left.isScalar()) {
        return sparseMap<Number>(right, [&](Number value, unsigned, unsigned) { return f(a, value); });
    }
    if (right.isScalar()) {
        return sparseMap<Number>(left, [&](Number value, unsigned, unsigned) { return f(value, b); });
    }
    return sparseMerge<Number>(left, right, f, op == BinaryOperator::kAnd);
}

double realPart(double value)
{
    return value;
}
double realPart(std::complex<double> value)
{
    return value.real();
}

template <typename Number>
Value compared(BinaryOperator op, const Value& left, const Value& right)
{
    switch (op) {
    case BinaryOperator::kEqual:
        return truths<Number>(op, left, right, [](Number a, Number b) { return a == b; });
    case BinaryOperator::kNotEqual:
        return truths<Number>(op, left, right, [](Number a, Number b) { return a != b; });
    case BinaryOperator::kLess:
        return truths<Number>(op, left, right, [](Number a, Number b) { return realPart(a) < realPart(b); });
    case BinaryOperator::kLessEqual:
        return truths<Number>(op, left, right, [](Number a, Number b) { return realPart(a) <= realPart(b); });
    case BinaryOperator::kGreater:
        return truths<Number>(op, left, right, [](Number a, Number b) { return realPart(a) > realPart(b); });
    case BinaryOperator::kGreaterEqual:
        return truths<Number>(op, left, right, [](Number a, Number b) { return realPart(a) >= realPart(b); });
    case BinaryOperator::kAnd:
        return truths<Number>(op, left, right, [](Number a, Number b) { return a != 0.0 && b != 0.0; });
    default:
        return truths<Number>(op, left, right, [](Number a, Number b) { return a != 0.0 || b != 0.0; });
    }
}

} // namespace

Value compare(BinaryOperator op, const Value& left, const Value& right)
{
    const Value a = converted(left, kxDOUBLE_CLASS);
    const Value b = converted(right, kxDOUBLE_CLASS);
    return a.isComplex() || b.isComplex() ? compared<std::complex<double>>(op, a, b) : compared<double>(op, a, b);
}

} // namespace kxsh
