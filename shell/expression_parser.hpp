// Tokens to expressions.
#ifndef KXSH_EXPRESSION_PARSER_HPP
#define KXSH_EXPRESSION_PARSER_HPP

#include "ast.hpp"
#include "error.hpp"
#include "lexer.hpp"

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kxsh {

/// Nodes on the longest way through an expression: far below what the stack holds, for reading, carrying out and
/// forgetting it alike.
constexpr int kMaxHeight = 1500;
constexpr int kMaxDepth = 250;

/// A node on the heap. Raises SyntaxError when it gets too high.
inline ExpressionPtr makeNode(Expression node)
{
    for (const ExpressionPtr& part : node.parts) {
        node.height = std::max(node.height, part->height + 1);
    }
    if (node.height > kMaxHeight) {
        throw SyntaxError("the expression is too long", node.offset);
    }
    return std::make_unique<Expression>(std::move(node));
}

template <typename... Parts>
Expressions partsOf(Parts... parts)
{
    Expressions list;
    (list.push_back(std::move(parts)), ...);
    return list;
}

/// Walks the tokens of a source text and reads expressions off them, by recursive descent; loosest first: |, &,
/// comparison, range, sum, product, sign and ~, postfix (call, transpose, power), primary. An expression may be as high
/// as kMaxHeight and as deeply nested as kMaxDepth, blocks of statements included. Raises SyntaxError.
class ExpressionParser
{
  protected:
    explicit ExpressionParser(std::string_view source) : source_(source), tokens_(tokenize(source)) {}

    [[nodiscard]] const Token& current() const { return tokens_[at_]; }
    [[nodiscard]] const Token& next() const { return tokens_[at_ + 1 < tokens_.size() ? at_ + 1 : at_]; }
    [[nodiscard]] const Token& previous() const { return tokens_[at_ - 1]; }
    void advance() { ++at_; }

    /// Steps over an operator or keyword if it is the current token.
    bool accept(std::string_view word)
    {
        const bool found = current().is(word);
        at_ += found ? 1 : 0;
        return found;
    }

    void expect(std::string_view word)
    {
        if (!accept(word)) {
            unexpected();
        }
    }

    /// Raises the error that fits the current token.
    [[noreturn]] void unexpected() const
    {
        const Token& token = current();
        if (token.kind == TokenKind::kEndOfText || token.is("\n")) {
            throw SyntaxError("the statement is not complete", token.offset);
        }
        const std::string text(source_.substr(token.offset, token.stop - token.offset));
        throw SyntaxError(token.kind == TokenKind::kKeyword ? '\'' + text + "' cannot stand here"
                                                            : "unexpected '" + text + '\'',
                          token.offset);
    }

    /// read(), within one more bracket, sign or block.
    template <typename Read>
    auto nested(Read read)
    {
        if (depth_ >= kMaxDepth) {
            throw SyntaxError("the expression is nested too deeply", current().offset);
        }
        ++depth_;
        auto result = read();
        --depth_;
        return result;
    }

    /// A whole expression, starting at the current token.
    ExpressionPtr expression()
    {
        return nested([this] { return binary(0); });
    }

    static ExpressionPtr makeLiteral(std::size_t offset, Value value)
    {
        return makeNode({.kind = Kind::kLiteral, .offset = offset, .value = std::move(value)});
    }

    std::string_view source_;

  private:
    static ExpressionPtr makeBinary(std::size_t offset, BinaryOperator op, ExpressionPtr left, ExpressionPtr right)
    {
        return makeNode(
            {.kind = Kind::kBinary, .offset = offset, .parts = partsOf(std::move(left), std::move(right)), .op = op});
    }
    /// Inside brackets, `a -b` are two elements: a sign that stands apart on its left only starts a new one.
    const Infix* acceptInfix(int level)
    {
        if (inMatrix_ && current().spaceBefore && !next().spaceBefore && (current().is("+") || current().is("-"))) {
            return nullptr;
        }
        const auto* const found = std::ranges::find_if(
            kInfixes, [&](const Infix& each) { return each.level == level && accept(each.symbol); });
        return found == std::end(kInfixes) ? nullptr : found;
    }

    /// Operands joined by operators that bind alike, from left to right.
    ExpressionPtr binary(int level)
    {
        if (level == kRangeLevel) {
            return range();
        }
        if (level == kPowerLevel) {
            return signedBy(&ExpressionParser::postfix);
        }
        ExpressionPtr left = binary(level + 1);
        while (const Infix* infix = acceptInfix(level)) {
            const std::size_t offset = previous().offset;
            left = makeBinary(offset, infix->op, std::move(left), binary(level + 1));
        }
        return left;
    }

    ExpressionPtr range()
    {
        ExpressionPtr start = binary(kRangeLevel + 1);
        if (!current().is(":") || next().is(")") || next().is(",")) {
            return start;
        }
        const std::size_t offset = current().offset;
        Expressions parts = partsOf(std::move(start));
        while (parts.size() < 3 && accept(":")) {
            parts.push_back(binary(kRangeLevel + 1));
        }
        return makeNode({.kind = Kind::kRange, .offset = offset, .parts = std::move(parts)});
    }

    /// Signs, and ~, before an operand: -x is -1 * x, and ~x is x == 0.
    ExpressionPtr signedBy(ExpressionPtr (ExpressionParser::*operand)())
    {
        return nested([this, operand] {
            const std::size_t offset = current().offset;
            const auto literal = [offset](double number) { return makeLiteral(offset, Value::number(number)); };
            if (accept("-")) {
                return makeBinary(offset, BinaryOperator::kMultiply, literal(-1), signedBy(operand));
            }
            if (operand == &ExpressionParser::postfix && accept("~")) {
                return makeBinary(offset, BinaryOperator::kEqual, signedBy(operand), literal(0));
            }
            return accept("+") ? signedBy(operand) : (this->*operand)();
        });
    }

    /// Transposes and powers bind alike; the exponent takes calls and signs only.
    ExpressionPtr postfix()
    {
        ExpressionPtr result = called();
        for (;;) {
            const std::size_t offset = current().offset;
            if (accept("'") || accept(".'")) {
                const Kind kind = previous().is("'") ? Kind::kConjugate : Kind::kTranspose;
                result = called(makeNode({.kind = kind, .offset = offset, .parts = partsOf(std::move(result))}));
            } else if (const Infix* power = acceptInfix(kPowerLevel)) {
                result = makeBinary(offset, power->op, std::move(result), signedBy(&ExpressionParser::called));
            } else {
                return result;
            }
        }
    }

    ExpressionPtr called() { return called(primary()); }

    /// `result` with the parentheses that follow it.
    ExpressionPtr called(ExpressionPtr result)
    {
        while (current().is("(") && !(inMatrix_ && current().spaceBefore)) {
            ++at_;
            Expression call{.kind = Kind::kApply, .offset = result->offset};
            if (result->kind == Kind::kName) {
                call.name = result->name;
            } else {
                call.parts.push_back(std::move(result));
            }
            const bool outer = std::exchange(inMatrix_, false);
            if (!current().is(")")) {
                do {
                    call.parts.push_back(argument());
                } while (accept(","));
            }
            expect(")");
            inMatrix_ = outer;
            result = makeNode(std::move(call));
        }
        return result;
    }

    ExpressionPtr argument()
    {
        if (current().is(":") && (next().is(",") || next().is(")"))) {
            return makeLiteral(tokens_[at_++].offset, Value(kx::kxCreateColon()));
        }
        return expression();
    }

    ExpressionPtr primary()
    {
        if (accept("[")) {
            return matrix();
        }
        if (accept("(")) {
            const bool outer = std::exchange(inMatrix_, false);
            ExpressionPtr inner = expression();
            expect(")");
            inMatrix_ = outer;
            return inner;
        }
        const Token& token = current();
        Expression leaf{.kind = Kind::kLiteral, .offset = token.offset};
        switch (token.kind) {
        case TokenKind::kNumber:
            leaf.value = Value::number(token.number);
            break;
        case TokenKind::kImaginary:
            leaf.value = Value::complexNumber(0, token.number);
            break;
        case TokenKind::kString:
            leaf.value = Value::text(token.text);
            break;
        case TokenKind::kName:
            leaf.kind = Kind::kName;
            leaf.name = token.text;
            break;
        case TokenKind::kEnd:
            leaf.kind = Kind::kEnd;
            break;
        default:
            unexpected();
        }
        ++at_;
        return makeNode(std::move(leaf));
    }

    ExpressionPtr matrix()
    {
        const bool outer = std::exchange(inMatrix_, true);
        const std::size_t offset = previous().offset;
        Expression whole{.kind = Kind::kMatrix, .offset = offset};
        Expressions row;
        const auto closeRow = [&] {
            if (!row.empty()) {
                whole.parts.push_back(
                    makeNode({.kind = Kind::kRow, .offset = offset, .parts = std::exchange(row, {})}));
            }
        };
        while (!accept("]")) {
            if (accept(";") || accept("\n")) {
                closeRow();
                continue;
            }
            if (!row.empty()) {
                accept(",");
            }
            if (!current().is("]") && !current().is("\n")) {
                row.push_back(expression());
            }
        }
        closeRow();
        inMatrix_ = outer;
        return makeNode(std::move(whole));
    }

    std::vector<Token> tokens_;
    std::size_t at_ = 0;
    int depth_ = 0;
    bool inMatrix_ = false; ///< directly inside brackets, where white space separates elements
};

} // namespace kxsh

#endif
