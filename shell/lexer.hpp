// Source text to tokens.
#ifndef KXSH_LEXER_HPP
#define KXSH_LEXER_HPP

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace kxsh {

enum class TokenKind
{
    kNumber,
    kImaginary,
    kString,
    kName,
    kEnd,      ///< the word end
    kOperator, ///< text holds its characters: + - * / : = == ~= < <= > >= ' ( ) [ ] ,
    kSemicolon,
    kNewline,
    kEndOfText
};

struct Token
{
    TokenKind kind = TokenKind::kEndOfText;
    std::string text;
    double number = 0;
    std::size_t offset = 0;   ///< first byte in the source
    std::size_t stop = 0;     ///< one past its last byte
    bool spaceBefore = false; ///< white space separates it from the token before

    [[nodiscard]] bool is(std::string_view op) const { return kind == TokenKind::kOperator && text == op; }
};

/// The tokens of a source text, the last one kEndOfText. Line ends inside parentheses are white space; inside brackets
/// they separate rows (kNewline). Raises SyntaxError, `incomplete` when a bracket is still open at the end.
std::vector<Token> tokenize(std::string_view source);

} // namespace kxsh

#endif
