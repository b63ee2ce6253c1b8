#include "operators.hpp"

#include "elementwise.hpp"
#include "error.hpp"
#include "indexing.hpp"
#include "interrupt.hpp"

#include <algorithm>
#include <limits>
#include <utility>

namespace kxsh {

namespace {

static_assert(std::numeric_limits<long double>::digits >= 64, "holds every number of every class");

/// Whether `count` numbers are the same, of which a null pointer gives zeros.
template <typename A, typename B>
bool sameNumbers(const A* a, const B* b, std::size_t count)
{
    for (std::size_t k = 0; k < count && (a != nullptr || b != nullptr); ++k) {
        pollAtStep(k);
        const long double x = a != nullptr ? a[k] : A{};
        const long double y = b != nullptr ? b[k] : B{};
        if (!(x == y)) {
            return false;
        }
    }
    return true;
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
    const auto fits = [](unsigned a, unsigned b) { return a == b || a == 1 || b == 1; };
    switch (op) {
    case BinaryOperator::kSolve:
        return solve(left, right);
    case BinaryOperator::kMultiply:
        if (!left.isScalar() && !right.isScalar()) {
            return product(left, right);
        }
        return elementwise(BinaryOperator::kMultiplyEach, left, right);
    case BinaryOperator::kDivide:
        require(right.isScalar(), "kxsh:operand", "'/' takes a number on its right; './' divides element by element");
        return elementwise(BinaryOperator::kDivideEach, left, right);
    case BinaryOperator::kPower:
        require(scalars, "kxsh:operand", "'^' takes two numbers; '.^' works element by element");
        return elementwise(BinaryOperator::kPowerEach, left, right);
    default:
        if (!fits(left.rows(), right.rows()) || !fits(left.columns(), right.columns())) {
            fail("kxsh:operand", "'{}' cannot combine {} with {}", symbolOf(op), shapeText(left), shapeText(right));
        }
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
    Value part = elementsOf(value);
    if (!part.isComplex() && imaginary) {
        return part.isSparse() ? Value::sparse(part.rows(), part.columns(), 1, part.classId())
                               : Value::full(part.rows(), part.columns(), part.classId());
    }
    if (part.isComplex()) { // in a shared copy, the block of one part is let go
        kxArray* array = part.get();
        std::swap(array->pr, imaginary ? array->pi : array->pr);
        kx::kxFree(std::exchange(array->pi, nullptr));
        if (part.isSparse()) {
            const auto same = [](double v, unsigned, unsigned) { return v; }; // zeros are left out
            part = converted(sparseMap<double>(converted(part, kxDOUBLE_CLASS), same), part.classId());
        }
    }
    return part;
}

Value complexOf(const Value& re, const Value& im)
{
    using Complex = std::complex<double>;
    const Value a = converted(re, kxDOUBLE_CLASS);
    const Value b = converted(im, kxDOUBLE_CLASS);
    const auto join = [](Complex x, Complex y) { return Complex(x.real(), y.real()); };
    return a.isSparse() && b.isSparse() && a.sameShape(b) ? sparseMerge<Complex>(a, b, join, false)
                                                          : fullElementwise<Complex>(asFull(a), asFull(b), join);
}

std::size_t nonZeros(const Value& value)
{
    if (value.isSparse()) {
        return value.entries();
    }
    const Value elements = elementsOf(value);
    return withElementType(elements.classId(), [&]<typename T>(std::type_identity<T>) {
        const T* re = elements.data<T>();
        const T* im = elements.imagData<T>();
        const std::size_t count = elements.count();
        std::size_t found = 0;
        for (std::size_t k = 0; k < count; ++k) {
            pollAtStep(k);
            found += re[k] != T{} || (im != nullptr && im[k] != T{}) ? 1 : 0;
        }
        return found;
    });
}

bool holds(const Value& value)
{
    return value.count() != 0 && nonZeros(value) == value.count();
}

bool equalValues(const Value& left, const Value& right)
{
    if (!left.sameShape(right)) {
        return false;
    }
    const bool full = !left.isSparse() && !right.isSparse();
    const Value a = full ? elementsOf(left) : asSparse(left);
    const Value b = full ? elementsOf(right) : asSparse(right);
    if (!full && !samePattern(a, b)) {
        return false;
    }
    const std::size_t count = full ? a.count() : a.entries();
    return withElementType(a.classId(), [&]<typename A>(std::type_identity<A>) {
        return withElementType(b.classId(), [&]<typename B>(std::type_identity<B>) {
            return sameNumbers(a.data<A>(), b.data<B>(), count) && sameNumbers(a.imagData<A>(), b.imagData<B>(), count);
        });
    });
}

} // namespace kxsh
