#include "operators.hpp"

#include "elementwise.hpp"
#include "error.hpp"

#include <cmath>
#include <functional>
#include <optional>

namespace kxsh {

namespace {

constexpr double kMaxExact = 9007199254740992.0; // 2^53: whole numbers up to here are exact

bool isExact(double value)
{
    return std::trunc(value) == value && std::abs(value) <= kMaxExact;
}

/// Of two numbers, up to the quotient.
double plain(BinaryOperator op, double a, double b)
{
    return op == BinaryOperator::kAdd            ? a + b
           : op == BinaryOperator::kSubtract     ? a - b
           : op == BinaryOperator::kMultiplyEach ? a * b
                                                 : a / b;
}

/// A whole-number range shifted or scaled by a whole number stays a range.
std::optional<Value> lazyResult(BinaryOperator op, const Value& left, const Value& right)
{
    const Value& range = left.isRange() ? left : right;
    const Value& other = left.isRange() ? right : left;
    if (!range.isRange() || other.isRange() || !other.isScalar() || other.classId() != kxDOUBLE_CLASS ||
        other.isComplex() || op > BinaryOperator::kMultiplyEach) {
        return std::nullopt;
    }
    const double c = firstNumber(other);
    const auto image = [&](double v) { return left.isRange() ? plain(op, v, c) : plain(op, c, v); };
    const auto [start, step, stop] = boundsOf(range);
    const double next = start + step;
    const double newStep = image(next) - image(start);
    for (const double v : {c, start, step, next, stop, image(start), image(next), newStep, image(stop)}) {
        if (!isExact(v)) {
            return std::nullopt;
        }
    }
    return newStep == 0 ? std::nullopt : std::optional(Value::range(image(start), newStep, image(stop)));
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

/// Trues where a sparse logical matrix stores none.
Value complement(BinaryOperator op, const Value& mask)
{
    require(mask.count() <= kx::kxGetMaxNumberOfElements(), "kx:sizeLimit",
            "'{}' is true for the zeros too; {} true entries are too many", symbolOf(op), shapeText(mask));
    SparseResult<bool> result(mask.rows(), mask.columns(), mask.count() - mask.entries());
    for (unsigned j = 0; j < mask.columns(); ++j) {
        unsigned k = mask.starts()[j];
        for (unsigned i = 0; i < mask.rows(); ++i) {
            if (k < mask.starts()[j + 1] && mask.rowIndices()[k] == i) {
                ++k;
            } else {
                result.put(i, true);
            }
        }
        result.closeColumn(j);
    }
    return result.finish();
}

/// f(stored, other) where `sparse` stores anything, as far as that is all of the result; `other` is spread over it.
template <typename Number, typename F>
std::optional<Value> overStored(BinaryOperator op, const Value& sparse, const Value& other, bool keepsZeros, F f)
{
    using Result = std::invoke_result_t<F, Number, Number>;
    if (!sparse.isSparse() || !covers(sparse, other)) {
        return std::nullopt;
    }
    const Value full = asFull(other);
    const Spread<Number> spread(full);
    const bool byNumber =
        other.isScalar() && op > BinaryOperator::kSubtract && (op != BinaryOperator::kPowerEach || !other.isComplex());
    if (keepsZeros || (byNumber && f(0.0, spread.at(0, 0)) == Result{})) {
        if constexpr (std::is_same_v<Number, double> && std::is_same_v<Result, double>) {
            if (byNumber) {
                return sparseScaled(sparse, [f, number = spread.at(0, 0)](double v) { return f(v, number); });
            }
        }
        return sparseMap<Number>(sparse, [&](Number v, unsigned i, unsigned j) { return f(v, spread.at(i, j)); });
    }
    if constexpr (std::is_same_v<Result, bool>) {
        if (byNumber) {
            const auto inverse = [&](Number v, unsigned, unsigned) { return !f(v, spread.at(0, 0)); };
            return complement(op, sparseMap<Number>(sparse, inverse));
        }
    }
    return std::nullopt;
}

template <typename Number, typename F>
Value combined(BinaryOperator op, const Value& left, const Value& right, F f)
{
    constexpr bool isTruth = std::is_same_v<std::invoke_result_t<F, Number, Number>, bool>;
    const bool sparse = left.isSparse() && right.isSparse();
    const bool both = op == BinaryOperator::kMultiplyEach || op == BinaryOperator::kAnd;
    if (sparse && left.sameShape(right) && op != BinaryOperator::kPowerEach) {
        if constexpr (isTruth) {
            if (f(0.0, 0.0)) {
                return complement(op, sparseMerge<Number>(
                                          left, right, [f](Number a, Number b) { return !f(a, b); }, false));
            }
        }
        return sparseMerge<Number>(left, right, f, both);
    }
    if (auto result = overStored<Number>(op, left, right, both || op == BinaryOperator::kDivideEach, f)) {
        return *std::move(result);
    }
    if (auto result = overStored<Number>(op, right, left, both, [f](Number b, Number a) { return f(a, b); })) {
        return *std::move(result);
    }
    const Value result = fullElementwise<Number>(asFull(left), asFull(right), f);
    const bool stays = op == BinaryOperator::kAnd ? left.isSparse() || right.isSparse()
                                                  : sparse && (isTruth || (!left.isScalar() && !right.isScalar()));
    return stays ? asSparse(result) : result;
}

template <typename Number>
Value applied(BinaryOperator op, const Value& left, const Value& right)
{
    const auto with = [&](auto f) { return combined<Number>(op, left, right, f); };
    switch (op) {
    case BinaryOperator::kAdd:
        return with(std::plus<Number>());
    case BinaryOperator::kSubtract:
        return with(std::minus<Number>());
    case BinaryOperator::kMultiplyEach:
        return with(std::multiplies<Number>());
    case BinaryOperator::kDivideEach:
        return with(std::divides<Number>());
    case BinaryOperator::kPowerEach:
        return with(power<Number>);
    case BinaryOperator::kEqual:
        return with(std::equal_to<Number>());
    case BinaryOperator::kNotEqual:
        return with(std::not_equal_to<Number>());
    case BinaryOperator::kLess:
        return with([](Number a, Number b) { return std::real(a) < std::real(b); });
    case BinaryOperator::kLessEqual:
        return with([](Number a, Number b) { return std::real(a) <= std::real(b); });
    case BinaryOperator::kGreater:
        return with([](Number a, Number b) { return std::real(a) > std::real(b); });
    case BinaryOperator::kGreaterEqual:
        return with([](Number a, Number b) { return std::real(a) >= std::real(b); });
    case BinaryOperator::kAnd:
        return with([](Number a, Number b) { return a != 0.0 && b != 0.0; });
    default:
        return with([](Number a, Number b) { return a != 0.0 || b != 0.0; });
    }
}

/// A sparse number beside a full array is a number like any other; so is one that is compared with a number.
Value operandOf(BinaryOperator op, const Value& value, const Value& other)
{
    const Value number = converted(value, kxDOUBLE_CLASS);
    const bool plainNumber =
        number.isScalar() && !other.isSparse() && (!other.isScalar() || op >= BinaryOperator::kEqual);
    return plainNumber ? asFull(number) : number;
}

bool isPlainNumber(const Value& value)
{
    return value.isScalar() && !value.isSparse() && !value.isRange() && value.classId() == kxDOUBLE_CLASS &&
           !value.isComplex();
}

} // namespace

Value elementwise(BinaryOperator op, const Value& left, const Value& right)
{
    if (isPlainNumber(left) && isPlainNumber(right) && op < BinaryOperator::kPowerEach) {
        return Value::number(plain(op, *left.data<double>(), *right.data<double>()));
    }
    if (auto lazy = lazyResult(op, left, right)) {
        return *std::move(lazy);
    }
    const Value a = operandOf(op, left, right);
    const Value b = operandOf(op, right, left);
    if (op == BinaryOperator::kDivideEach && a.isSparse() && b.isScalar() && firstNumber(b) == 0 && !b.isComplex()) {
        fail("kxsh:operand", "a sparse array cannot be divided by 0");
    }
    const bool complex =
        a.isComplex() || b.isComplex() || (op == BinaryOperator::kPowerEach && needsComplexPower(a, b));
    Value result = complex ? applied<std::complex<double>>(op, a, b) : applied<double>(op, a, b);
    const kxClassID id = op < BinaryOperator::kEqual ? resultClass(left, right) : kxLOGICAL_CLASS;
    return id == result.classId() ? result : converted(result, id);
}

} // namespace kxsh
