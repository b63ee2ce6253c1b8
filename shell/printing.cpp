#include "printing.hpp"

#include "interrupt.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <vector>

namespace kxsh {

namespace {

constexpr std::size_t kMostLines = 30; // longer listings show their ends only
constexpr std::size_t kLinesPerEnd = 10;
constexpr std::size_t kLongestRange = 1000; // longer ones are described, not written out
constexpr int kScalarDigits = 10;
constexpr int kArrayDigits = 6;

template <typename T>
std::string numberText(T value, [[maybe_unused]] int digits)
{
    if constexpr (std::is_floating_point_v<T>) {
        return shortNumber(static_cast<double>(value), std::min(digits, std::numeric_limits<T>::digits10 + 1));
    } else if constexpr (std::is_same_v<T, bool> || std::is_same_v<T, char16_t>) {
        return fmt::to_string(static_cast<unsigned>(value));
    } else {
        return fmt::to_string(value);
    }
}

/// Indices 0 .. count-1, or the first and last ones with a gap where there are too many.
struct Selection
{
    std::vector<std::size_t> indices;
    std::size_t gapBefore = 0; ///< place in `indices` before which some are left out; 0 for none
    std::size_t leftOut = 0;
};

Selection select(std::size_t count, std::size_t first, std::size_t last)
{
    Selection result;
    const bool all = count <= first + last;
    result.indices.resize(all ? count : first + last);
    std::iota(result.indices.begin(), result.indices.end(), std::size_t{0});
    if (!all) {
        result.gapBefore = first;
        result.leftOut = count - first - last;
        std::for_each(result.indices.end() - static_cast<std::ptrdiff_t>(last), result.indices.end(),
                      [&](std::size_t& index) { index += result.leftOut; });
    }
    return result;
}

Selection selectLines(std::size_t count)
{
    return count > kMostLines ? select(count, kLinesPerEnd, kLinesPerEnd) : select(count, count, 0);
}

/// Coordinates end at one column, two blanks before the values.
void printEntries(std::ostream& out, const Value& value)
{
    const Selection shown = selectLines(value.entries());
    std::vector<std::string> places;
    std::size_t widest = 0;
    unsigned column = 0;
    for (const std::size_t k : shown.indices) {
        while (value.starts()[column + 1] <= k) {
            ++column;
        }
        places.push_back(fmt::format("({},{})", value.rowIndices()[k] + 1, column + 1));
        widest = std::max(widest, places.back().size());
    }
    for (std::size_t i = 0; i < places.size(); ++i) {
        pollInterrupt();
        if (i != 0 && i == shown.gapBefore) {
            out << fmt::format("  ... {} more entries ...\n", shown.leftOut);
        }
        out << fmt::format("  {:>{}}  {}\n", places[i], widest, elementText(value, shown.indices[i], kArrayDigits));
    }
}

void printRows(std::ostream& out, const Value& value, unsigned width)
{
    const Selection rows = selectLines(value.rows());
    const auto text = [&](std::size_t i, std::size_t j) {
        return elementText(value, j * value.rows() + i, kArrayDigits);
    };
    // Columns of one width: first as many as could ever fit, then as many as do fit at that width.
    Selection columns = select(value.columns(), width / 2, 3);
    std::size_t cell = 3;
    for (const std::size_t j : columns.indices) {
        for (const std::size_t i : rows.indices) {
            cell = std::max(cell, text(i, j).size() + 2);
        }
    }
    const std::size_t fitting = std::max<std::size_t>(width / cell, 5);
    if (value.columns() > fitting) {
        columns = select(value.columns(), fitting - 4, 3);
    }
    for (std::size_t r = 0; r < rows.indices.size(); ++r) {
        pollInterrupt();
        if (r != 0 && r == rows.gapBefore) {
            out << fmt::format("  ... {} more rows ...\n", rows.leftOut);
        }
        std::string line;
        for (std::size_t c = 0; c < columns.indices.size(); ++c) {
            if (c != 0 && c == columns.gapBefore) {
                line += fmt::format("{:>{}}", "...", std::max<std::size_t>(cell, 5));
            }
            line += fmt::format("{:>{}}", text(rows.indices[r], columns.indices[c]), cell);
        }
        out << line << '\n';
    }
}

void printTextRows(std::ostream& out, const Value& value)
{
    const unsigned m = value.rows();
    for (unsigned i = 0; i < m; ++i) {
        pollInterrupt();
        std::u16string row;
        for (unsigned j = 0; j < value.columns(); ++j) {
            row += value.data<char16_t>()[std::size_t{j} * m + i];
        }
        out << "  " << utf8Of(row) << '\n';
    }
}

} // namespace

std::string shortNumber(double value, int digits)
{
    if (std::isnan(value)) {
        return "NaN";
    }
    if (std::isinf(value)) {
        return value < 0 ? "-Inf" : "Inf";
    }
    const bool whole = value == std::trunc(value) && std::abs(value) < 1e15;
    return whole ? fmt::format("{:.0f}", value == 0 ? 0.0 : value) : fmt::format("{:.{}g}", value, digits);
}

std::string elementText(const Value& array, std::size_t k, int digits)
{
    return withElementType(array.classId(), [&]<typename T>(std::type_identity<T>) -> std::string {
        std::string text = numberText(array.data<T>()[k], digits);
        if (const T* im = array.imagData<T>()) {
            const std::string imaginary = numberText(im[k], digits);
            text += imaginary.starts_with('-') ? "" : "+";
            text += imaginary;
            text += 'i';
        }
        return text;
    });
}

std::string describe(const Value& value)
{
    const std::string shape =
        fmt::format("{}{}, {}", value.isComplex() ? "complex " : "", className(value.classId()), shapeText(value));
    return value.isSparse() ? fmt::format("sparse {}, nnz {}", shape, value.entries()) : "full " + shape;
}

std::size_t bytesOf(const Value& value)
{
    const std::size_t element = (value.isComplex() ? 2 : 1) * std::size_t{kx::kxGetElementSize(value.get())};
    if (value.isRange()) {
        return sizeof(RangeBounds);
    }
    return value.isSparse() ? value.get()->nzmax * (element + sizeof(unsigned)) +
                                  (std::size_t{value.columns()} + 1) * sizeof(unsigned)
                            : value.count() * element;
}

std::string inlineText(const Value& value)
{
    if (value.isText() && value.rows() <= 1) {
        return textOf(value);
    }
    if (!value.isScalar()) {
        return describe(value);
    }
    if (value.isRange()) {
        return elementText(asFull(value), 0, kScalarDigits);
    }
    return value.isSparse() && value.entries() == 0 ? "0" : elementText(value, 0, kScalarDigits);
}

void printValue(std::ostream& out, std::string_view name, const Value& value, unsigned width)
{
    const std::string head = name.empty() ? "" : fmt::format("{} = ", name);
    if (value.isText() && value.rows() == 1) {
        out << (name.empty() ? textOf(value) : fmt::format("{}'{}'", head, textOf(value))) << '\n';
        return;
    }
    if (value.isScalar() && !value.isSparse()) {
        out << head << inlineText(value) << '\n';
        return;
    }
    out << head << describe(value);
    if (value.isRange() && value.count() > kLongestRange) {
        const RangeBounds bounds = boundsOf(value);
        out << fmt::format(", the range {}:{}:{}\n", shortNumber(bounds.start, kScalarDigits),
                           shortNumber(bounds.step, kScalarDigits), shortNumber(bounds.stop, kScalarDigits));
        return;
    }
    out << '\n';
    if (value.isSparse()) {
        printEntries(out, value);
    } else if (value.count() == 0) {
        return;
    } else if (value.isText()) {
        printTextRows(out, value);
    } else if (value.isRange()) {
        printRows(out, asFull(value), width);
    } else {
        printRows(out, value, width); // itself: not even a copy may fail once a variable has changed
    }
}

} // namespace kxsh
