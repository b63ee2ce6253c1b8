// Source text to tokens.
#ifndef KXSH_LEXER_HPP
#define KXSH_LEXER_HPP

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kxsh {

/// The words that are no names.
constexpr std::string_view kKeywords[] = {"break", "continue", "else", "elseif", "end", "for", "if", "while"};

/// What names consist of; they begin with no digit.
constexpr std::string_view kNameParts = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ_0123456789";

/// Up to kEnd, what stands for a value.
enum class TokenKind
{
    kNumber,
    kImaginary,
    kString,
    kName,
    kEnd,     ///< the word end inside brackets: the last place of a dimension
    kKeyword, ///< if elseif else for while break continue, and end outside brackets
    kSymbol,  ///< text holds its characters, such as "+", ".*", "(", ";" or "\n"; "!=" is read as "~="
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

    /// Whether it is this symbol or keyword.
    [[nodiscard]] bool is(std::string_view word) const
    {
        return (kind == TokenKind::kSymbol || kind == TokenKind::kKeyword) && text == word;
    }
};

/// The tokens of a source text, the last one kEndOfText. Line ends inside parentheses are white space; inside brackets
/// they separate rows ("\n"). `...` drops the rest of its line and the line end. Raises SyntaxError.
std::vector<Token> tokenize(std::string_view source);

/// Whether lines that come one by one end inside a bracket, a block or a continued line. Each line costs its own
/// length.
class OpenEnds
{
  public:
    /// Takes the next line, without its line end. From a line that is no part of the language on nothing is open: the
    /// error shows when the text is run.
    void add(std::string_view line);
    [[nodiscard]] bool any() const { return !wrong_ && (continued_ || blocks_ > 0 || !brackets_.empty()); }

  private:
    std::vector<std::pair<char, std::size_t>> brackets_;
    std::size_t blocks_ = 0;
    bool continued_ = false;
    bool wrong_ = false;
};

} // namespace kxsh

#endif
