// Functions that run along a dimension.
#include "functions.hpp"

#include "error.hpp"
#include "interrupt.hpp"

#include <fmt/format.h>

#include <cmath>
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
        if (textOf(arguments[1]) != "all") {
            throw Error("kxsh:arguments",
                        fmt::format("the dimension is 1, 2 or 'all', not '{}'", textOf(arguments[1])));
        }
        return {false, false};
    }
    const unsigned dimension = sizeArgument(arguments[1], "the dimension");
    if (dimension != 1 && dimension != 2) {
        throw Error("kxsh:arguments", "the dimension is 1 (down the columns), 2 (along the rows) or 'all'");
    }
    return {dimension == 2, dimension == 1};
}

/// Calls visit(place, re, im) for each stored value of an array, `place` being that of its result, and returns how many
/// elements go into each result.
template <typename Visit>
double forEachStored(const Value& array, Direction direction, Visit visit)
{
    const std::size_t m = array.rows();
    const unsigned n = array.columns();
    const unsigned* starts = array.starts();
    const unsigned* rows = array.rowIndices();
    const auto walk = [&]<typename T>(const T* re, const T* im, auto placeOf) {
        for (unsigned j = 0; j < n; ++j) {
            if (j % 1024 == 0 || m > 1024) {
                pollInterrupt();
            }
            const std::size_t first = array.isSparse() ? starts[j] : j * m;
            const std::size_t stop = array.isSparse() ? starts[j + 1] : first + m;
            for (std::size_t k = first; k < stop; ++k) {
                const double imaginary = im != nullptr ? static_cast<double>(im[k]) : 0.0;
                visit(placeOf(array.isSparse() ? rows[k] : k - first, j), static_cast<double>(re[k]), imaginary);
            }
        }
    };
    withElementType(array.classId(), [&]<typename T>(std::type_identity<T>) {
        const T* re = array.data<T>();
        const T* im = array.imagData<T>();
        if (direction.keepsRows) {
            walk(re, im, [](std::size_t row, unsigned) { return row; });
        } else if (direction.keepsColumns) {
            walk(re, im, [](std::size_t, unsigned column) { return std::size_t{column}; });
        } else {
            walk(re, im, [](std::size_t, unsigned) { return std::size_t{0}; });
        }
    });
    return (direction.keepsRows ? 1.0 : static_cast<double>(m)) * (direction.keepsColumns ? 1.0 : n);
}

Value resultFor(const Value& array, Direction direction, kxClassID id, kxComplexity complexity)
{
    return Value::full(direction.keepsRows ? array.rows() : 1, direction.keepsColumns ? array.columns() : 1, id,
                       complexity);
}

Value sum(Session&, Arguments arguments)
{
    const Value array = elementsOf(arguments[0]);
    const Direction direction = directionOf(arguments);
    Value result = resultFor(array, direction, kxDOUBLE_CLASS, array.isComplex() ? kxCOMPLEX : kxREAL);
    auto* re = result.data<double>();
    auto* im = result.imagData<double>();
    forEachStored(array, direction, [=](std::size_t place, double a, double b) {
        re[place] += a;
        if (im != nullptr) {
            im[place] += b;
        }
    });
    kx::kxFreeImagIfZero(result.get());
    return array.classId() == kxSINGLE_CLASS ? converted(result, kxSINGLE_CLASS) : result;
}

/// How many elements of each result are not zero.
std::vector<double> counts(const Value& array, Direction direction, double& each)
{
    std::vector<double> found(resultFor(array, direction, kxLOGICAL_CLASS, kxREAL).count());
    each = forEachStored(array, direction,
                         [&](std::size_t place, double a, double b) { found[place] += a != 0 || b != 0 ? 1 : 0; });
    return found;
}

template <bool All>
Value truths(Session&, Arguments arguments)
{
    const Value array = elementsOf(arguments[0]);
    const Direction direction = directionOf(arguments);
    double each = 0;
    const std::vector<double> found = counts(array, direction, each);
    Value result = resultFor(array, direction, kxLOGICAL_CLASS, kxREAL);
    for (std::size_t k = 0; k < found.size(); ++k) {
        result.data<bool>()[k] = All ? found[k] == each : found[k] != 0;
    }
    return result;
}

/// NaN counts for nothing beside a number; the zeros that are not stored count.
template <bool Greatest>
Value extremes(Session&, Arguments arguments)
{
    const Value array = elementsOf(arguments[0]);
    if (array.isComplex()) {
        throw Error("kxsh:operand", "complex numbers have no order");
    }
    const Direction direction = directionOf(arguments);
    Value result = resultFor(array, direction, kxDOUBLE_CLASS, kxREAL);
    std::vector<double> seen(result.count());
    auto* best = result.data<double>();
    std::fill_n(best, result.count(), std::numeric_limits<double>::quiet_NaN());
    const auto consider = [best](std::size_t place, double v) {
        if (std::isnan(best[place]) || (Greatest ? v > best[place] : v < best[place])) {
            best[place] = v;
        }
    };
    const double each = forEachStored(array, direction, [&](std::size_t place, double v, double) {
        consider(place, v);
        ++seen[place];
    });
    if (each == 0) {
        return Value::full(0, 0, array.classId());
    }
    for (std::size_t place = 0; place < seen.size(); ++place) {
        if (seen[place] < each) {
            consider(place, 0);
        }
    }
    return converted(result, array.classId());
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

std::span<const Function> reductionFunctions()
{
    return kFunctions;
}

} // namespace kxsh
