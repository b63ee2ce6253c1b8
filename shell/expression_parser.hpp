// Tokens to expressions.
#ifndef KXSH_EXPRESSION_PARSER_HPP
#define KXSH_EXPRESSION_PARSER_HPP

#include "ast.hpp"
#include "error.hpp"
#include "lexer.hpp"

#include <algorithm>
#include <string_view>
#include <utility>
#include <vector>

namespace kxsh {

/// Nodes on the longest way through an expression: far below what the stack holds, for reading, carrying out and
/// forgetting it alike.
constexpr int kMaxHeight = 1500;

template <typename Part>
int heightOf(const Part&)
{
    return 0;
}
inline int heightOf(const ExpressionPtr& operand)
{
    return operand ? operand->height : 0;
}
template <typename Part>
int heightOf(const std::vector<Part>& parts)
{
    int height = 0;
    for (const Part& part : parts) {
        height = std::max(height, heightOf(part));
    }
    return height;
}

/// A node at `offset` of these parts. Raises SyntaxError when it gets too high.
template <typename Node, typename... Parts>
ExpressionPtr makeExpression(std::size_t offset, Parts... parts)
{
    const int highest = std::max({0, heightOf(parts)...});
    if (highest >= kMaxHeight) {
        throw SyntaxError("the expression is too long", offset);
    }
    return std::make_unique<Expression>(Expression{Node{std::move(parts)...}, offset, highest + 1});
}

/// Walks the tokens of a source text and reads expressions off them, by recursive descent; loosest first: |, &,
/// comparison, range, sum, product, sign and ~, postfix (call, transpose, power), primary. An expression may be as high
/// as kMaxHeight and as deeply nested as kMaxDepth, blocks of statements included. Raises SyntaxError.
class ExpressionParser
{
  public:
    explicit ExpressionParser(std::string_view source) : source_(source), tokens_(tokenize(source)) {}

    [[nodiscard]] const Token& current() const { return tokens_[at_]; }
    [[nodiscard]] const Token& next() const { return tokens_[at_ + 1 < tokens_.size() ? at_ + 1 : at_]; }
    [[nodiscard]] const Token& previous() const { return tokens_[at_ - 1]; }
    void advance() { ++at_; }
    /// Steps over an operator if it is the current token.
    bool accept(std::string_view op);
    void expect(std::string_view op);
    /// Raises the error that fits the current token.
    [[noreturn]] void unexpected() const;

    /// A whole expression, starting at the current token.
    ExpressionPtr expression();

    /// Counts the nesting of brackets, signs and blocks while it lives.
    class Nesting;

  private:
    ExpressionPtr binary(int level);
    const Infix* acceptInfix(int level);
    ExpressionPtr range();
    ExpressionPtr signedBy(ExpressionPtr (ExpressionParser::*operand)());
    ExpressionPtr postfix();
    ExpressionPtr called(ExpressionPtr result);
    ExpressionPtr exponent() { return called(primary()); }
    std::vector<ExpressionPtr> arguments();
    ExpressionPtr argument();
    ExpressionPtr primary();
    ExpressionPtr matrix();

    std::string_view source_;
    std::vector<Token> tokens_;
    std::size_t at_ = 0;
    int depth_ = 0;
    bool inMatrix_ = false; ///< directly inside brackets, where white space separates elements
};

class ExpressionParser::Nesting
{
  public:
    explicit Nesting(ExpressionParser& parser);
    ~Nesting() { --parser_.depth_; }
    Nesting(const Nesting&) = delete;
    Nesting& operator=(const Nesting&) = delete;

  private:
    ExpressionParser& parser_;
};

} // namespace kxsh

#endif
