#include "lexer.hpp"

#include "error.hpp"
#include "interrupt.hpp"

#include <fast_float/fast_float.h>
#include <fmt/format.h>

#include <array>
#include <utility>

namespace kxsh {

namespace {

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}
bool isNameStart(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}
bool isNamePart(char c)
{
    return isNameStart(c) || isDigit(c);
}

class Lexer
{
  public:
    explicit Lexer(std::string_view source) : source_(source) {}

    std::vector<Token> run()
    {
        while (at_ < source_.size()) {
            pollInterrupt();
            step();
        }
        if (!open_.empty()) {
            const auto [bracket, offset] = open_.back();
            throw SyntaxError(fmt::format("'{}' is never closed", bracket), offset, true);
        }
        add(TokenKind::kEndOfText, 0);
        return std::move(tokens_);
    }

  private:
    [[nodiscard]] char peek(std::size_t ahead = 0) const
    {
        return at_ + ahead < source_.size() ? source_[at_ + ahead] : '\0';
    }

    Token& add(TokenKind kind, std::size_t length)
    {
        Token token;
        token.kind = kind;
        token.text = source_.substr(at_, length);
        token.offset = at_;
        token.stop = at_ + length;
        token.spaceBefore = std::exchange(space_, false);
        tokens_.push_back(std::move(token));
        at_ += length;
        return tokens_.back();
    }

    void step()
    {
        const char c = peek();
        if (c == ' ' || c == '\t' || c == '\r') {
            space_ = true;
            ++at_;
        } else if (c == '#') {
            while (at_ < source_.size() && peek() != '\n') {
                ++at_;
            }
        } else if (c == '\n') {
            newline();
        } else if (isDigit(c) || (c == '.' && isDigit(peek(1)))) {
            number();
        } else if (isNameStart(c)) {
            name();
        } else if (c == '"' || (c == '\'' && !quoteTransposes())) {
            string(c);
        } else if (c == ';') {
            add(TokenKind::kSemicolon, 1);
        } else {
            symbol();
        }
    }

    void newline()
    {
        if (!open_.empty() && open_.back().first == '(') {
            space_ = true;
            ++at_;
        } else {
            add(TokenKind::kNewline, 1);
        }
    }

    void number()
    {
        double value = 0;
        const char* first = source_.data() + at_;
        const auto [stop, status] = fast_float::from_chars(first, source_.data() + source_.size(), value);
        const auto length = static_cast<std::size_t>(stop - first);
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
        std::size_t length = 1;
        while (isNamePart(peek(length))) {
            ++length;
        }
        const bool isEnd = source_.substr(at_, length) == "end";
        add(isEnd ? TokenKind::kEnd : TokenKind::kName, length);
    }

    /// A quote after a value transposes it; inside brackets, white space before the quote makes it a string.
    [[nodiscard]] bool quoteTransposes() const
    {
        if (tokens_.empty() || (space_ && !open_.empty() && open_.back().first == '[')) {
            return false;
        }
        const Token& last = tokens_.back();
        switch (last.kind) {
        case TokenKind::kNumber:
        case TokenKind::kImaginary:
        case TokenKind::kString:
        case TokenKind::kName:
        case TokenKind::kEnd:
            return true;
        default:
            return last.is(")") || last.is("]") || last.is("'");
        }
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
        static constexpr std::array<std::string_view, 5> kPairs = {"==", "~=", "!=", "<=", ">="};
        static constexpr std::string_view kSingles = "+-*/:=<>'()[],";
        for (const std::string_view pair : kPairs) {
            if (source_.substr(at_, 2) == pair) {
                Token& token = add(TokenKind::kOperator, 2);
                if (pair == "!=") {
                    token.text = "~=";
                }
                return;
            }
        }
        const char c = peek();
        if (kSingles.find(c) == std::string_view::npos) {
            const bool printable = c > ' ' && c < '\x7f';
            throw SyntaxError(printable ? fmt::format("unexpected '{}'", c)
                                        : fmt::format("unexpected byte 0x{:02x}", static_cast<unsigned char>(c)),
                              at_);
        }
        trackBrackets(c);
        add(TokenKind::kOperator, 1);
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
    std::vector<Token> tokens_;
    std::vector<std::pair<char, std::size_t>> open_; ///< brackets not yet closed, with their places
};

} // namespace

std::vector<Token> tokenize(std::string_view source)
{
    return Lexer(source).run();
}

} // namespace kxsh
