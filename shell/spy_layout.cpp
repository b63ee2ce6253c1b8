#include "spy.hpp"

#include "interrupt.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace kxsh {

namespace {

constexpr unsigned kMostBins = 300;  // along the longer side
constexpr unsigned kFewestBins = 20; // along the shorter side, if it has as many elements
constexpr int kPlotSize = 600;       // units of the longer side
constexpr int kLargestCell = 40;
constexpr int kNarrowest = 30; // units of the shorter side at least
constexpr int kGappedCell = 8; // cells from this size on stand apart

// Shares of labels.
constexpr double kStarting = 0;
constexpr double kCentred = 0.5;
constexpr double kEnding = 1;

/// One side of the matrix cut into bins of nearly equal length.
struct Side
{
    unsigned length;
    unsigned bins;
    int cell; ///< units per bin

    [[nodiscard]] int size() const { return static_cast<int>(bins) * cell; }
    [[nodiscard]] unsigned elementsPerBin() const { return (length + bins - 1) / bins; }
    [[nodiscard]] unsigned binOf(unsigned index) const
    {
        return static_cast<unsigned>(std::uint64_t{index} * bins / length);
    }
    /// Place of the middle of an element, from the side's start.
    [[nodiscard]] int middleOf(unsigned index) const { return static_cast<int>((index + 0.5) / length * size()); }
};

Side sideOf(unsigned length, unsigned longest)
{
    const double perBin = std::max(1.0, static_cast<double>(longest) / kMostBins);
    const auto proportional = static_cast<unsigned>(std::ceil(length / perBin));
    Side side{length, std::max(proportional, std::min(length, kFewestBins)), 1};
    const unsigned longestBins = std::min(longest, kMostBins);
    side.cell = std::clamp(kPlotSize / static_cast<int>(std::max(longestBins, 1U)), 1, kLargestCell);
    if (side.bins != 0) {
        side.cell = std::max(side.cell, (kNarrowest + static_cast<int>(side.bins) - 1) / static_cast<int>(side.bins));
    }
    return side;
}

/// Entries per bin, row by row.
std::vector<unsigned> countBins(const Value& matrix, const Side& rows, const Side& columns)
{
    std::vector<unsigned> counts(std::size_t{rows.bins} * columns.bins);
    for (unsigned j = 0; j < columns.length; ++j) {
        pollInterrupt();
        const unsigned bin = columns.binOf(j);
        for (unsigned k = matrix.starts()[j]; k < matrix.starts()[j + 1]; ++k) {
            ++counts[std::size_t{rows.binOf(matrix.rowIndices()[k])} * columns.bins + bin];
        }
    }
    return counts;
}

/// Paper for an empty bin, else shades that grow with the logarithm of the count.
struct Shades
{
    unsigned least = 0; ///< entries of a bin that is not empty
    unsigned most = 0;

    explicit Shades(std::vector<unsigned> counts)
    {
        std::erase(counts, 0U);
        if (!counts.empty()) {
            least = std::ranges::min(counts);
            most = std::ranges::max(counts);
        }
    }
    [[nodiscard]] unsigned of(unsigned count) const
    {
        const double span = std::log(most) - std::log(least);
        const double share = span == 0 ? 1 : (std::log(count) - std::log(least)) / span;
        return count == 0 ? kPaper : kFirstShade + static_cast<unsigned>(std::lround(share * (kCellShades - 1)));
    }
};

/// Numbers to label: 1 and the multiples of a round step, few enough for `room` units of `each`.
std::vector<unsigned> ticksOf(unsigned length, int room, int each)
{
    std::vector<unsigned> ticks;
    const auto most = static_cast<unsigned>(std::max(1, room / each));
    std::uint64_t step = 1;
    for (unsigned i = 0; length / step > most; ++i) {
        step = i % 3 == 1 ? step / 2 * 5 : step * 2; // 1, 2, 5, 10, 20, 50 ...
    }
    if (length != 0) {
        ticks.push_back(1);
    }
    for (std::uint64_t tick = step == 1 ? 2 : step; tick <= length; tick += step) {
        const double fromFirst = static_cast<double>(tick - 1) / length * room;
        if (fromFirst >= 0.6 * each) { // further ones are a whole step apart
            ticks.push_back(static_cast<unsigned>(tick));
        }
    }
    return ticks;
}

class Composer
{
  public:
    explicit Composer(const Value& matrix)
        : matrix_(matrix),
          rows_(sideOf(matrix.rows(), std::max(matrix.rows(), matrix.columns()))),
          columns_(sideOf(matrix.columns(), std::max(matrix.rows(), matrix.columns()))),
          bins_(countBins(matrix, rows_, columns_)),
          shades_(bins_),
          left_(std::max(digitsOf(matrix.rows()), 3) * kCharWidth + 24)
    {
    }

    Drawing compose()
    {
        frame();
        cells();
        axes();
        captions();
        return std::move(drawing_);
    }

  private:
    static int digitsOf(unsigned number) { return static_cast<int>(fmt::formatted_size("{}", number)); }

    /// Boxes and labels have their places from the upper left corner of the plot.
    void box(int x, int y, int width, int height, unsigned paint)
    {
        drawing_.boxes.push_back({left_ + x, kTop + y, width, height, paint});
    }
    void label(int x, int y, double share, std::string text)
    {
        drawing_.labels.push_back({left_ + x, kTop + y, share, std::move(text)});
    }

    void frame()
    {
        const int w = columns_.size();
        const int h = rows_.size();
        box(-2, -2, w + 4, 1, kFrame);
        box(-2, h + 1, w + 4, 1, kFrame);
        box(-2, -2, 1, h + 4, kFrame);
        box(w + 1, -2, 1, h + 4, kFrame);
    }

    /// Neighbours of one shade in a row of bins become one box, unless cells stand apart.
    void cells()
    {
        const int gap = std::min(rows_.cell, columns_.cell) >= kGappedCell ? 1 : 0;
        for (unsigned i = 0; i < rows_.bins; ++i) {
            const unsigned* row = bins_.data() + std::size_t{i} * columns_.bins;
            for (unsigned j = 0; j < columns_.bins;) {
                const unsigned shade = shades_.of(row[j]);
                const unsigned first = j++;
                while (gap == 0 && j < columns_.bins && shades_.of(row[j]) == shade) {
                    ++j;
                }
                if (shade != kPaper) {
                    box(static_cast<int>(first) * columns_.cell + gap, static_cast<int>(i) * rows_.cell + gap,
                        static_cast<int>(j - first) * columns_.cell - 2 * gap, rows_.cell - 2 * gap, shade);
                }
            }
        }
    }

    void axes()
    {
        const int each = (digitsOf(columns_.length) + 2) * kCharWidth;
        for (const unsigned tick : ticksOf(columns_.length, columns_.size(), each)) {
            const int x = columns_.middleOf(tick - 1);
            box(x, -7, 1, 5, kInk);
            label(x, -12, kCentred, fmt::to_string(tick));
        }
        for (const unsigned tick : ticksOf(rows_.length, rows_.size(), 2 * kLineHeight)) {
            const int y = rows_.middleOf(tick - 1);
            box(-7, y, 5, 1, kInk);
            label(-12, y + 5, kEnding, fmt::to_string(tick));
        }
        label(std::max(columns_.size() / 2, 3 * kCharWidth), -14 - kLineHeight, kCentred, "column");
        label(-12, -14 - kLineHeight, kEnding, "row");
    }

    void captions()
    {
        std::vector<std::string> lines = {
            fmt::format("{}-by-{}, nnz {}", matrix_.rows(), matrix_.columns(), matrix_.entries())};
        const bool binned = rows_.bins < rows_.length || columns_.bins < columns_.length;
        if (matrix_.count() != 0 && binned) {
            lines.push_back(
                fmt::format("each cell: about {}-by-{} elements", rows_.elementsPerBin(), columns_.elementsPerBin()));
            lines.push_back(fmt::format("shades: {} to {} entries", shades_.least, shades_.most));
        }
        int y = rows_.size() + 12;
        int widest = columns_.size();
        for (const std::string& line : lines) {
            y += kLineHeight + 2;
            label(0, y, kStarting, line);
            widest = std::max(widest, static_cast<int>(line.size()) * kCharWidth);
        }
        if (lines.size() > 1) {
            y += 8;
            for (unsigned shade = 0; shade < kCellShades; ++shade) {
                box(static_cast<int>(shade) * 24, y, 24, 10, kFirstShade + shade);
            }
            y += 10;
        }
        drawing_.width = left_ + widest + digitsOf(matrix_.columns()) * kCharWidth / 2 + 16;
        drawing_.height = kTop + y + 16;
    }

    static constexpr int kTop = 2 * kLineHeight + 24;

    const Value& matrix_;
    Side rows_;
    Side columns_;
    std::vector<unsigned> bins_; ///< entries in each, row by row
    Shades shades_;
    int left_;
    Drawing drawing_;
};

} // namespace

unsigned colourOf(unsigned paint)
{
    static constexpr std::array<unsigned, kPaintCount> kColours = {
        0xFFFFFF, 0xC6DBEF, 0xA6CAE6, 0x82B5DA, 0x5E9CCB, 0x3F83BA, 0x2868A5, 0x164D89, 0x08306B, 0x333333, 0x9A9A9A};
    return kColours.at(paint);
}

Drawing drawPattern(const Value& matrix)
{
    return Composer(asSparse(matrix)).compose();
}

} // namespace kxsh
