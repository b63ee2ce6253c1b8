// Pictures of patterns: every entry is drawn where it belongs, and both formats show the same drawing.
#include "test_shell.hpp"

#include "spy.hpp"

#include <cairo.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

namespace kxsh::test {
namespace {

/// Pixels of a PNG file as 0xRRGGBB.
class Picture
{
  public:
    explicit Picture(const std::string& path) : surface_(cairo_image_surface_create_from_png(path.c_str())) {}
    ~Picture() { cairo_surface_destroy(surface_); }
    Picture(const Picture&) = delete;
    Picture& operator=(const Picture&) = delete;

    [[nodiscard]] int width() const { return cairo_image_surface_get_width(surface_); }
    [[nodiscard]] int height() const { return cairo_image_surface_get_height(surface_); }
    [[nodiscard]] unsigned at(int x, int y) const
    {
        const unsigned char* row =
            cairo_image_surface_get_data(surface_) + y * cairo_image_surface_get_stride(surface_);
        std::uint32_t pixel = 0;
        std::memcpy(&pixel, row + 4 * x, sizeof pixel);
        return pixel & 0xFFFFFF;
    }

  private:
    cairo_surface_t* surface_;
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
    for (const std::string& shape : std::vector<std::string>{
             "0, 0, 0", "0, 5, 0", "1, 1, 1", "1, 1000000, 1e-3", "1000000, 3, 1e-3", "299, 2, 0.1", "301, 301, 0.1",
             "301, 0, 0", "0, 301, 0", "2000000000, 1, 1e-5", "7, 300, 0.1"}) {
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
            const int left = label.x - static_cast<int>(label.share * width);
            EXPECT_GE(left, 0) << shape << ' ' << label.text;
            EXPECT_LE(left + width, drawing.width) << shape << ' ' << label.text;
        }
    }
}

TEST(Spy, EveryFormatShowsTheDrawing)
{
    const TestFolder folder;
    TestShell shell;
    shell("A = sparse([1 2], [2 1], 1, 3, 3);");
    for (const std::string& name : std::vector<std::string>{"a.png", "a.svg", "a.pdf"}) {
        shell("spy(A, '" + (folder / name) + "')");
        ASSERT_EQ(shell.errors(), "");
    }
    const Drawing drawing = drawPattern(shell["A"]);
    const Picture picture(folder / "a.png");
    EXPECT_EQ(picture.width(), 2 * drawing.width);
    EXPECT_EQ(picture.height(), 2 * drawing.height);
    for (const Box& box : drawing.boxes) {
        EXPECT_EQ(picture.at(2 * box.x + box.width, 2 * box.y + box.height), colourOf(box.paint));
    }
    // Letters are smooth: some pixels of a label lie between ink and paper.
    const Label& label = drawing.labels.front();
    bool smooth = false;
    for (int x = 2 * (label.x - kCharWidth); x < 2 * (label.x + kCharWidth); ++x) {
        for (int y = 2 * (label.y - kLineHeight); y < 2 * label.y; ++y) {
            const unsigned pixel = picture.at(x, y) & 0xFF;
            smooth = smooth || (pixel > 0x60 && pixel < 0xD0);
        }
    }
    EXPECT_TRUE(smooth);
    EXPECT_TRUE(contentOf(folder / "a.svg").find("<path") != std::string::npos);
    EXPECT_TRUE(contentOf(folder / "a.pdf").starts_with("%PDF-"));
}

} // namespace
} // namespace kxsh::test
