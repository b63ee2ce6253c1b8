// Pictures of patterns: every entry is drawn where it belongs, and both formats show the same drawing.
#include "test_shell.hpp"

#include "spy.hpp"

#include <gtest/gtest.h>
#include <png.h>

#include <algorithm>

namespace kxsh::test {
namespace {

/// Pixels of a PNG file as 0xRRGGBB.
struct Picture
{
    explicit Picture(const std::string& path)
    {
        png_image image = {};
        image.version = PNG_IMAGE_VERSION;
        EXPECT_NE(png_image_begin_read_from_file(&image, path.c_str()), 0) << image.message;
        image.format = PNG_FORMAT_RGB;
        bytes.resize(PNG_IMAGE_SIZE(image));
        EXPECT_NE(png_image_finish_read(&image, nullptr, bytes.data(), 0, nullptr), 0) << image.message;
        width = static_cast<int>(image.width);
        height = static_cast<int>(image.height);
    }
    [[nodiscard]] unsigned at(int x, int y) const
    {
        const std::size_t place =
            (static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)) * 3;
        return unsigned{bytes[place]} << 16 | unsigned{bytes[place + 1]} << 8 | bytes[place + 2];
    }
    std::vector<unsigned char> bytes;
    int width = 0;
    int height = 0;
};

bool isCell(const Box& box)
{
    return box.paint >= kFirstShade && box.paint < kInk;
}

/// Boxes of the plot, without those of the legend beneath it.
std::vector<Box> cellsOf(const Drawing& drawing)
{
    int bottom = 0;
    for (const Box& box : drawing.boxes) {
        bottom = box.paint == kFrame ? std::max(bottom, box.y + box.height) : bottom;
    }
    std::vector<Box> cells;
    std::copy_if(drawing.boxes.begin(), drawing.boxes.end(), std::back_inserter(cells),
                 [bottom](const Box& box) { return isCell(box) && box.y < bottom; });
    return cells;
}

std::string captionOf(const Drawing& drawing)
{
    std::string text;
    for (const Label& label : drawing.labels) {
        text += label.text + '|';
    }
    return text;
}

TEST(Spy, SmallMatricesShowEachEntry)
{
    TestShell shell;
    shell("A = sparse([1 3 10], [1 7 10], [1 2 3]);");
    const Drawing drawing = drawPattern(shell["A"]);
    const auto cells = cellsOf(drawing);
    ASSERT_EQ(cells.size(), 3U);
    const int cell = (cells[2].x - cells[0].x) / 9;
    EXPECT_GE(cell, 20);
    EXPECT_EQ(cells[1].x - cells[0].x, 6 * cell);
    EXPECT_EQ(cells[1].y - cells[0].y, 2 * cell);
    EXPECT_NE(captionOf(drawing).find("column|row|10-by-10, nnz 3|"), std::string::npos) << captionOf(drawing);
    EXPECT_NE(captionOf(drawing).find("1|2|3|4|5|6|7|8|9|10|"), std::string::npos) << captionOf(drawing);
}

TEST(Spy, LargeMatricesAreBinnedAndShadedByDensity)
{
    TestShell shell;
    shell("A = sparse(1000000, 1000000); A(1:500, 1) = 1; A(500000, 500000) = 1; A(end, end) = 1;");
    const Drawing drawing = drawPattern(shell["A"]);
    auto cells = cellsOf(drawing);
    ASSERT_EQ(cells.size(), 3U);
    EXPECT_EQ(cells[0].paint, unsigned{kInk} - 1) << "500 entries in the corner are the darkest";
    EXPECT_EQ(cells[1].paint, unsigned{kFirstShade});
    const int side = cells[2].x - cells[0].x + cells[2].width;
    EXPECT_NEAR(cells[1].x - cells[0].x, side / 2.0, 3);
    EXPECT_LE(side, 700);
    EXPECT_NE(captionOf(drawing).find("1000000-by-1000000, nnz 502|"), std::string::npos) << captionOf(drawing);
}

/// Odd shapes: everything stays inside the picture, nothing overlaps, and as many cells are drawn as bins hold entries.
TEST(Spy, EveryShapeFitsItsPicture)
{
    for (const std::string& shape :
         std::vector<std::string>{"0, 0, 0", "0, 5, 0", "1, 1, 1", "1, 1000000, 1e-3", "1000000, 3, 1e-3",
                                  "299, 2, 0.1", "301, 301, 0.1", "2000000000, 1, 1e-5", "7, 300, 0.1"}) {
        TestShell shell;
        shell("A = sprand(" + shape + ", 4);");
        const Drawing drawing = drawPattern(shell["A"]);
        EXPECT_LE(drawing.width, 900) << shape;
        EXPECT_LE(drawing.height, 900) << shape;
        for (const Box& box : drawing.boxes) {
            EXPECT_GE(box.x, 0) << shape;
            EXPECT_GE(box.y, 0) << shape;
            EXPECT_LE(box.x + box.width, drawing.width) << shape;
            EXPECT_LE(box.y + box.height, drawing.height) << shape;
            EXPECT_GT(box.width, 0) << shape;
        }
        for (const Label& label : drawing.labels) {
            const int width = static_cast<int>(label.text.size()) * kCharWidth;
            const int left = label.x - (label.anchor == Anchor::kEnd      ? width
                                        : label.anchor == Anchor::kMiddle ? width / 2
                                                                          : 0);
            EXPECT_GE(left, 0) << shape << ' ' << label.text;
            EXPECT_LE(left + width, drawing.width) << shape << ' ' << label.text;
        }
    }
}

TEST(Spy, BothFormatsShowTheDrawing)
{
    const TestFolder folder;
    TestShell shell;
    shell("A = sparse([1 2], [2 1], 1, 3, 3); spy(A, '" + (folder / "a.png") + "'); spy(A, '" + (folder / "a.svg") +
          "')");
    ASSERT_EQ(shell.errors(), "");
    const Drawing drawing = drawPattern(shell["A"]);
    const Picture picture(folder / "a.png");
    EXPECT_EQ(picture.width, 2 * drawing.width);
    EXPECT_EQ(picture.height, 2 * drawing.height);
    const std::string svg = contentOf(folder / "a.svg");
    for (const Box& box : drawing.boxes) {
        EXPECT_EQ(picture.at(2 * box.x + box.width, 2 * box.y + box.height), colourOf(box.paint));
        std::ostringstream path;
        path << 'M' << box.x << ' ' << box.y << 'h' << box.width << 'v' << box.height;
        EXPECT_NE(svg.find(path.str()), std::string::npos);
    }
    for (const Label& label : drawing.labels) {
        EXPECT_NE(svg.find('>' + label.text + "</text>"), std::string::npos);
    }
}

} // namespace
} // namespace kxsh::test
