#include "lexer.hpp"

#include "error.hpp"
#include "interrupt.hpp"

#include <fast_float/fast_float.h>
#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace kxsh {

namespace {

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}
bool isNamePart(char c)
{
    return kNameParts.find(c) != std::string_view::npos;
}

using Brackets = std::vector<std::pair<char, std::size_t>>; // open ones, with their places

constexpr std::string_view kByteOrderMark = "\xef\xbb\xbf";

class Lexer
{
  public:
    explicit Lexer(std::string_view source, Brackets open = {}) : source_(source), open_(std::move(open))
    {
        at_ = source.starts_with(kByteOrderMark) ? kByteOrderMark.size() : 0;
    }

    void run()
    {
        while (at_ < source_.size()) {
            pollInterrupt();
            step();
        }
        add(TokenKind::kEndOfText, 0);
    }

    [[nodiscard]] std::vector<Token>& tokens() { return tokens_; }
    [[nodiscard]] Brackets& open() { return open_; }
    /// Whether the text ends behind `...`.
    [[nodiscard]] bool continued() const { return continued_; }

  private:
    [[nodiscard]] char peek(std::size_t ahead = 0) const
    {
        return at_ + ahead < source_.size() ? source_[at_ + ahead] : '\0';
    }

    Token& add(TokenKind kind, std::size_t length)
    {
        const std::size_t first = std::exchange(at_, at_ + length);
        tokens_.push_back({.kind = kind,
                           .text = std::string(source_.substr(first, length)),
                           .offset = first,
                           .stop = at_,
                           .spaceBefore = std::exchange(space_, false)});
        return tokens_.back();
    }

    void step()
    {
        const char c = peek();
        if (c == ' ' || c == '\t' || c == '\r') {
            space_ = true;
            ++at_;
        } else if (c == '#' || c == '%') {
            skipLine();
        } else if (source_.substr(at_, 3) == "...") {
            skipLine();
            continued_ = at_ + 1 >= source_.size();
            space_ = true;
            at_ = std::min(at_ + 1, source_.size());
        } else if (c == '\n' && !open_.empty() && open_.back().first == '(') {
            space_ = true;
            ++at_;
        } else if (isDigit(c) || (c == '.' && isDigit(peek(1)))) {
            number();
        } else if (isNamePart(c)) {
            name();
        } else if (c == '"' || (c == '\'' && !quoteTransposes())) {
            string(c);
        } else {
            symbol();
        }
    }

    void skipLine() { at_ = std::min(source_.find('\n', at_), source_.size()); }

    void number()
    {
        double value = 0;
        const char* first = source_.data() + at_;
        const auto [stop, status] = fast_float::from_chars(first, source_.data() + source_.size(), value);
        auto length = static_cast<std::size_t>(stop - first);
        if (length > 1 && stop[-1] == '.' && std::string_view("*/\\^'").find(peek(length)) != std::string_view::npos) {
            --length; // the dot of 2.*x belongs to the operator
        }
        const char after = peek(length);
        const bool imaginary = after == 'i' && !isNamePart(peek(length + 1));
        if (status != std::errc() || (isNamePart(after) && !imaginary)) {
            throw SyntaxError("malformed number", at_);
        }
        Token& token = add(imaginary ? TokenKind::kImaginary : TokenKind::kNumber, length + (imaginary ? 1 : 0));
        token.number = value;
    }

    void name()
    {
        const std::size_t length = std::min(source_.find_first_not_of(kNameParts, at_), source_.size()) - at_;
        const std::string_view word = source_.substr(at_, length);
        const bool isKeyword = std::ranges::find(kKeywords, word) != std::end(kKeywords);
        const bool isPlace = word == "end" && !open_.empty();
        add(isPlace ? TokenKind::kEnd : isKeyword ? TokenKind::kKeyword : TokenKind::kName, length);
    }

    /// A quote after a value transposes it; inside brackets, white space before the quote makes it a string.
    [[nodiscard]] bool quoteTransposes() const
    {
        if (tokens_.empty() || (space_ && !open_.empty() && open_.back().first == '[')) {
            return false;
        }
        const Token& last = tokens_.back();
        return last.kind <= TokenKind::kEnd || last.is(")") || last.is("]") || last.is("'") || last.is(".'");
    }

    /// 'text' or "text"; the quote itself is written twice.
    void string(char quote)
    {
        std::string text;
        std::size_t length = 1;
        for (;; ++length) {
            if (at_ + length >= source_.size() || peek(length) == '\n') {
                throw SyntaxError(fmt::format("the string has no closing {}", quote), at_);
            }
            if (peek(length) == quote) {
                if (peek(length + 1) != quote) {
                    break;
                }
                ++length;
            }
            text += peek(length);
        }
        add(TokenKind::kString, length + 1).text = std::move(text);
    }

    void symbol()
    {
        static constexpr std::string_view kSymbols[] = {"==", "~=", "!=", "<=", ">=", ".*", "./", ".^", ".'", "+",
                                                        "-",  "*",  "/",  "\\", "^",  ":",  "=",  "<",  ">",  "'",
                                                        "(",  ")",  "[",  "]",  ",",  ";",  "\n", "&",  "|",  "~"};
        const auto starts = [text = source_.substr(at_, 2)](std::string_view each) { return text.starts_with(each); };
        const auto* const found = std::ranges::find_if(kSymbols, starts);
        const char c = peek();
        if (found == std::end(kSymbols)) {
            const bool printable = c > ' ' && c < '\x7f';
            throw SyntaxError(printable ? fmt::format("unexpected '{}'", c)
                                        : fmt::format("unexpected byte 0x{:02x}", static_cast<unsigned char>(c)),
                              at_);
        }
        trackBrackets(c);
        Token& token = add(TokenKind::kSymbol, found->size());
        if (token.text == "!=") {
            token.text = "~=";
        }
    }

    void trackBrackets(char c)
    {
        if (c == '(' || c == '[') {
            open_.emplace_back(c, at_);
        } else if (c == ')' || c == ']') {
            const char opener = c == ')' ? '(' : '[';
            if (open_.empty() || open_.back().first != opener) {
                throw SyntaxError(fmt::format("'{}' closes nothing", c), at_);
            }
            open_.pop_back();
        }
    }

    std::string_view source_;
    std::size_t at_ = 0;
    bool space_ = false;
    bool continued_ = false;
    std::vector<Token> tokens_;
    Brackets open_;
};

} // namespace

std::vector<Token> tokenize(std::string_view source)
{
    Lexer lexer(source);
    lexer.run();
    if (!lexer.open().empty()) {
        const auto [bracket, offset] = lexer.open().back();
        throw SyntaxError(fmt::format("'{}' is never closed", bracket), offset);
    }
    return std::move(lexer.tokens());
}

void OpenEnds::add(std::string_view line)
{
    Lexer lexer(line, std::move(brackets_));
    try {
        lexer.run();
    } catch (const SyntaxError&) {
        wrong_ = true;
    }
    for (const Token& token : lexer.tokens()) {
        if (token.is("if") || token.is("for") || token.is("while")) {
            ++blocks_;
        } else if (token.is("end")) {
            wrong_ = wrong_ || blocks_-- == 0;
        }
    }
    brackets_ = std::move(lexer.open());
    continued_ = lexer.continued();
}

} // namespace kxsh
