// Pictures of the pattern of a matrix.
#ifndef KXSH_SPY_HPP
#define KXSH_SPY_HPP

#include "value.hpp"

#include <filesystem>
#include <string>
#include <vector>

namespace kxsh {

/// Colours of a drawing, lightest cells first.
constexpr unsigned kCellShades = 8;
enum Paint : unsigned
{
    kPaper = 0,
    kFirstShade = 1,
    kInk = kFirstShade + kCellShades,
    kFrame,
    kPaintCount
};
/// 0xRRGGBB of a paint.
unsigned colourOf(unsigned paint);

struct Box
{
    int x;
    int y;
    int width;
    int height;
    unsigned paint;
};

/// One line of text, of which `share` lies left of x (0: it starts there, 1: it ends there), on the base line y.
struct Label
{
    int x;
    int y;
    double share;
    std::string text;
};

/// What a picture shows, in units of about a pixel from the upper left corner.
struct Drawing
{
    int width = 0;
    int height = 0;
    std::vector<Box> boxes; ///< in painting order
    std::vector<Label> labels;
};

constexpr int kCharWidth = 9;   ///< units that a character of a label takes at most
constexpr int kLineHeight = 16; ///< units from one line of text to the next

/// The pattern of a matrix with ticks, axis titles and a caption with size and nnz. Up to 300 rows or columns are drawn
/// one cell each; larger matrices are binned, and a bin is the darker the more entries it holds. Cost: entries +
/// columns.
Drawing drawPattern(const Value& matrix);

/// drawPattern() as an .svg, .png or .pdf file. Raises kxsh:arguments for other endings, kxsh:file.
void spyToFile(const Value& matrix, const std::filesystem::path& path);

} // namespace kxsh

#endif
