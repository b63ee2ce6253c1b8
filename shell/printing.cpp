#include "printing.hpp"

#include "interrupt.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>
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

/// Indices below `count`: all, or so many of the first and of the last ones.
struct Selection
{
    std::size_t count;
    std::size_t first;
    std::size_t last;

    [[nodiscard]] std::size_t size() const { return std::min(count, first + last); }
    [[nodiscard]] std::size_t leftOut() const { return count - size(); }
    [[nodiscard]] bool gapBefore(std::size_t k) const { return k == first && leftOut() != 0; }
    [[nodiscard]] std::size_t at(std::size_t k) const { return k < first ? k : k + leftOut(); }
};

/// line(k) for each line that is shown of a listing.
template <typename Line>
std::string listing(const Selection& shown, std::string_view what, Line line)
{
    std::string text;
    for (std::size_t k = 0; k < shown.size(); ++k) {
        pollInterrupt();
        if (shown.gapBefore(k)) {
            text += fmt::format("  ... {} more {} ...\n", shown.leftOut(), what);
        }
        text += line(k);
        text += '\n';
    }
    return text;
}

Selection linesOf(std::size_t count)
{
    return count > kMostLines ? Selection{count, kLinesPerEnd, kLinesPerEnd} : Selection{count, count, 0};
}

/// Coordinates end at one column, two blanks before the values.
std::string entriesText(const Value& value)
{
    const Selection shown = linesOf(value.entries());
    std::vector<std::string> places;
    std::size_t widest = 0;
    unsigned column = 0;
    for (std::size_t i = 0; i < shown.size(); ++i) {
        while (value.starts()[column + 1] <= shown.at(i)) {
            ++column;
        }
        places.push_back(fmt::format("({},{})", value.rowIndices()[shown.at(i)] + 1, column + 1));
        widest = std::max(widest, places.back().size());
    }
    return listing(shown, "entries", [&](std::size_t i) {
        return fmt::format("  {:>{}}  {}", places[i], widest, elementText(value, shown.at(i), kArrayDigits));
    });
}

std::string rowsText(const Value& value, unsigned width)
{
    const Selection rows = linesOf(value.rows());
    // Columns of one width: first as many as could ever fit, then as many as do fit at that width.
    Selection columns{value.columns(), width / 2, 3};
    const auto text = [&](std::size_t i, std::size_t j) {
        return elementText(value, columns.at(j) * value.rows() + rows.at(i), kArrayDigits);
    };
    std::size_t cell = 3;
    for (std::size_t j = 0; j < columns.size(); ++j) {
        for (std::size_t i = 0; i < rows.size(); ++i) {
            cell = std::max(cell, text(i, j).size() + 2);
        }
    }
    const std::size_t fitting = std::max<std::size_t>(width / cell, 5);
    if (columns.count > fitting) {
        columns.first = fitting - 4;
    }
    return listing(rows, "rows", [&](std::size_t i) {
        std::string line;
        for (std::size_t j = 0; j < columns.size(); ++j) {
            if (columns.gapBefore(j)) {
                line += fmt::format("{:>{}}", "...", std::max<std::size_t>(cell, 5));
            }
            line += fmt::format("{:>{}}", text(i, j), cell);
        }
        return line;
    });
}

std::string textRows(const Value& value)
{
    const std::size_t m = value.rows();
    return listing({m, m, 0}, "rows", [&](std::size_t i) {
        std::u16string row;
        for (std::size_t j = 0; j < value.columns(); ++j) {
            row += value.data<char16_t>()[j * m + i];
        }
        return "  " + utf8Of(row);
    });
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

std::string valueText(std::string_view name, const Value& value, unsigned width)
{
    const std::string head = name.empty() ? "" : fmt::format("{} = ", name);
    if (value.isText() && value.rows() == 1) {
        return name.empty() ? textOf(value) + '\n' : fmt::format("{}'{}'\n", head, textOf(value));
    }
    if (value.isScalar() && !value.isSparse()) {
        return head + inlineText(value) + '\n';
    }
    const std::string described = head + describe(value);
    if (value.isRange() && value.count() > kLongestRange) {
        const RangeBounds bounds = boundsOf(value);
        return fmt::format("{}, the range {}:{}:{}\n", described, shortNumber(bounds.start, kScalarDigits),
                           shortNumber(bounds.step, kScalarDigits), shortNumber(bounds.stop, kScalarDigits));
    }
    if (value.isSparse()) {
        return described + '\n' + entriesText(value);
    }
    if (value.count() == 0) {
        return described + '\n';
    }
    return described + '\n' +
           (value.isText()    ? textRows(value)
            : value.isRange() ? rowsText(asFull(value), width)
                              : rowsText(value, width)); // itself: no copy may fail
}

} // namespace kxsh
