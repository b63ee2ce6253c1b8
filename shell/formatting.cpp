// Text by a format, as printf knows it.

#include "error.hpp"
#include "interrupt.hpp"
#include "printing.hpp"

#include <fmt/printf.h>

#include <algorithm>
#include <cmath>
#include <regex>
#include <vector>

namespace kxsh {

namespace {

/// Literal text, then a conversion such as "%5.2f"; the last piece may have none.
struct Piece
{
    std::string text;
    std::string flags; ///< '%', flags, width and precision
    char conversion = 0;
};

char escaped(char c)
{
    constexpr std::string_view kLetters = "ntr\\";
    const std::size_t known = kLetters.find(c);
    require(known != std::string_view::npos, "kxsh:arguments", "the format has an unknown escape '\\{}'", c);
    return "\n\t\r\\"[known];
}

std::vector<Piece> piecesOf(const std::string& format)
{
    static const std::regex kConversion("%[-+ #0]*[0-9]{0,4}([.][0-9]{0,4})?[diuxXocsfFeEgG]");
    std::vector<Piece> pieces(1);
    for (auto at = format.begin(); at != format.end(); ++at) {
        const char next = at + 1 != format.end() ? at[1] : '\0';
        std::smatch found;
        if (*at == '\\') {
            pieces.back().text += escaped(next);
            ++at;
        } else if (*at != '%' || next == '%') {
            pieces.back().text += *at;
            at += *at == '%' ? 1 : 0;
        } else if (std::regex_search(at, format.end(), found, kConversion, std::regex_constants::match_continuous)) {
            at += found.length() - 1;
            pieces.back().flags.assign(found[0].first, at);
            pieces.back().conversion = *at;
            pieces.emplace_back();
        } else {
            const std::string rest(at, format.end());
            fail("kxsh:arguments", "the format has a conversion that is unknown or too wide, '{}'",
                 rest.substr(0, std::min<std::size_t>(rest.find_first_not_of("+-0 #123456789.", 1), 12) + 1));
        }
    }
    return pieces;
}

/// The arguments, element by element; strings as they are until a conversion takes them by characters.
class Elements
{
  public:
    explicit Elements(std::span<const Value> arguments)
    {
        for (const Value& argument : arguments) {
            values_.push_back(argument.isText() ? argument : asFull(converted(argument, kxDOUBLE_CLASS)));
        }
    }

    /// Whether an element is left; empty arguments are passed over.
    bool any()
    {
        while (at_ < values_.size() && element_ >= values_[at_].count()) {
            ++at_;
            element_ = 0;
        }
        return at_ < values_.size();
    }
    /// Whether the next element opens a string.
    [[nodiscard]] bool atText() const { return values_[at_].isText() && element_ == 0; }
    std::string takeText() { return textOf(values_[at_++]); }
    double takeNumber()
    {
        const Value& value = values_[at_];
        const std::size_t k = element_++;
        return value.isText() ? value.data<char16_t>()[k] : value.data<double>()[k];
    }

  private:
    std::vector<Value> values_;
    std::size_t at_ = 0;
    std::size_t element_ = 0;
};

std::string numberBy(const Piece& piece, double number)
{
    const std::string plain = piece.flags.substr(0, piece.flags.find('.'));
    if (std::string_view("fFeEgG").find(piece.conversion) != std::string_view::npos && std::isfinite(number)) {
        return fmt::sprintf(piece.flags + piece.conversion, number);
    }
    if (piece.conversion == 'c' && number >= 0 && number <= 0x10FFFF) {
        return fmt::sprintf(plain + 's', utf8Of(std::u16string(1, static_cast<char16_t>(number))));
    }
    constexpr double kMostWhole = 0x1p62;
    const bool whole = number == std::trunc(number) && std::abs(number) < kMostWhole;
    if (!whole || piece.conversion == 's' || piece.conversion == 'c') {
        std::string padding = plain;
        std::erase(padding, '0');
        return fmt::sprintf((plain.find('0') == 1 ? padding : plain) + 's', shortNumber(number, 6));
    }
    const char conversion = number < 0 ? 'd' : piece.conversion;
    return fmt::sprintf(piece.flags + conversion, static_cast<long long>(number));
}

} // namespace

std::string formatted(const std::string& format, std::span<const Value> arguments)
{
    const std::vector<Piece> pieces = piecesOf(format);
    Elements elements(arguments);
    const bool given = elements.any();
    const bool takes = pieces.size() > 1;
    std::string text;
    do {
        pollInterrupt();
        for (const Piece& piece : pieces) {
            text += piece.text;
            if (piece.conversion == 0) {
                break;
            }
            if (!elements.any()) {
                if (given) {
                    return text;
                }
                continue; // without arguments, conversions are empty
            }
            text += piece.conversion == 's' && elements.atText() ? fmt::sprintf(piece.flags + 's', elements.takeText())
                                                                 : numberBy(piece, elements.takeNumber());
        }
    } while (takes && elements.any());
    return text;
}

} // namespace kxsh
