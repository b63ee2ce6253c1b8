#include "functions.hpp"

#include "equality.hpp"
#include "error.hpp"
#include "indexing.hpp"
#include "interrupt.hpp"

#include <fmt/format.h>

#include <algorithm>

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

std::vector<Value> sizes(Session&, Arguments arguments, std::size_t)
{
    if (arguments.size() == 2) {
        throw Error("kxsh:arguments", "size(A,dimension) gives one result");
    }
    return {Value::number(arguments[0].rows()), Value::number(arguments[0].columns())};
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
            pollAtStep(k);
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

/// What find and its like give: a row for a row, else a column.
Value foundIn(const Value& array, kxClassID id, kxComplexity complexity)
{
    const std::size_t count = nonZeros(array);
    if (count > kx::kxGetMaxNumberOfElements()) {
        throw Error("kx:sizeLimit", "too many elements are found");
    }
    const auto length = static_cast<unsigned>(count);
    return array.rows() == 1 && array.columns() != 1 ? Value::full(1, length, id, complexity)
                                                     : Value::full(length, 1, id, complexity);
}

/// Calls visit(k, row, column) for the stored values and elements that are not zero, 0-based.
template <typename Visit>
void forEachNonZero(const Value& array, Visit visit)
{
    unsigned column = 0;
    forEachValue(array, [&](std::size_t k, double re, double im) {
        if (re == 0 && im == 0) {
            return;
        }
        if (!array.isSparse()) {
            visit(k, k % array.rows(), k / array.rows());
            return;
        }
        while (array.starts()[column + 1] <= k) {
            ++column;
        }
        visit(k, std::size_t{array.rowIndices()[k]}, std::size_t{column});
    });
}

/// placeOf(row, column) of each element that is not zero, counted from 1.
template <typename PlaceOf>
Value placesFound(const Value& array, PlaceOf placeOf)
{
    Value result = foundIn(array, kxDOUBLE_CLASS, kxREAL);
    auto* out = result.data<double>();
    forEachNonZero(array, [&](std::size_t, std::size_t row, std::size_t column) {
        *out++ = static_cast<double>(placeOf(row, column) + 1);
    });
    return result;
}

/// In column order.
Value find(Session&, Arguments arguments)
{
    const Value array = elementsOf(arguments[0]);
    return placesFound(array, [m = std::size_t{array.rows()}](std::size_t i, std::size_t j) { return j * m + i; });
}

/// The values of the elements that are not zero.
Value valuesFound(const Value& array)
{
    Value result = foundIn(array, array.classId(), array.isComplex() ? kxCOMPLEX : kxREAL);
    withElementType(array.classId(), [&]<typename T>(std::type_identity<T>) {
        std::size_t next = 0;
        forEachNonZero(array, [&](std::size_t k, std::size_t, std::size_t) {
            result.data<T>()[next] = array.data<T>()[k];
            if (array.isComplex()) {
                result.imagData<T>()[next] = array.imagData<T>()[k];
            }
            ++next;
        });
    });
    return result;
}

std::vector<Value> findParts(Session&, Arguments arguments, std::size_t results)
{
    const Value array = elementsOf(arguments[0]);
    std::vector<Value> parts = {placesFound(array, [](std::size_t i, std::size_t) { return i; }),
                                placesFound(array, [](std::size_t, std::size_t j) { return j; })};
    if (results == 3) {
        parts.push_back(valuesFound(array));
    }
    return parts;
}

constexpr Function kFunctions[] = {
    {"size", 1, 2, "size(A)", "Numbers of rows and columns",
     "size(A,1) and size(A,2) give one of them, [m,n] = size(A) both.", "[m,n] = size(speye(4));", size, sizes, 2},
    {"isempty", 1, 1, "isempty(A)", "Whether there are no rows or no columns", "", "isempty([])",
     [](Session&, Arguments a) { return Value::truth(a[0].count() == 0); }},
    {"length", 1, 1, "length(A)", "The larger of the numbers of rows and columns", "0 for an empty array.",
     "length(1:7)",
     [](Session&, Arguments a) {
         return Value::number(a[0].count() == 0 ? 0 : std::max(a[0].rows(), a[0].columns()));
     }},
    {"numel", 1, 1, "numel(A)", "Number of elements, stored or not", "", "numel(speye(4))",
     [](Session&, Arguments a) { return Value::number(static_cast<double>(a[0].count())); }},
    {"nnz", 1, 1, "nnz(A)", "Number of elements that are not zero", "", "nnz(speye(4))",
     [](Session&, Arguments a) { return Value::number(static_cast<double>(nonZeros(elementsOf(a[0])))); }},
    {"nzmax", 1, 1, "nzmax(A)", "Number of entries that a sparse array has room for", "", "nzmax(sparse(3,3))",
     [](Session&, Arguments a) {
         return Value::number(a[0].isSparse() ? a[0].get()->nzmax : static_cast<double>(a[0].count()));
     }},
    {"find", 1, 1, "find(A)", "Positions of the elements that are not zero",
     "They are counted down the columns from 1. [i,j,v] = find(A) gives rows, columns\n  and values.",
     "[i,j,v] = find([0 5; 7 0]);", find, findParts, 3},
    {"nonzeros", 1, 1, "nonzeros(A)", "The elements that are not zero, as a column", "", "nonzeros([0 5; 7 0])",
     [](Session&, Arguments a) {
         const Value found = valuesFound(elementsOf(a[0]));
         return reshaped(found, static_cast<unsigned>(found.count()), 1);
     }},
    {"class", 1, 1, "class(A)", "Name of the class of the elements", "", "class(speye(2) > 0)",
     [](Session&, Arguments a) { return Value::text(className(a[0].classId())); }},
    {"issparse", 1, 1, "issparse(A)", "Whether an array is sparse", "", "issparse(speye(2))",
     [](Session&, Arguments a) { return Value::truth(a[0].isSparse()); }},
    {"isequal", 2, 2, "isequal(A,B)", "Whether shapes and elements are equal",
     "Elements are compared as numbers, whatever their class and storage; NaN equals\n  nothing.",
     "isequal(speye(2), [1 0; 0 1])", [](Session&, Arguments a) { return Value::truth(equalValues(a[0], a[1])); }},
};

} // namespace

std::span<const Function> inspectionFunctions()
{
    return kFunctions;
}

} // namespace kxsh
