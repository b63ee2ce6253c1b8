#include "functions.hpp"

#include "equality.hpp"
#include "error.hpp"
#include "interrupt.hpp"

#include <fmt/format.h>

#include <complex>

namespace kxsh {

namespace {

Value size(Session&, Arguments arguments)
{
    const Value& array = arguments[0];
    if (arguments.size() == 2) {
        const unsigned dimension = sizeArgument(arguments[1], "the dimension");
        if (dimension != 1 && dimension != 2) {
            throw Error("kxsh:arguments", "the dimension is 1 (rows) or 2 (columns)");
        }
        return Value::number(dimension == 1 ? array.rows() : array.columns());
    }
    Value result = Value::full(1, 2);
    result.data<double>()[0] = array.rows();
    result.data<double>()[1] = array.columns();
    return result;
}

Value numel(Session&, Arguments arguments)
{
    return Value::number(static_cast<double>(arguments[0].count()));
}

/// Calls visit(k, re, im) for each stored value of a sparse array, or each element of a full one, as doubles.
template <typename Visit>
void forEachValue(const Value& array, Visit visit)
{
    const std::size_t count = array.isSparse() ? array.entries() : array.count();
    withElementType(array.classId(), [&]<typename T>(std::type_identity<T>) {
        const T* re = array.data<T>();
        const T* im = array.imagData<T>();
        for (std::size_t k = 0; k < count; ++k) {
            if (k % (1U << 20) == 0) {
                pollInterrupt();
            }
            visit(k, static_cast<double>(re[k]), im != nullptr ? static_cast<double>(im[k]) : 0.0);
        }
    });
}

std::size_t nonZeros(const Value& array)
{
    std::size_t count = 0;
    forEachValue(array, [&count](std::size_t, double re, double im) { count += re != 0 || im != 0 ? 1 : 0; });
    return count;
}

Value nnz(Session&, Arguments arguments)
{
    return Value::number(static_cast<double>(nonZeros(elementsOf(arguments[0]))));
}

Value nzmax(Session&, Arguments arguments)
{
    const Value& array = arguments[0];
    return Value::number(array.isSparse() ? array.get()->nzmax : static_cast<double>(array.count()));
}

/// 1-based positions in column order; those of a row as a row, all others as a column.
Value find(Session&, Arguments arguments)
{
    const Value array = elementsOf(arguments[0]);
    const std::size_t found = nonZeros(array);
    if (found > kx::kxGetMaxNumberOfElements()) {
        throw Error("kx:sizeLimit", "too many elements are found");
    }
    const auto count = static_cast<unsigned>(found);
    const bool row = array.rows() == 1 && array.columns() != 1;
    Value result = row ? Value::full(1, count) : Value::full(count, 1);
    auto* out = result.data<double>();
    unsigned column = 0;
    forEachValue(array, [&](std::size_t k, double re, double im) {
        if (re == 0 && im == 0) {
            return;
        }
        double position = static_cast<double>(k);
        if (array.isSparse()) {
            while (array.starts()[column + 1] <= k) {
                ++column;
            }
            position = static_cast<double>(column) * array.rows() + array.rowIndices()[k];
        }
        *out++ = position + 1;
    });
    return result;
}

Value classOf(Session&, Arguments arguments)
{
    return Value::text(className(arguments[0].classId()));
}

Value issparse(Session&, Arguments arguments)
{
    return Value::truth(arguments[0].isSparse());
}

Value isequal(Session&, Arguments arguments)
{
    return Value::truth(equalValues(arguments[0], arguments[1]));
}

/// Sums into the place that placeOf(k, column) names, over a result of m-by-n.
template <typename PlaceOf>
Value sums(const Value& array, unsigned m, unsigned n, PlaceOf placeOf)
{
    Value result = Value::full(m, n, kxDOUBLE_CLASS, array.isComplex() ? kxCOMPLEX : kxREAL);
    auto* re = result.data<double>();
    auto* im = result.imagData<double>();
    unsigned column = 0;
    forEachValue(array, [&](std::size_t k, double a, double b) {
        std::size_t row = k;
        if (array.isSparse()) {
            while (array.starts()[column + 1] <= k) {
                ++column;
            }
            row = array.rowIndices()[k];
        } else {
            column = static_cast<unsigned>(k / array.rows());
            row = k % array.rows();
        }
        const std::size_t place = placeOf(row, column);
        re[place] += a;
        if (im != nullptr) {
            im[place] += b;
        }
    });
    kx::kxFreeImagIfZero(result.get());
    return result;
}

Value sum(Session&, Arguments arguments)
{
    const Value array = elementsOf(arguments[0]);
    if (arguments.size() == 1) {
        return sums(array, 1, 1, [](std::size_t, unsigned) { return std::size_t{0}; });
    }
    const unsigned dimension = sizeArgument(arguments[1], "the dimension");
    if (dimension == 1) {
        return sums(array, 1, array.columns(), [](std::size_t, unsigned column) { return std::size_t{column}; });
    }
    if (dimension == 2) {
        return sums(array, array.rows(), 1, [](std::size_t row, unsigned) { return row; });
    }
    throw Error("kxsh:arguments", "the dimension is 1 (sums of columns) or 2 (sums of rows)");
}

constexpr Function kFunctions[] = {
    {"size", 1, 2, "size(A)", "Numbers of rows and columns", "size(A,1) and size(A,2) give one of them.",
     "size(speye(4))", size},
    {"numel", 1, 1, "numel(A)", "Number of elements, stored or not", "", "numel(speye(4))", numel},
    {"nnz", 1, 1, "nnz(A)", "Number of elements that are not zero", "", "nnz(speye(4))", nnz},
    {"nzmax", 1, 1, "nzmax(A)", "Number of entries that a sparse array has room for", "", "nzmax(sparse(3,3))", nzmax},
    {"find", 1, 1, "find(A)", "Positions of the elements that are not zero",
     "They are counted down the columns from 1.", "find([0 5 0 7])", find},
    {"class", 1, 1, "class(A)", "Name of the class of the elements", "", "class(speye(2) > 0)", classOf},
    {"issparse", 1, 1, "issparse(A)", "Whether an array is sparse", "", "issparse(speye(2))", issparse},
    {"isequal", 2, 2, "isequal(A,B)", "Whether shapes and elements are equal",
     "Elements are compared as numbers, whatever their class and storage; NaN equals\n  nothing.",
     "isequal(speye(2), [1 0; 0 1])", isequal},
    {"sum", 1, 2, "sum(A)", "Sum of all elements",
     "sum(A,1) gives the sums of the columns as a full row, sum(A,2) those of the\n  rows as a full column.",
     "sum(speye(4))", sum},
};

} // namespace

std::span<const Function> inspectionFunctions()
{
    return kFunctions;
}

} // namespace kxsh
