// Tokens to expressions.
#ifndef KXSH_EXPRESSION_PARSER_HPP
#define KXSH_EXPRESSION_PARSER_HPP

#include "ast.hpp"
#include "error.hpp"
#include "lexer.hpp"

#include <string>
#include <string_view>
#include <vector>

namespace kxsh {

/// Nodes on the longest way through an expression: far below what the stack holds, for reading, carrying out and
/// forgetting it alike.
constexpr int kMaxHeight = 1500;

/// A node at `offset` of these parts. Raises SyntaxError when it gets too high.
ExpressionPtr makeNode(Kind kind, std::size_t offset, Expressions parts = {});
ExpressionPtr makeLiteral(std::size_t offset, Value value);
/// name(arguments), as a call or a command.
ExpressionPtr makeCall(Kind kind, std::size_t offset, std::string name, Expressions arguments);

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
    void arguments(Expressions& parts);
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
