// Functions that run along a dimension.
#include "functions.hpp"

#include "error.hpp"
#include "interrupt.hpp"
#include "operators.hpp"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>

namespace kxsh {

namespace {

/// What is left of an array when a dimension is run along: 1-by-n, m-by-1 or 1-by-1.
struct Direction
{
    bool keepsRows; ///< one result for each row
    bool keepsColumns;
};

/// The second argument 1, 2 or 'all'; without one, the first dimension that is not 1.
Direction directionOf(Arguments arguments)
{
    const Value& array = arguments[0];
    if (arguments.size() == 1) {
        const bool whole = array.rows() == 0 && array.columns() == 0;
        return {false, !whole && array.rows() != 1};
    }
    if (arguments[1].isText()) {
        const std::string word = textOf(arguments[1]);
        require(word == "all", "kxsh:arguments", "the dimension is 1, 2 or 'all', not '{}'", word);
        return {false, false};
    }
    const unsigned dimension = sizeArgument(arguments[1], "the dimension");
    require(dimension == 1 || dimension == 2, "kxsh:arguments",
            "the dimension is 1 (down the columns), 2 (along the rows) or 'all'");
    return {dimension == 2, dimension == 1};
}

/// The elements of an array, or their real parts, folded by f along a dimension, beginning with `start`: a full double
/// array.
template <typename F>
Value folded(const Value& array, Direction direction, double start, F f)
{
    constexpr std::size_t kPiece = std::size_t{1} << 20;
    const std::size_t m = array.rows();
    const unsigned* starts = array.starts();
    const unsigned* rows = array.rowIndices();
    Value result = Value::full(direction.keepsRows ? array.rows() : 1, direction.keepsColumns ? array.columns() : 1);
    auto* out = result.data<double>();
    std::fill_n(out, result.count(), start);
    withElementType(array.classId(), [&]<typename T>(std::type_identity<T>) {
        const T* values = array.data<T>();
        // What goes on from column to column is one run.
        const bool oneRun = !direction.keepsColumns && (array.isSparse() || !direction.keepsRows);
        for (unsigned j = 0; j < (oneRun ? 1 : array.columns()); ++j) {
            const std::size_t next = oneRun ? array.columns() : std::size_t{j} + 1;
            std::size_t k = array.isSparse() ? starts[j] : j * m;
            const std::size_t stop = array.isSparse() ? starts[next] : next * m;
            double& total = out[direction.keepsColumns ? j : 0];
            while (k < stop) {
                pollInterrupt();
                const std::size_t last = std::min(k + kPiece, stop);
                double inColumn = total; // not in memory while the column is run through
                for (; k < last && !direction.keepsRows; ++k) {
                    inColumn = f(inColumn, static_cast<double>(values[k]));
                }
                total = inColumn;
                for (; k < last; ++k) {
                    double& inRow = out[array.isSparse() ? rows[k] : k - j * m];
                    inRow = f(inRow, static_cast<double>(values[k]));
                }
            }
        }
    });
    return result;
}

/// The same with the zeros that are not stored, after all that are.
template <typename F>
Value foldedWithZeros(const Value& array, Direction direction, double start, F f)
{
    Value result = folded(array, direction, start, f);
    if (array.isSparse()) {
        const double each =
            (direction.keepsRows ? 1.0 : array.rows()) * (direction.keepsColumns ? 1.0 : array.columns());
        const Value stored = folded(array, direction, 0, [](double count, double) { return count + 1; });
        for (std::size_t k = 0; k < result.count(); ++k) {
            double& value = result.data<double>()[k];
            value = stored.data<double>()[k] < each ? f(value, 0.0) : value;
        }
    }
    return result;
}

Value sum(Session&, Arguments arguments)
{
    const Value array = elementsOf(arguments[0]);
    const Direction direction = directionOf(arguments);
    Value result = folded(array, direction, 0, std::plus<double>());
    if (array.isComplex()) {
        result = complexOf(result, folded(partOf(array, true), direction, 0, std::plus<double>()));
    }
    return array.classId() == kxSINGLE_CLASS ? converted(result, kxSINGLE_CLASS) : result;
}

template <bool All>
Value truths(Session&, Arguments arguments)
{
    const Value& array = arguments[0];
    const Value nonZero = operate(BinaryOperator::kNotEqual, array, Value::number(0));
    const auto fold = [](double so, double v) {
        return static_cast<double>(All ? so != 0 && v != 0 : so != 0 || v != 0);
    };
    return converted(foldedWithZeros(nonZero, directionOf(arguments), All ? 1 : 0, fold), kxLOGICAL_CLASS);
}

/// NaN counts for nothing beside a number; the zeros that are not stored count.
template <bool Greatest>
Value extremes(Session&, Arguments arguments)
{
    const Value array = elementsOf(arguments[0]);
    require(!array.isComplex(), "kxsh:operand", "complex numbers have no order");
    const Direction direction = directionOf(arguments);
    if ((array.rows() == 0 && !direction.keepsRows) || (array.columns() == 0 && !direction.keepsColumns)) {
        return Value::full(0, 0, array.classId());
    }
    const auto better = [](double best, double v) {
        return std::isnan(best) || (Greatest ? v > best : v < best) ? v : best;
    };
    const double none = std::numeric_limits<double>::quiet_NaN();
    return converted(foldedWithZeros(array, direction, none, better), array.classId());
}

constexpr std::string_view kDimensions =
    "Along the first dimension that is not 1: for a matrix, a row with one result for\n"
    "  each column. (A,2) goes along the rows, (A,'all') over all elements.";

constexpr Function kFunctions[] = {
    {"sum", 1, 2, "sum(A)", "Sums", kDimensions, "sum([1 2; 3 4], 2)", sum},
    {"min", 1, 2, "min(A)", "Least elements, zeros that are not stored included", kDimensions, "min(speye(3), 'all')",
     extremes<false>},
    {"max", 1, 2, "max(A)", "Greatest elements, zeros that are not stored included", kDimensions, "max([3 1 2])",
     extremes<true>},
    {"any", 1, 2, "any(A)", "Whether some elements are not zero", kDimensions, "any(speye(3) > 1)", truths<false>},
    {"all", 1, 2, "all(A)", "Whether no elements are zero", kDimensions, "all([1 2; 0 3])", truths<true>},
};

} // namespace

const std::span<const Function> reductionFunctions = kFunctions;

} // namespace kxsh
