// Functions that take matrices apart and put them together.
#include "functions.hpp"

#include "assembly.hpp"
#include "elementwise.hpp"
#include "error.hpp"
#include "indexing.hpp"

#include <cmath>
#include <cstring>

namespace kxsh {

namespace {

/// The elements that `keep` chooses by 0-based row and column; the others become zeros. Storage and class stay.
template <typename Keep>
Value filtered(const Value& array, Keep keep)
{
    const Value elements = elementsOf(array);
    if (elements.isSparse()) {
        const auto value = [&](auto v, unsigned i, unsigned j) { return keep(i, j) ? v : decltype(v){}; };
        const Value numbers = converted(elements, kxDOUBLE_CLASS);
        return converted(elements.isComplex() ? sparseMap<std::complex<double>>(numbers, value)
                                              : sparseMap<double>(numbers, value),
                         elements.classId());
    }
    Value result(kx::kxCreateDeepCopy(elements.get()));
    withElementType(result.classId(), [&]<typename T>(std::type_identity<T>) {
        for (T* part : {result.data<T>(), result.imagData<T>()}) {
            for (unsigned j = 0; j < result.columns() && part != nullptr; ++j) {
                for (unsigned i = 0; i < result.rows(); ++i) {
                    T& element = part[std::size_t{j} * result.rows() + i];
                    element = keep(i, j) ? element : T{};
                }
            }
        }
    });
    return result;
}

/// Which diagonal is meant: 0 is the main one, positive ones lie above.
double diagonalOf(Arguments arguments)
{
    const double k = arguments.size() > 1 ? realScalar(arguments[1], "the number of the diagonal") : 0;
    if (k != std::floor(k)) {
        throw Error("kxsh:arguments", "the number of the diagonal must be a whole number");
    }
    return k;
}

Value tril(Session&, Arguments arguments)
{
    const double k = diagonalOf(arguments);
    return filtered(arguments[0], [k](unsigned i, unsigned j) { return static_cast<double>(j) - i <= k; });
}

Value triu(Session&, Arguments arguments)
{
    const double k = diagonalOf(arguments);
    return filtered(arguments[0], [k](unsigned i, unsigned j) { return static_cast<double>(j) - i >= k; });
}

/// A square matrix with the elements of a vector on its diagonal.
Value diagonalMatrix(const Value& vector)
{
    const auto n = static_cast<unsigned>(vector.count());
    const Value column = converted(asFull(vector), kxDOUBLE_CLASS);
    Assembly assembly(n, n, kxDOUBLE_CLASS, column.isComplex() ? kxCOMPLEX : kxREAL);
    for (unsigned k = 0; k < n; ++k) {
        assembly.count(k);
    }
    assembly.startPlacing();
    for (unsigned k = 0; k < n; ++k) {
        assembly.place(k, k, column.data<double>()[k], column.isComplex() ? column.imagData<double>()[k] : 0);
    }
    const Value result = converted(assembly.finish(), vector.classId());
    return vector.isSparse() ? result : asFull(result);
}

Value diag(Session&, Arguments arguments)
{
    const Value array = elementsOf(arguments[0]);
    const unsigned m = array.rows();
    const unsigned n = array.columns();
    if (m == 1 || n == 1) {
        return diagonalMatrix(array);
    }
    const unsigned count = std::min(m, n);
    if (!array.isSparse()) {
        const Value places = Value::range(1, m + 1.0, count == 0 ? 0 : 1 + (m + 1.0) * (count - 1.0));
        return reshaped(reference(array, {&places, 1}, "the matrix"), count, 1);
    }
    const Value kept = filtered(array, [](unsigned i, unsigned j) { return i == j; });
    Value result = Value::sparse(count, 1, kept.entries(), kept.classId(), kept.isComplex() ? kxCOMPLEX : kxREAL);
    std::copy_n(kept.rowIndices(), kept.entries(), result.rowIndices());
    const std::size_t bytes = kept.entries() * std::size_t{kx::kxGetElementSize(kept.get())};
    if (bytes != 0) {
        std::memcpy(result.get()->pr, kept.get()->pr, bytes);
    }
    if (kept.isComplex() && bytes != 0) {
        std::memcpy(result.get()->pi, kept.get()->pi, bytes);
    }
    result.starts()[1] = kept.entries();
    return result;
}

Value spones(Session&, Arguments arguments)
{
    const Value sparse = converted(asSparse(arguments[0]), kxDOUBLE_CLASS);
    return sparseMap<double>(sparse, [](double, unsigned, unsigned) { return 1.0; });
}

Value abs(Session&, Arguments arguments)
{
    const Value array = elementsOf(arguments[0]);
    const Value numbers = converted(array, kxDOUBLE_CLASS);
    const kxClassID id =
        array.classId() == kxLOGICAL_CLASS || array.classId() == kxCHAR_CLASS ? kxDOUBLE_CLASS : array.classId();
    const auto size = [](auto v, auto...) { return std::abs(v); };
    const Value zero = Value::number(0);
    using Complex = std::complex<double>;
    if (numbers.isSparse()) {
        return converted(numbers.isComplex() ? sparseMap<Complex>(numbers, size) : sparseMap<double>(numbers, size),
                         id);
    }
    return converted(numbers.isComplex() ? fullElementwise<Complex>(numbers, zero, size)
                                         : fullElementwise<double>(numbers, zero, size),
                     id);
}

constexpr Function kFunctions[] = {
    {"diag", 1, 1, "diag(A)", "Diagonal of a matrix, or a matrix with a diagonal",
     "The diagonal is a column. A vector gives the square matrix that has it on its\n  diagonal, sparse if the vector "
     "is.",
     "diag(sparse([1 2 3]))", diag},
    {"tril", 1, 2, "tril(A)", "Lower triangle, diagonal included",
     "tril(A,k) goes up to diagonal k, counted from 0 upwards.", "tril([1 2; 3 4])", tril},
    {"triu", 1, 2, "triu(A)", "Upper triangle, diagonal included",
     "triu(A,k) begins with diagonal k, counted from 0 upwards.", "triu([1 2; 3 4], 1)", triu},
    {"spones", 1, 1, "spones(A)", "Sparse array with a one at each entry of A", "", "spones(sparse([0 5 -2]))", spones},
    {"abs", 1, 1, "abs(A)", "Absolute values", "", "abs([-1 3+4i])", abs},
};

} // namespace

std::span<const Function> partFunctions()
{
    return kFunctions;
}

} // namespace kxsh
