#include "expression_parser.hpp"

#include <fmt/format.h>

namespace kxsh {

namespace {

constexpr int kMaxDepth = 250;

} // namespace

ExpressionParser::Nesting::Nesting(ExpressionParser& parser) : parser_(parser)
{
    if (parser_.depth_ >= kMaxDepth) {
        throw SyntaxError("the expression is nested too deeply", parser_.current().offset);
    }
    ++parser_.depth_;
}

bool ExpressionParser::accept(std::string_view op)
{
    if (!current().is(op)) {
        return false;
    }
    ++at_;
    return true;
}

void ExpressionParser::unexpected() const
{
    const Token& token = current();
    switch (token.kind) {
    case TokenKind::kEndOfText:
    case TokenKind::kNewline:
        throw SyntaxError("the statement is not complete", token.offset);
    case TokenKind::kKeyword:
        throw SyntaxError(fmt::format("'{}' cannot stand here", token.text), token.offset);
    default:
        throw SyntaxError(fmt::format("unexpected '{}'", source_.substr(token.offset, token.stop - token.offset)),
                          token.offset);
    }
}

void ExpressionParser::expect(std::string_view op)
{
    if (!accept(op)) {
        unexpected();
    }
}

ExpressionPtr ExpressionParser::expression()
{
    const Nesting nesting(*this);
    return binary(0);
}

/// Inside brackets, `a -b` are two elements: a sign that stands apart on its left only starts a new one.
const Infix* ExpressionParser::acceptInfix(int level)
{
    if (inMatrix_ && current().spaceBefore && !next().spaceBefore && (current().is("+") || current().is("-"))) {
        return nullptr;
    }
    for (const Infix& infix : kInfixes) {
        if (infix.level == level && accept(infix.symbol)) {
            return &infix;
        }
    }
    return nullptr;
}

/// Operands joined by operators that bind alike, from left to right.
ExpressionPtr ExpressionParser::binary(int level)
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
        ExpressionPtr right = binary(level + 1);
        left = makeExpression<BinaryNode>(offset, infix->op, std::move(left), std::move(right));
    }
    return left;
}

ExpressionPtr ExpressionParser::range()
{
    ExpressionPtr start = binary(kRangeLevel + 1);
    if (!current().is(":") || next().is(")") || next().is(",")) {
        return start;
    }
    const std::size_t offset = current().offset;
    ++at_;
    ExpressionPtr stop = binary(kRangeLevel + 1);
    ExpressionPtr step;
    if (accept(":")) {
        step = std::exchange(stop, binary(kRangeLevel + 1));
    }
    return makeExpression<RangeNode>(offset, std::move(start), std::move(step), std::move(stop));
}

/// Signs, and ~, before an operand: -x is -1 * x, and ~x is x == 0.
ExpressionPtr ExpressionParser::signedBy(ExpressionPtr (ExpressionParser::*operand)())
{
    const Nesting nesting(*this);
    const std::size_t offset = current().offset;
    const auto literal = [offset](double number) { return makeExpression<LiteralNode>(offset, Value::number(number)); };
    if (accept("-")) {
        return makeExpression<BinaryNode>(offset, BinaryOperator::kMultiply, literal(-1), signedBy(operand));
    }
    if (operand == &ExpressionParser::postfix && accept("~")) {
        return makeExpression<BinaryNode>(offset, BinaryOperator::kEqual, signedBy(operand), literal(0));
    }
    return accept("+") ? signedBy(operand) : (this->*operand)();
}

/// Transposes and powers bind alike; the exponent takes calls and signs only.
ExpressionPtr ExpressionParser::postfix()
{
    ExpressionPtr result = called(primary());
    for (;;) {
        const std::size_t offset = current().offset;
        if (current().is("'") || current().is(".'")) {
            const bool conjugates = current().is("'");
            ++at_;
            result = called(makeExpression<TransposeNode>(offset, std::move(result), conjugates));
        } else if (const Infix* power = acceptInfix(kPowerLevel)) {
            ExpressionPtr exponent = signedBy(&ExpressionParser::exponent);
            result = makeExpression<BinaryNode>(offset, power->op, std::move(result), std::move(exponent));
        } else {
            return result;
        }
    }
}

/// `result` with the parentheses that follow it.
ExpressionPtr ExpressionParser::called(ExpressionPtr result)
{
    while (current().is("(") && !(inMatrix_ && current().spaceBefore)) {
        ++at_;
        const std::size_t offset = result->offset;
        std::vector<ExpressionPtr> inner = arguments();
        result = makeExpression<ApplyNode>(offset, std::move(result), std::move(inner));
    }
    return result;
}

std::vector<ExpressionPtr> ExpressionParser::arguments()
{
    const bool outer = std::exchange(inMatrix_, false);
    std::vector<ExpressionPtr> result;
    if (!current().is(")")) {
        do {
            result.push_back(argument());
        } while (accept(","));
    }
    expect(")");
    inMatrix_ = outer;
    return result;
}

ExpressionPtr ExpressionParser::argument()
{
    if (current().is(":") && (next().is(",") || next().is(")"))) {
        return makeExpression<LiteralNode>(tokens_[at_++].offset, Value(kx::kxCreateColon()));
    }
    return expression();
}

ExpressionPtr ExpressionParser::primary()
{
    const Token& token = current();
    switch (token.kind) {
    case TokenKind::kNumber:
        ++at_;
        return makeExpression<LiteralNode>(token.offset, Value::number(token.number));
    case TokenKind::kImaginary:
        ++at_;
        return makeExpression<LiteralNode>(token.offset, Value::complexNumber(0, token.number));
    case TokenKind::kString:
        ++at_;
        return makeExpression<LiteralNode>(token.offset, Value::text(token.text));
    case TokenKind::kName:
        ++at_;
        return makeExpression<NameNode>(token.offset, token.text);
    case TokenKind::kEnd:
        ++at_;
        return makeExpression<EndNode>(token.offset);
    default:
        break;
    }
    if (accept("(")) {
        const bool outer = std::exchange(inMatrix_, false);
        ExpressionPtr inner = expression();
        expect(")");
        inMatrix_ = outer;
        return inner;
    }
    if (accept("[")) {
        return matrix();
    }
    unexpected();
}

ExpressionPtr ExpressionParser::matrix()
{
    const bool outer = std::exchange(inMatrix_, true);
    const std::size_t offset = previous().offset;
    std::vector<std::vector<ExpressionPtr>> rows;
    bool rowOpen = false;
    while (!accept("]")) {
        if (current().kind == TokenKind::kSemicolon || current().kind == TokenKind::kNewline) {
            rowOpen = false;
            ++at_;
            continue;
        }
        if (!rowOpen) {
            rows.emplace_back();
            rowOpen = true;
        } else {
            accept(",");
            if (current().is("]") || current().kind == TokenKind::kNewline) {
                continue;
            }
        }
        rows.back().push_back(expression());
    }
    inMatrix_ = outer;
    return makeExpression<MatrixNode>(offset, std::move(rows));
}

} // namespace kxsh
