#include "spy.hpp"

#include "error.hpp"
#include "files.hpp"

#include <fmt/format.h>

#include <array>
#include <iterator>

namespace kxsh {

namespace {

std::string_view anchorName(Anchor anchor)
{
    switch (anchor) {
    case Anchor::kMiddle:
        return "middle";
    case Anchor::kEnd:
        return "end";
    default:
        return "start";
    }
}

} // namespace

void writeSvg(const std::filesystem::path& path, const Drawing& drawing)
{
    std::string svg =
        fmt::format(R"(<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {0} {1}" width="{0}" height="{1}">
<rect width="{0}" height="{1}" fill="#{2:06x}"/>
)",
                    drawing.width, drawing.height, colourOf(kPaper));
    // One path per colour keeps pictures of many cells small.
    std::array<std::string, kPaintCount> paths;
    for (const Box& box : drawing.boxes) {
        fmt::format_to(std::back_inserter(paths.at(box.paint)), "M{} {}h{}v{}h-{}z", box.x, box.y, box.width,
                       box.height, box.width);
    }
    for (unsigned paint = 0; paint < kPaintCount; ++paint) {
        if (!paths[paint].empty()) {
            svg += fmt::format("<path fill=\"#{:06x}\" d=\"{}\"/>\n", colourOf(paint), paths[paint]);
        }
    }
    svg += fmt::format("<g font-family=\"monospace\" font-size=\"14\" fill=\"#{:06x}\">\n", colourOf(kInk));
    for (const Label& label : drawing.labels) {
        svg += fmt::format("<text x=\"{}\" y=\"{}\" text-anchor=\"{}\">{}</text>\n", label.x, label.y,
                           anchorName(label.anchor), label.text);
    }
    svg += "</g>\n</svg>\n";
    OutputFile file(path);
    file.write(svg);
    file.commit();
}

void spyToFile(const Value& matrix, const std::filesystem::path& path)
{
    if (path.extension() == ".svg") {
        writeSvg(path, drawPattern(matrix));
    } else if (path.extension() == ".png") {
        writePng(path, drawPattern(matrix));
    } else {
        throw Error("kxsh:arguments", fmt::format("spy writes .svg and .png files, not '{}'", path.string()));
    }
}

} // namespace kxsh
