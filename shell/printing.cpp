#include "printing.hpp"

#include "interrupt.hpp"
#include "numbers.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <vector>

namespace kxsh {

namespace {

constexpr std::size_t kMostLines = 30; // longer listings show their ends only
constexpr std::size_t kLinesPerEnd = 10;
constexpr std::size_t kLongestRange = 1000; // longer ones are described, not written out
constexpr int kScalarDigits = 10;
constexpr int kArrayDigits = 6;

/// What stands before a value; nothing for one without a name.
std::string headOf(std::string_view name)
{
    return name.empty() ? "" : fmt::format("{} = ", name);
}

void printSparse(std::ostream& out, std::string_view name, const Value& value)
{
    out << headOf(name) << describe(value) << '\n';
    const std::size_t count = value.entries();
    const bool shortened = count > kMostLines;
    // Coordinates end at one column, two blanks before the values.
    const auto coordinateWidth = [](std::size_t row, std::size_t column) {
        return fmt::formatted_size("({},{})", row, column);
    };
    std::vector<std::pair<std::string, std::string>> lines;
    std::size_t widest = 0;
    unsigned column = 0;
    for (std::size_t k = 0; k < count; ++k) {
        if (shortened && k == kLinesPerEnd) {
            k = count - kLinesPerEnd;
            lines.emplace_back();
        }
        while (value.starts()[column + 1] <= k) {
            ++column;
        }
        const unsigned row = value.rowIndices()[k] + 1;
        widest = std::max(widest, coordinateWidth(row, column + 1));
        lines.emplace_back(fmt::format("({},{})", row, column + 1), elementText(value, k, kArrayDigits));
    }
    for (const auto& [place, number] : lines) {
        pollInterrupt();
        out << (place.empty() ? fmt::format("  ... {} more entries ...\n", count - 2 * kLinesPerEnd)
                              : fmt::format("  {:>{}}  {}\n", place, widest, number));
    }
}

/// Indices 0 .. count-1, or the first and last ones with a gap where there are too many.
struct Selection
{
    std::vector<std::size_t> indices;
    std::size_t gapBefore = 0; ///< place in `indices` before which some are left out; 0 for none
};

Selection select(std::size_t count, std::size_t first, std::size_t last)
{
    Selection result;
    const bool all = count <= first + last;
    for (std::size_t i = 0; i < (all ? count : first); ++i) {
        result.indices.push_back(i);
    }
    if (!all) {
        result.gapBefore = first;
        for (std::size_t i = count - last; i < count; ++i) {
            result.indices.push_back(i);
        }
    }
    return result;
}

std::size_t widestCell(const Value& value, const Selection& rows, const Selection& columns)
{
    std::size_t widest = 1;
    for (const std::size_t j : columns.indices) {
        for (const std::size_t i : rows.indices) {
            widest = std::max(widest, elementText(value, j * value.rows() + i, kArrayDigits).size());
        }
    }
    return widest;
}

void printFull(std::ostream& out, std::string_view name, const Value& value, unsigned width)
{
    out << headOf(name) << describe(value) << '\n';
    const Selection rows = value.rows() > kMostLines ? select(value.rows(), kLinesPerEnd, kLinesPerEnd)
                                                     : select(value.rows(), value.rows(), 0);
    // Columns of one width: first as many as could ever fit, then as many as do fit at that width.
    Selection columns = select(value.columns(), width / 2, 3);
    const std::size_t cell = widestCell(value, rows, columns) + 2;
    const std::size_t fitting = std::max<std::size_t>(width / cell, 5);
    if (value.columns() > fitting) {
        columns = select(value.columns(), fitting - 4, 3);
    }
    std::size_t shown = 0;
    for (const std::size_t i : rows.indices) {
        pollInterrupt();
        if (shown != 0 && shown == rows.gapBefore) {
            out << fmt::format("  ... {} more rows ...\n", value.rows() - rows.indices.size());
        }
        ++shown;
        std::string line;
        for (std::size_t c = 0; c < columns.indices.size(); ++c) {
            if (c != 0 && c == columns.gapBefore) {
                line += fmt::format("{:>{}}", "...", std::max<std::size_t>(cell, 5));
            }
            line +=
                fmt::format("{:>{}}", elementText(value, columns.indices[c] * value.rows() + i, kArrayDigits), cell);
        }
        out << line << '\n';
    }
}

void printTextRows(std::ostream& out, std::string_view name, const Value& value)
{
    out << headOf(name) << describe(value) << '\n';
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

std::string describe(const Value& value)
{
    const std::string_view parts = value.isComplex() ? "complex " : "";
    const std::string shape =
        fmt::format("{}{}, {}-by-{}", parts, className(value.classId()), value.rows(), value.columns());
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
    if (value.isSparse()) {
        printSparse(out, name, value);
    } else if (value.isText() && value.rows() == 1) {
        out << (name.empty() ? textOf(value) : fmt::format("{} = '{}'", name, textOf(value))) << '\n';
    } else if (value.count() == 0) {
        out << headOf(name) << describe(value) << '\n';
    } else if (value.isText()) {
        printTextRows(out, name, value);
    } else if (value.isScalar()) {
        out << headOf(name) << inlineText(value) << '\n';
    } else if (value.isRange() && value.count() > kLongestRange) {
        const RangeBounds bounds = boundsOf(value);
        out << fmt::format("{}{}, the range {}:{}:{}\n", headOf(name), describe(value),
                           shortNumber(bounds.start, kScalarDigits), shortNumber(bounds.step, kScalarDigits),
                           shortNumber(bounds.stop, kScalarDigits));
    } else if (value.isRange()) {
        printFull(out, name, asFull(value), width);
    } else {
        printFull(out, name, value, width);
    }
}

} // namespace kxsh
