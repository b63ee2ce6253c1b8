// Drawings as SVG, PNG and PDF files, by Cairo.
#include "spy.hpp"

#include "error.hpp"
#include "files.hpp"
#include "freed_by.hpp"
#include "interrupt.hpp"

#include <cairo-pdf.h>
#include <cairo-svg.h>

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
/// The library that finds fonts keeps what it has found.
extern "C" const char* __lsan_default_suppressions() // NOLINT(bugprone-reserved-identifier)
{
    return "leak:libfontconfig";
}
extern "C" const char* __lsan_default_options() // NOLINT(bugprone-reserved-identifier)
{
    return "print_suppressions=0";
}
#endif
#endif

namespace kxsh {

namespace {

constexpr int kScale = 2; // pixels of a PNG per unit of the drawing
constexpr double kFontSize = 14;

using Surface = Owned<cairo_surface_t, cairo_surface_destroy>;
using Context = Owned<cairo_t, cairo_destroy>;

/// Takes the bytes of a picture; an exception must not pass through Cairo.
cairo_status_t collect(void* bytes, const unsigned char* data, unsigned length)
{
    try {
        static_cast<std::string*>(bytes)->append(reinterpret_cast<const char*>(data), length);
        return CAIRO_STATUS_SUCCESS;
    } catch (const std::exception&) {
        return CAIRO_STATUS_NO_MEMORY;
    }
}

void setColour(cairo_t* context, unsigned paint)
{
    const unsigned colour = colourOf(paint);
    const auto part = [colour](unsigned shift) { return (colour >> shift & 0xFF) / 255.0; };
    cairo_set_source_rgb(context, part(16), part(8), part(0));
}

void paint(cairo_t* context, const Drawing& drawing)
{
    setColour(context, kPaper);
    cairo_paint(context);
    cairo_set_antialias(context, CAIRO_ANTIALIAS_NONE); // cells are whole pixels; letters are smooth all the same
    // One path per colour keeps pictures of many cells small.
    for (unsigned colour = kFirstShade; colour < kPaintCount; ++colour) {
        pollInterrupt();
        for (const Box& box : drawing.boxes) {
            if (box.paint == colour) {
                cairo_rectangle(context, box.x, box.y, box.width, box.height);
            }
        }
        setColour(context, colour);
        cairo_fill(context);
    }
    cairo_select_font_face(context, "sans-serif", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(context, kFontSize);
    setColour(context, kInk);
    for (const Label& label : drawing.labels) {
        cairo_text_extents_t extents;
        cairo_text_extents(context, label.text.c_str(), &extents);
        cairo_move_to(context, label.x - label.share * extents.x_advance, label.y);
        cairo_show_text(context, label.text.c_str());
    }
}

void requireDrawn(cairo_status_t status, const std::filesystem::path& path)
{
    require(status == CAIRO_STATUS_SUCCESS, "kxsh:file", "cannot draw {}: {}", path.string(),
            cairo_status_to_string(status));
}

} // namespace

void spyToFile(const Value& matrix, const std::filesystem::path& path)
{
    const std::string format = path.extension();
    require(format == ".svg" || format == ".png" || format == ".pdf", "kxsh:arguments",
            "spy writes .svg, .png and .pdf files, not '{}'", path.string());
    const Drawing drawing = drawPattern(matrix);
    std::string bytes;
    const bool pixels = format == ".png";
    const Surface surface(
        pixels ? cairo_image_surface_create(CAIRO_FORMAT_RGB24, kScale * drawing.width, kScale * drawing.height)
        : format == ".svg" ? cairo_svg_surface_create_for_stream(collect, &bytes, drawing.width, drawing.height)
                           : cairo_pdf_surface_create_for_stream(collect, &bytes, drawing.width, drawing.height));
    const Context context(cairo_create(surface.get()));
    if (pixels) {
        cairo_scale(context.get(), kScale, kScale);
    }
    paint(context.get(), drawing);
    requireDrawn(cairo_status(context.get()), path);
    if (pixels) {
        requireDrawn(cairo_surface_write_to_png_stream(surface.get(), collect, &bytes), path);
    }
    cairo_surface_finish(surface.get());
    requireDrawn(cairo_surface_status(surface.get()), path);
    OutputFile file(path);
    file.write(bytes);
    file.commit();
}

} // namespace kxsh
