// Words and numbers of a text, line by line, with errors that name the line.
#ifndef KXSH_TEXT_LINES_HPP
#define KXSH_TEXT_LINES_HPP

#include "error.hpp"

#include <fast_float/fast_float.h>
#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <string>
#include <string_view>

namespace kxsh {

/// A position in a text. Functions that read raise kxsh:matrixMarket with the name and the line number of the text.
class TextLines
{
  public:
    TextLines(std::string name, std::string_view text) : name_(std::move(name)), rest_(text) {}

    template <typename... Parts>
    [[noreturn, gnu::cold]] void fail(fmt::format_string<Parts...> text, Parts&&... parts) const
    {
        kxsh::fail("kxsh:matrixMarket", "{}:{}: {}", name_, std::max<std::size_t>(line_, 1),
                   fmt::format(text, std::forward<Parts>(parts)...));
    }

    template <typename... Parts>
    void require(bool holds, fmt::format_string<Parts...> text, Parts&&... parts) const
    {
        if (!holds) {
            fail(text, std::forward<Parts>(parts)...);
        }
    }

    /// Moves to the next line; false at the end of the text.
    bool nextLine()
    {
        if (rest_.empty()) {
            return false;
        }
        const std::size_t length = std::min(rest_.find('\n'), rest_.size());
        at_ = rest_.data();
        stop_ = at_ + length;
        rest_.remove_prefix(std::min(length + 1, rest_.size()));
        ++line_;
        return true;
    }

    /// Whether the current line goes on with this character.
    [[nodiscard]] bool at(char c) const { return at_ != stop_ && *at_ == c; }

    /// Bytes in the lines behind the current one.
    [[nodiscard]] std::size_t bytesLeft() const { return rest_.size(); }

    void skipBlanks()
    {
        while (at_ != stop_ && isBlank(*at_)) {
            ++at_;
        }
    }

    /// Moves to the next line that is not blank.
    bool nextFilledLine()
    {
        do {
            if (!nextLine()) {
                return false;
            }
            skipBlanks();
        } while (at_ == stop_);
        return true;
    }

    /// The next word in small letters, empty at the end of the line.
    std::string word()
    {
        skipBlanks();
        const char* first = at_;
        while (at_ != stop_ && !isBlank(*at_)) {
            ++at_;
        }
        std::string small(first, static_cast<std::size_t>(at_ - first));
        std::transform(small.begin(), small.end(), small.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        return small;
    }

    /// Raises an error unless the line ends here.
    void endOfLine()
    {
        skipBlanks();
        require(at_ == stop_, "unexpected '{}' at the end of the line",
                std::string_view(at_, static_cast<std::size_t>(std::min<std::ptrdiff_t>(stop_ - at_, 40))));
    }

    template <typename T>
    T wholeNumber(std::string_view what)
    {
        skipBlanks();
        T value{};
        const auto [stop, status] = std::from_chars(at_, stop_, value);
        require(status != std::errc::result_out_of_range, "the {} is too large", what);
        require(status == std::errc() && (stop == stop_ || isBlank(*stop)), "the {} is missing or no whole number",
                what);
        at_ = stop;
        return value;
    }

    double number()
    {
        skipBlanks();
        if (at_ != stop_ && *at_ == '+') {
            ++at_;
        }
        double value = 0;
        const auto [stop, status] = fast_float::from_chars(at_, stop_, value);
        require(status == std::errc() && (stop == stop_ || isBlank(*stop)), "a value is missing or no number");
        at_ = stop;
        return value;
    }

  private:
    static bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\r'; }

    std::string name_;
    std::string_view rest_;    ///< the lines not yet read
    const char* at_ = nullptr; ///< the unread part of the current line
    const char* stop_ = nullptr;
    std::size_t line_ = 0;
};

} // namespace kxsh

#endif
