#include "functions.hpp"

#include "assembly.hpp"
#include "elementwise.hpp"
#include "error.hpp"
#include "indexing.hpp"
#include "interrupt.hpp"
#include "printing.hpp"
#include "sampling.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace kxsh {

namespace {

struct Shape
{
    unsigned m;
    unsigned n;
};

/// (n) for n-by-n or (m, n).
Shape shapeOf(Arguments arguments)
{
    const unsigned m = sizeArgument(arguments[0], "the number of rows");
    return {m, arguments.size() > 1 ? sizeArgument(arguments[1], "the number of columns") : m};
}

std::uint64_t seedOf(Arguments arguments, std::size_t at)
{
    return arguments.size() > at ? sizeArgument(arguments[at], "the seed") : 1;
}

/// Rows or columns of entries as numbers; one number stands for all.
struct Subscripts
{
    Subscripts(const Value& value, std::string_view name)
        : numbers(asFull(converted(value, kxDOUBLE_CLASS))), step(numbers.isScalar() ? 0 : 1), what(name)
    {
    }

    /// Subscript k as a 0-based index; `limit` 0 stands for no limit.
    [[nodiscard]] unsigned at(std::size_t k, unsigned limit) const
    {
        const double v = numbers.data<double>()[k * step];
        if (numbers.isComplex() || !(v >= 1) || v != std::floor(v)) {
            fail("kx:subscript:notPositiveInteger", "{} {} is no positive whole number", what, shortNumber(v, 10));
        }
        const unsigned most = limit == 0 ? kx::kxGetMaxNumberOfElements() : limit;
        if (v > most) {
            fail("kx:subscript:outOfRange", "{} {} is above {}", what, shortNumber(v, 10), most);
        }
        return static_cast<unsigned>(v) - 1;
    }

    Value numbers;
    std::size_t step;
    std::string_view what;
};

Value sparseFromEntries(Arguments arguments)
{
    const Subscripts i(arguments[0], "row");
    const Subscripts j(arguments[1], "column");
    const kxClassID id = arguments[2].classId() == kxCHAR_CLASS ? kxDOUBLE_CLASS : arguments[2].classId();
    const Value v = asFull(converted(arguments[2], kxDOUBLE_CLASS));
    std::size_t count = 1;
    for (const Value* each : {&i.numbers, &j.numbers, &v}) {
        count = each->isScalar() ? count : each->count();
    }
    for (const Value* each : {&i.numbers, &j.numbers, &v}) {
        require(each->isScalar() || each->count() == count, "kxsh:arguments",
                "sparse takes as many rows as columns and values, or one number for all");
    }
    const bool sized = arguments.size() == 5;
    Shape shape = sized ? shapeOf(arguments.subspan(3)) : Shape{0, 0};
    for (std::size_t k = 0; k < count; ++k) {
        pollAtStep(k);
        const unsigned row = i.at(k, sized ? std::max(shape.m, 1U) : 0);
        const unsigned column = j.at(k, sized ? std::max(shape.n, 1U) : 0);
        if (!sized) {
            shape = {std::max(shape.m, row + 1), std::max(shape.n, column + 1)};
        }
    }
    require(count == 0 || (shape.m != 0 && shape.n != 0), "kx:subscript:outOfRange", "an empty array holds no entries");
    Assembly assembly(shape.m, shape.n, kxDOUBLE_CLASS, v.isComplex() ? kxCOMPLEX : kxREAL);
    for (std::size_t k = 0; k < count; ++k) {
        pollAtStep(k);
        assembly.count(j.at(k, 0));
    }
    assembly.startPlacing();
    const Numbers<std::complex<double>> values(v);
    const std::size_t step = v.isScalar() ? 0 : 1;
    for (std::size_t k = 0; k < count; ++k) {
        pollAtStep(k);
        const std::complex<double> value = values.at(k * step);
        assembly.place(i.at(k, 0), j.at(k, 0), value.real(), value.imag());
    }
    return converted(assembly.finish(), id);
}

Value sparse(Session&, Arguments arguments)
{
    if (arguments.size() == 1) {
        return asSparse(arguments[0]);
    }
    require(arguments.size() != 4, "kxsh:arguments", "sparse takes m and n together: sparse(i,j,v,m,n)");
    if (arguments.size() == 2) {
        const auto [m, n] = shapeOf(arguments);
        return Value::sparse(m, n, 1);
    }
    return sparseFromEntries(arguments);
}

Value sprand(Session&, Arguments arguments)
{
    const auto [m, n] = shapeOf(arguments);
    const double density = realScalar(arguments[2], "the density");
    require(density >= 0 && density <= 1, "kxsh:arguments", "the density must lie between 0 and 1, not {}", density);
    const double expected = std::round(density * static_cast<double>(std::uint64_t{m} * n));
    require(expected <= kx::kxGetMaxNumberOfElements(), "kx:sizeLimit", "{} entries are too many for one sparse array",
            expected);
    Sampler sampler(seedOf(arguments, 3));
    const std::vector<std::uint64_t> places =
        sampler.choose(static_cast<std::uint64_t>(expected), std::uint64_t{m} * n);
    SparseResult<double> result(m, n, places.size());
    auto next = places.begin();
    for (unsigned j = 0; j < n; ++j) {
        for (; next != places.end() && *next / m == j; ++next) {
            result.put(static_cast<unsigned>(*next % m), sampler.fraction());
        }
        result.closeColumn(j);
    }
    return result.finish();
}

Value speye(Session&, Arguments arguments)
{
    const auto [m, n] = shapeOf(arguments);
    const unsigned count = std::min(m, n);
    SparseResult<double> result(m, n, count);
    for (unsigned j = 0; j < n; ++j) {
        if (j < count) {
            result.put(j, 1);
        }
        result.closeColumn(j);
    }
    return result.finish();
}

/// A full array of one value; without arguments, a single one.
template <typename T>
Value filled(Arguments arguments, kxClassID id, T value)
{
    const auto [m, n] = arguments.empty() ? Shape{1, 1} : shapeOf(arguments);
    Value result = Value::full(m, n, id);
    constexpr std::size_t kPiece = std::size_t{1} << 20;
    for (std::size_t first = 0; first < result.count() && value != T{}; first += kPiece) {
        pollInterrupt();
        std::fill_n(result.data<T>() + first, std::min(kPiece, result.count() - first), value);
    }
    return result;
}

Value randperm(Session&, Arguments arguments)
{
    const unsigned n = sizeArgument(arguments[0], "the length");
    Sampler sampler(seedOf(arguments, 1));
    Value result = Value::full(1, n);
    auto* values = result.data<double>();
    for (unsigned k = 0; k < n; ++k) {
        pollAtStep(k);
        values[k] = k + 1.0;
    }
    for (unsigned left = n; left > 1; --left) {
        pollAtStep(left);
        std::swap(values[left - 1], values[sampler.below(left)]);
    }
    return result;
}

constexpr Function kFunctions[] = {
    {"sparse", 1, 5, "sparse(i,j,v,m,n)", "Sparse m-by-n array, v(k) at row i(k), column j(k)",
     "Entries of one place are summed, zeros dropped. Without m and n, the largest\n"
     "  row and column decide. sparse(m,n) is an all-zero array, sparse(F) the\n"
     "  sparse form of F.",
     "A = sparse([1 2 2], [1 2 3], [10 20 30], 3, 3)", sparse},
    {"sprand", 3, 4, "sprand(m,n,density,seed)", "Random sparse m-by-n array",
     "It has round(density*m*n) entries between 0 and 1. The same seed (1 when left\n"
     "  out) gives the same array on every machine.",
     "A = sprand(1000, 1000, 0.01, 7)", sprand},
    {"speye", 1, 2, "speye(n)", "Sparse identity, n-by-n", "speye(m,n) is m-by-n.", "I = speye(4)", speye},
    {"eye", 1, 2, "eye(n)", "Full identity, n-by-n", "eye(m,n) is m-by-n.", "eye(2,3)",
     [](Session& session, Arguments a) { return asFull(speye(session, a)); }},
    {"zeros", 1, 2, "zeros(m,n)", "Full array of zeros", "zeros(n) is n-by-n.", "f = zeros(5,1)",
     [](Session&, Arguments a) { return filled(a, kxDOUBLE_CLASS, 0.0); }},
    {"ones", 1, 2, "ones(m,n)", "Full array of ones", "ones(n) is n-by-n.", "e = ones(1,3)",
     [](Session&, Arguments a) { return filled(a, kxDOUBLE_CLASS, 1.0); }},
    {"true", 0, 2, "true(m,n)", "Full logical array of trues", "true alone is one of them.",
     "keep = true(6,1); keep([2 5]) = false", [](Session&, Arguments a) { return filled(a, kxLOGICAL_CLASS, true); }},
    {"false", 0, 2, "false(m,n)", "Full logical array of falses", "false alone is one of them.", "mask = false(1,4)",
     [](Session&, Arguments a) { return filled(a, kxLOGICAL_CLASS, false); }},
    {"randperm", 1, 2, "randperm(n,seed)", "The numbers 1 to n in random order, as a row",
     "The second number is a seed (1 when left out), not a count: the same seed gives\n"
     "  the same order on every machine, and p(1:k) is a choice of k.",
     "p = randperm(10, 3); p(1:4)", randperm},
    {"Inf", 0, 0, "Inf", "Infinity", "", "max([1 Inf])",
     [](Session&, Arguments) { return Value::number(std::numeric_limits<double>::infinity()); }},
    {"NaN", 0, 0, "NaN", "Not a number", "It equals nothing, itself included.", "NaN == NaN",
     [](Session&, Arguments) { return Value::number(std::numeric_limits<double>::quiet_NaN()); }},
    {"pi", 0, 0, "pi", "The ratio of a circle's circumference to its diameter", "", "2 * pi",
     [](Session&, Arguments) { return Value::number(std::numbers::pi); }},
    {"reshape", 3, 3, "reshape(A,m,n)", "The elements of A, column by column, as m-by-n", "",
     "B = reshape(speye(4), 2, 8)",
     [](Session&, Arguments a) {
         const auto [m, n] = shapeOf(a.subspan(1));
         return reshaped(a[0], m, n);
     }},
};

} // namespace

const std::span<const Function> creationFunctions = kFunctions;

} // namespace kxsh
