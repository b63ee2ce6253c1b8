#include "functions.hpp"

#include "error.hpp"
#include "indexing.hpp"
#include "interrupt.hpp"
#include "operators.hpp"

#include <algorithm>

namespace kxsh {

namespace {

Value size(Session&, Arguments arguments)
{
    const Value& array = arguments[0];
    if (arguments.size() == 2) {
        const unsigned dimension = sizeArgument(arguments[1], "the dimension");
        require(dimension == 1 || dimension == 2, "kxsh:arguments", "the dimension is 1 (rows) or 2 (columns)");
        return Value::number(dimension == 1 ? array.rows() : array.columns());
    }
    Value result = Value::full(1, 2);
    result.data<double>()[0] = array.rows();
    result.data<double>()[1] = array.columns();
    return result;
}

std::vector<Value> sizes(Session&, Arguments arguments, std::size_t)
{
    require(arguments.size() == 1, "kxsh:arguments", "size(A,dimension) gives one result");
    return {Value::number(arguments[0].rows()), Value::number(arguments[0].columns())};
}

/// The elements of an array that are not zero, in column order.
class Found
{
  public:
    explicit Found(const Value& array)
        : array_(array),
          entries_(asSparse(array.isSparse() ? array : reshaped(array, static_cast<unsigned>(array.count()), 1)))
    {
    }

    /// placeOf(row, column) of each, 0-based, counted from 1.
    template <typename PlaceOf>
    [[nodiscard]] Value places(PlaceOf placeOf) const
    {
        Value result = list(kxDOUBLE_CLASS, kxREAL);
        const std::uint64_t m = array_.rows();
        for (unsigned j = 0; j < entries_.columns(); ++j) {
            forEachInColumn(entries_, j, [&](std::uint64_t row, std::size_t k) {
                pollAtStep(k);
                const std::uint64_t place = array_.isSparse() ? placeOf(row, j) : placeOf(row % m, row / m);
                result.data<double>()[k] = static_cast<double>(place + 1);
            });
        }
        return result;
    }

    [[nodiscard]] Value values() const
    {
        Value result = list(entries_.classId(), entries_.isComplex() ? kxCOMPLEX : kxREAL);
        copyValues(entries_, 0, entries_.entries(), result, 0);
        return result;
    }

  private:
    /// A row for a row, else a column.
    [[nodiscard]] Value list(kxClassID id, kxComplexity complexity) const
    {
        const bool row = array_.rows() == 1 && array_.columns() != 1;
        const unsigned count = entries_.entries();
        return Value::full(row ? 1 : count, row ? count : 1, id, complexity);
    }

    const Value& array_;
    Value entries_; ///< of a full array, in one column
};

Value find(Session&, Arguments arguments)
{
    const std::uint64_t m = arguments[0].rows();
    return Found(arguments[0]).places([m](std::uint64_t i, std::uint64_t j) { return j * m + i; });
}

std::vector<Value> findParts(Session&, Arguments arguments, std::size_t results)
{
    const Found found(arguments[0]);
    std::vector<Value> parts = {found.places([](std::uint64_t i, std::uint64_t) { return i; }),
                                found.places([](std::uint64_t, std::uint64_t j) { return j; })};
    if (results == 3) {
        parts.push_back(found.values());
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
     [](Session&, Arguments a) { return Value::number(static_cast<double>(nonZeros(a[0]))); }},
    {"nzmax", 1, 1, "nzmax(A)", "Number of entries that a sparse array has room for", "", "nzmax(sparse(3,3))",
     [](Session&, Arguments a) {
         return Value::number(a[0].isSparse() ? a[0].get()->nzmax : static_cast<double>(a[0].count()));
     }},
    {"find", 1, 1, "find(A)", "Positions of the elements that are not zero",
     "They are counted down the columns from 1. [i,j,v] = find(A) gives rows, columns\n  and values.",
     "[i,j,v] = find([0 5; 7 0]);", find, findParts, 3},
    {"nonzeros", 1, 1, "nonzeros(A)", "The elements that are not zero, as a column", "", "nonzeros([0 5; 7 0])",
     [](Session&, Arguments a) {
         const Value found = Found(a[0]).values();
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

const std::span<const Function> inspectionFunctions = kFunctions;

} // namespace kxsh
