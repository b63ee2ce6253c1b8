// Functions that take matrices apart and put them together.
#include "functions.hpp"

#include "elementwise.hpp"
#include "error.hpp"
#include "indexing.hpp"
#include "interrupt.hpp"

#include <cmath>

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
    Value result =
        Value::full(elements.rows(), elements.columns(), elements.classId(), elements.isComplex() ? kxCOMPLEX : kxREAL);
    forEachPart(elements, result, [&]<typename T>(const T* from, T* to) {
        for (unsigned j = 0; j < result.columns(); ++j) {
            forEachInColumn(result, j, [&](unsigned i, std::size_t k) {
                pollAtStep(k);
                to[k] = keep(i, j) ? from[k] : T{};
            });
        }
    });
    return result;
}

/// Which diagonal is meant: 0 is the main one, positive ones lie above.
double diagonalOf(Arguments arguments)
{
    const double k = arguments.size() > 1 ? realScalar(arguments[1], "the number of the diagonal") : 0;
    require(k == std::floor(k), "kxsh:arguments", "the number of the diagonal must be a whole number");
    return k;
}

template <bool Lower>
Value triangle(Session&, Arguments arguments)
{
    const double k = diagonalOf(arguments);
    return filtered(arguments[0], [k](unsigned i, unsigned j) {
        const double diagonal = static_cast<double>(j) - i;
        return Lower ? diagonal <= k : diagonal >= k;
    });
}

/// Of a vector, the square matrix that has it on its diagonal; else the diagonal.
Value diag(Session& session, Arguments arguments)
{
    const Value array = elementsOf(arguments[0]);
    const unsigned count = std::min(array.rows(), array.columns());
    if (array.rows() == 1 || array.columns() == 1) {
        const auto n = static_cast<double>(array.count());
        const Value places = Value::range(1, 1, n);
        const Value size = Value::number(n);
        const Value entries[] = {places, places, asFull(array), size, size};
        const Value result = converted(callFunction(*findFunction("sparse"), session, entries), array.classId());
        return array.isSparse() ? result : asFull(result);
    }
    if (!array.isSparse()) {
        const double step = array.rows() + 1.0;
        const Value places = Value::range(1, step, count == 0 ? 0 : 1 + step * (count - 1.0));
        return reshaped(reference(array, {&places, 1}, "the matrix"), count, 1);
    }
    const Value kept = filtered(array, [](unsigned i, unsigned j) { return i == j; });
    Value result = Value::sparse(count, 1, kept.entries(), kept.classId(), kept.isComplex() ? kxCOMPLEX : kxREAL);
    std::copy_n(kept.rowIndices(), kept.entries(), result.rowIndices());
    copyValues(kept, 0, kept.entries(), result, 0);
    result.starts()[1] = kept.entries();
    return result;
}

/// g of each stored value of a sparse array, of each element of a full one, in double precision.
template <typename G>
Value mapped(const Value& array, G g)
{
    const Value numbers = converted(array, kxDOUBLE_CLASS);
    const auto as = [&]<typename Number>(Number) {
        return numbers.isSparse()
                   ? sparseMap<Number>(numbers, [g](Number v, unsigned, unsigned) { return g(v); })
                   : fullElementwise<Number>(numbers, Value::number(0), [g](Number v, Number) { return g(v); });
    };
    return numbers.isComplex() ? as(std::complex<double>()) : as(0.0);
}

Value abs(Session&, Arguments arguments)
{
    const kxClassID id = arguments[0].classId();
    const Value result = mapped(arguments[0], [](auto v) { return std::abs(v); });
    return id == kxLOGICAL_CLASS || id == kxCHAR_CLASS ? result : converted(result, id);
}

constexpr Function kFunctions[] = {
    {"diag", 1, 1, "diag(A)", "Diagonal of a matrix, or a matrix with a diagonal",
     "The diagonal is a column. A vector gives the square matrix that has it on its\n  diagonal, sparse if the vector "
     "is.",
     "diag(sparse([1 2 3]))", diag},
    {"tril", 1, 2, "tril(A)", "Lower triangle, diagonal included",
     "tril(A,k) goes up to diagonal k, counted from 0 upwards.", "tril([1 2; 3 4])", triangle<true>},
    {"triu", 1, 2, "triu(A)", "Upper triangle, diagonal included",
     "triu(A,k) begins with diagonal k, counted from 0 upwards.", "triu([1 2; 3 4], 1)", triangle<false>},
    {"spones", 1, 1, "spones(A)", "Sparse array with a one at each entry of A", "", "spones(sparse([0 5 -2]))",
     [](Session&, Arguments a) { return mapped(asSparse(a[0]), [](auto) { return 1.0; }); }},
    {"abs", 1, 1, "abs(A)", "Absolute values", "", "abs([-1 3+4i])", abs},
};

} // namespace

const std::span<const Function> partFunctions = kFunctions;

} // namespace kxsh
