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

/// How many entries the bins that are not empty hold.
struct Extremes
{
    unsigned least = 0;
    unsigned most = 0;
};

Extremes extremesOf(std::vector<unsigned> counts)
{
    std::erase(counts, 0U);
    const auto [least, most] = std::ranges::minmax_element(counts);
    return counts.empty() ? Extremes{} : Extremes{*least, *most};
}

/// Paper for an empty bin, else a shade that grows with the logarithm of the count.
unsigned shadeOf(unsigned count, const Extremes& extremes)
{
    if (count == 0) {
        return kPaper;
    }
    const double span = std::log(extremes.most) - std::log(extremes.least);
    const double share = span == 0 ? 1 : (std::log(count) - std::log(extremes.least)) / span;
    return kFirstShade + static_cast<unsigned>(std::lround(share * (kCellShades - 1)));
}

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
          columns_(sideOf(matrix.columns(), std::max(matrix.rows(), matrix.columns())))
    {
    }

    Drawing compose()
    {
        const auto digits = static_cast<int>(fmt::formatted_size("{}", matrix_.rows()));
        left_ = std::max(digits, 3) * kCharWidth + 24;
        top_ = 2 * kLineHeight + 24;
        frame();
        cells();
        axes();
        captions();
        return std::move(drawing_);
    }

  private:
    void box(int x, int y, int width, int height, unsigned paint)
    {
        drawing_.boxes.push_back({x, y, width, height, paint});
    }

    void label(int x, int y, double share, std::string text)
    {
        drawing_.labels.push_back({x, y, share, std::move(text)});
    }

    void frame()
    {
        const int w = columns_.size();
        const int h = rows_.size();
        box(left_ - 2, top_ - 2, w + 4, 1, kFrame);
        box(left_ - 2, top_ + h + 1, w + 4, 1, kFrame);
        box(left_ - 2, top_ - 2, 1, h + 4, kFrame);
        box(left_ + w + 1, top_ - 2, 1, h + 4, kFrame);
    }

    /// Neighbours of one shade in a row of bins become one box, unless cells stand apart.
    void cells()
    {
        const std::vector<unsigned> counts = countBins(matrix_, rows_, columns_);
        extremes_ = extremesOf(counts);
        const int gap = std::min(rows_.cell, columns_.cell) >= kGappedCell ? 1 : 0;
        for (unsigned i = 0; i < rows_.bins; ++i) {
            const unsigned* row = counts.data() + std::size_t{i} * columns_.bins;
            for (unsigned j = 0; j < columns_.bins;) {
                const unsigned shade = shadeOf(row[j], extremes_);
                const unsigned first = j++;
                while (gap == 0 && j < columns_.bins && shadeOf(row[j], extremes_) == shade) {
                    ++j;
                }
                if (shade != kPaper) {
                    box(left_ + static_cast<int>(first) * columns_.cell + gap,
                        top_ + static_cast<int>(i) * rows_.cell + gap,
                        static_cast<int>(j - first) * columns_.cell - 2 * gap, rows_.cell - 2 * gap, shade);
                }
            }
        }
    }

    void axes()
    {
        const auto digits = static_cast<int>(fmt::formatted_size("{}", columns_.length));
        for (const unsigned tick : ticksOf(columns_.length, columns_.size(), (digits + 2) * kCharWidth)) {
            const int x = left_ + columns_.middleOf(tick - 1);
            box(x, top_ - 7, 1, 5, kInk);
            label(x, top_ - 12, kCentred, fmt::to_string(tick));
        }
        for (const unsigned tick : ticksOf(rows_.length, rows_.size(), 2 * kLineHeight)) {
            const int y = top_ + rows_.middleOf(tick - 1);
            box(left_ - 7, y, 5, 1, kInk);
            label(left_ - 12, y + 5, kEnding, fmt::to_string(tick));
        }
        drawing_.labels.push_back(
            {left_ + std::max(columns_.size() / 2, 3 * kCharWidth), top_ - 14 - kLineHeight, kCentred, "column"});
        drawing_.labels.push_back({left_ - 12, top_ - 14 - kLineHeight, kEnding, "row"});
    }

    void captions()
    {
        const unsigned nnz = matrix_.entries();
        std::vector<std::string> lines = {fmt::format("{}-by-{}, nnz {}", matrix_.rows(), matrix_.columns(), nnz)};
        const bool empty = rows_.length == 0 || columns_.length == 0;
        if (!empty && (rows_.bins < rows_.length || columns_.bins < columns_.length)) {
            lines.push_back(fmt::format("each cell: about {}-by-{} elements",
                                        (rows_.length + rows_.bins - 1) / rows_.bins,
                                        (columns_.length + columns_.bins - 1) / columns_.bins));
            lines.push_back(fmt::format("shades: {} to {} entries", extremes_.least, extremes_.most));
        }
        int y = top_ + rows_.size() + 12;
        int widest = 0;
        for (const std::string& line : lines) {
            y += kLineHeight + 2;
            label(left_, y, kStarting, line);
            widest = std::max(widest, static_cast<int>(line.size()) * kCharWidth);
        }
        if (lines.size() > 1) {
            y += 8;
            for (unsigned shade = 0; shade < kCellShades; ++shade) {
                box(left_ + static_cast<int>(shade) * 24, y, 24, 10, kFirstShade + shade);
            }
            y += 10;
        }
        const auto digits = static_cast<int>(fmt::formatted_size("{}", matrix_.columns()));
        drawing_.width = left_ + std::max(columns_.size(), widest) + digits * kCharWidth / 2 + 16;
        drawing_.height = y + 16;
    }

    const Value& matrix_;
    Side rows_;
    Side columns_;
    int left_ = 0; ///< upper left corner of the plot
    int top_ = 0;
    Extremes extremes_;
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
