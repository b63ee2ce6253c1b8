#include "spy.hpp"

#include "bitmap_font.hpp"
#include "error.hpp"
#include "files.hpp"

#include <png.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <stdexcept>

namespace kxsh {

namespace {

constexpr int kScale = 2;   // pixels per unit of the drawing
constexpr int kDotSize = 3; // pixels per dot of a letter: six dots across are one kCharWidth

/// A picture of one byte (its paint) per pixel.
class Raster
{
  public:
    Raster(int width, int height)
        : width_(width), height_(height), pixels_(static_cast<std::size_t>(width) * static_cast<std::size_t>(height))
    {
    }

    [[nodiscard]] int width() const { return width_; }
    [[nodiscard]] int height() const { return height_; }
    std::uint8_t* row(int y) { return pixels_.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(width_); }

    /// Parts outside the picture are left out.
    void fill(int x, int y, int width, int height, unsigned paint)
    {
        const int left = std::clamp(x, 0, width_);
        const int right = std::clamp(x + width, left, width_);
        for (int line = std::max(y, 0); line < std::min(y + height, height_); ++line) {
            std::fill(row(line) + left, row(line) + right, static_cast<std::uint8_t>(paint));
        }
    }

    void text(const Label& label)
    {
        const int width = static_cast<int>(label.text.size()) * kCharWidth * kScale;
        int x = label.x * kScale;
        if (label.anchor != Anchor::kStart) {
            x -= label.anchor == Anchor::kEnd ? width : width / 2;
        }
        const int top = label.y * kScale - kGlyphRows * kDotSize;
        for (const char c : label.text) {
            glyph(x, top, glyphOf(c));
            x += kCharWidth * kScale;
        }
    }

  private:
    void glyph(int x, int top, const Glyph& rows)
    {
        for (int i = 0; i < kGlyphRows; ++i) {
            for (int j = 0; j < kGlyphColumns; ++j) {
                if ((rows[static_cast<std::size_t>(i)] >> (kGlyphColumns - 1 - j) & 1) != 0) {
                    fill(x + j * kDotSize, top + i * kDotSize, kDotSize, kDotSize, kInk);
                }
            }
        }
    }

    int width_;
    int height_;
    std::vector<std::uint8_t> pixels_;
};

Raster rasterOf(const Drawing& drawing)
{
    Raster raster(drawing.width * kScale, drawing.height * kScale);
    for (const Box& box : drawing.boxes) {
        raster.fill(box.x * kScale, box.y * kScale, box.width * kScale, box.height * kScale, box.paint);
    }
    for (const Label& label : drawing.labels) {
        raster.text(label);
    }
    return raster;
}

/// The bytes of the PNG file.
std::vector<char> encoded(Raster& raster)
{
    std::array<std::uint8_t, std::size_t{kPaintCount} * 3> colours{};
    for (unsigned paint = 0; paint < kPaintCount; ++paint) {
        for (unsigned part = 0; part < 3; ++part) {
            colours[paint * 3 + part] = static_cast<std::uint8_t>(colourOf(paint) >> (16 - 8 * part) & 0xFF);
        }
    }
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(raster.width());
    image.height = static_cast<png_uint_32>(raster.height());
    image.format = PNG_FORMAT_RGB_COLORMAP;
    image.colormap_entries = kPaintCount;
    std::vector<char> bytes(PNG_IMAGE_PNG_SIZE_MAX(image));
    png_alloc_size_t size = bytes.size();
    if (png_image_write_to_memory(&image, bytes.data(), &size, 0, raster.row(0), 0, colours.data()) == 0) {
        throw Error("kxsh:file", std::string("cannot make the PNG picture: ") + image.message);
    }
    bytes.resize(size);
    return bytes;
}

} // namespace

void writePng(const std::filesystem::path& path, const Drawing& drawing)
{
    Raster raster = rasterOf(drawing);
    const std::vector<char> bytes = encoded(raster);
    OutputFile file(path);
    file.write({bytes.data(), bytes.size()});
    file.commit();
}

} // namespace kxsh
