// Tokens to expressions.
#ifndef KXSH_EXPRESSION_PARSER_HPP
#define KXSH_EXPRESSION_PARSER_HPP

#include "ast.hpp"
#include "lexer.hpp"

#include <initializer_list>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace kxsh {

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
    ExpressionPtr expression() { return disjunction(); }
    /// A name, maybe with subscripts, at the current token.
    ExpressionPtr called();

    /// Counts the nesting of brackets, signs and blocks while it lives.
    class Nesting;

  private:
    using OperatorChoice = std::pair<std::string_view, BinaryOperator>;
    using Level = ExpressionPtr (ExpressionParser::*)();

    template <typename Node>
    static ExpressionPtr make(std::size_t offset, Node node, int highest = 0);
    ExpressionPtr chain(Level operand, std::initializer_list<OperatorChoice> choices);
    [[nodiscard]] bool startsElement() const;
    std::optional<BinaryOperator> acceptOneOf(std::initializer_list<OperatorChoice> choices);

    ExpressionPtr disjunction();
    ExpressionPtr conjunction();
    ExpressionPtr comparison();
    ExpressionPtr range();
    ExpressionPtr sum();
    ExpressionPtr product();
    ExpressionPtr sign();
    ExpressionPtr postfix();
    ExpressionPtr exponent();
    static ExpressionPtr negated(std::size_t offset, ExpressionPtr operand);
    static ExpressionPtr inverted(std::size_t offset, ExpressionPtr operand);
    ExpressionPtr called(ExpressionPtr result);
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
