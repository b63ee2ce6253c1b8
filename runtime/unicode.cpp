#include "unicode.hpp"

#include <cstddef>

namespace fl::unicode {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

constexpr bool isLeadSurrogate(char32_t unit)
{
    return unit >= 0xD800 && unit < 0xDC00;
}
constexpr bool isTrailSurrogate(char32_t unit)
{
    return unit >= 0xDC00 && unit < 0xE000;
}

void appendUtf8(std::string& out, char32_t point)
{
    const auto put = [&out](char32_t byte) { out.push_back(static_cast<char>(byte)); };
    if (point < 0x80) {
        put(point);
        return;
    }
    if (point < 0x800) {
        put(0xC0 | (point >> 6));
    } else {
        if (point < 0x10000) {
            put(0xE0 | (point >> 12));
        } else {
            put(0xF0 | (point >> 18));
            put(0x80 | ((point >> 12) & 0x3F));
        }
        put(0x80 | ((point >> 6) & 0x3F));
    }
    put(0x80 | (point & 0x3F));
}

void appendUtf16(std::u16string& out, char32_t point)
{
    if (point < 0x10000) {
        out.push_back(static_cast<char16_t>(point));
        return;
    }
    point -= 0x10000;
    out.push_back(static_cast<char16_t>(0xD800 + (point >> 10)));
    out.push_back(static_cast<char16_t>(0xDC00 + (point & 0x3FF)));
}

/// Reads one code point at `at`, which moves past it (past one byte where the input is malformed).
char32_t takeUtf8(std::string_view text, std::size_t& at)
{
    const auto byteAt = [&text](std::size_t i) { return static_cast<char32_t>(static_cast<unsigned char>(text[i])); };
    const char32_t first = byteAt(at++);
    if (first < 0x80) {
        return first;
    }
    const std::size_t more = first >= 0xF0 ? 3 : first >= 0xE0 ? 2 : 1;
    if (first < 0xC2 || first > 0xF4 || text.size() - at < more) {
        return kReplacement;
    }
    char32_t point = first & (0x3FU >> more);
    for (std::size_t i = 0; i < more; ++i) {
        const char32_t next = byteAt(at + i);
        if ((next & 0xC0) != 0x80) {
            return kReplacement;
        }
        point = (point << 6) | (next & 0x3F);
    }
    constexpr char32_t kSmallest[] = {0, 0x80, 0x800, 0x10000};
    if (point < kSmallest[more] || point > 0x10FFFF || isLeadSurrogate(point) || isTrailSurrogate(point)) {
        return kReplacement;
    }
    at += more;
    return point;
}

} // namespace

std::string toUtf8(std::u16string_view text)
{
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        char32_t point = text[i];
        if (isLeadSurrogate(point) && i + 1 < text.size() && isTrailSurrogate(text[i + 1])) {
            point = 0x10000 + ((point - 0xD800) << 10) + (text[++i] - 0xDC00U);
        } else if (isLeadSurrogate(point) || isTrailSurrogate(point)) {
            point = kReplacement;
        }
        appendUtf8(out, point);
    }
    return out;
}

std::u16string toUtf16(std::string_view text)
{
    std::u16string out;
    out.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        appendUtf16(out, takeUtf8(text, at));
    }
    return out;
}

} // namespace fl::unicode
