#include "operators.hpp"

#include "elementwise.hpp"
#include "error.hpp"
#include "indexing.hpp"
#include "interrupt.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>

namespace kxsh {

namespace {

void requireFit(BinaryOperator op, const Value& left, const Value& right)
{
    const auto fits = [](unsigned a, unsigned b) { return a == b || a == 1 || b == 1; };
    if (!fits(left.rows(), right.rows()) || !fits(left.columns(), right.columns())) {
        throw Error("kxsh:operand", fmt::format("'{}' cannot combine {}-by-{} with {}-by-{}", symbolOf(op), left.rows(),
                                                left.columns(), right.rows(), right.columns()));
    }
}

} // namespace

std::string_view symbolOf(BinaryOperator op)
{
    return std::ranges::find(kInfixes, op, &Infix::op)->symbol;
}

Value operate(BinaryOperator op, const Value& left, const Value& right)
{
    pollInterrupt();
    const bool scalars = left.isScalar() && right.isScalar();
    switch (op) {
    case BinaryOperator::kSolve:
        return solve(left, right);
    case BinaryOperator::kMultiply:
        if (!left.isScalar() && !right.isScalar()) {
            return product(left, right);
        }
        return elementwise(BinaryOperator::kMultiplyEach, left, right);
    case BinaryOperator::kDivide:
        if (!right.isScalar()) {
            throw Error("kxsh:operand", "'/' takes a number on its right; './' divides element by element");
        }
        return elementwise(BinaryOperator::kDivideEach, left, right);
    case BinaryOperator::kPower:
        if (!scalars) {
            throw Error("kxsh:operand", "'^' takes two numbers; '.^' works element by element");
        }
        return elementwise(BinaryOperator::kPowerEach, left, right);
    default:
        requireFit(op, left, right);
        return elementwise(op, left, right);
    }
}

Value transposed(const Value& value, bool conjugates)
{
    const bool vector = !value.isSparse() && (value.rows() == 1 || value.columns() == 1);
    Value result =
        vector ? reshaped(value, value.columns(), value.rows()) : Value(kx::kxTranspose(elementsOf(value).get()));
    if (conjugates && result.isComplex()) {
        kxrt::make_private(result.get());
        withElementType(result.classId(), [&]<typename T>(std::type_identity<T>) {
            T* im = result.imagData<T>();
            const std::size_t count = result.isSparse() ? result.entries() : result.count();
            for (std::size_t k = 0; k < count; ++k) {
                pollAtStep(k);
                im[k] = static_cast<T>(T{} - im[k]); // never -0
            }
        });
    }
    return result;
}

Value partOf(const Value& value, bool imaginary)
{
    Value result = elementsOf(value);
    if (!result.isComplex()) {
        if (!imaginary) {
            return result;
        }
        return result.isSparse() ? Value::sparse(result.rows(), result.columns(), 1, result.classId())
                                 : Value::full(result.rows(), result.columns(), result.classId());
    }
    if (result.isSparse()) {
        const auto part = [imaginary](std::complex<double> v, unsigned, unsigned) {
            return imaginary ? v.imag() : v.real();
        };
        return converted(sparseMap<std::complex<double>>(converted(result, kxDOUBLE_CLASS), part), result.classId());
    }
    Value part = Value::full(result.rows(), result.columns(), result.classId());
    const std::size_t bytes = result.count() * kx::kxGetElementSize(result.get());
    if (bytes != 0) {
        std::memcpy(part.get()->pr, imaginary ? result.get()->pi : result.get()->pr, bytes);
    }
    return part;
}

bool holds(const Value& value)
{
    if (value.count() == 0 || (value.isSparse() && value.entries() != value.count())) {
        return false;
    }
    const Value elements = elementsOf(value);
    return withElementType(elements.classId(), [&]<typename T>(std::type_identity<T>) {
        const T* re = elements.data<T>();
        const T* im = elements.imagData<T>();
        for (std::size_t k = 0; k < elements.count(); ++k) {
            pollAtStep(k);
            if (re[k] == T{} && (im == nullptr || im[k] == T{})) {
                return false;
            }
        }
        return true;
    });
}

} // namespace kxsh
