#include "expression_parser.hpp"

#include <algorithm>
#include <utility>

namespace kxsh {

namespace {

constexpr int kMaxDepth = 250;

ExpressionPtr makeBinary(std::size_t offset, BinaryOperator op, ExpressionPtr left, ExpressionPtr right)
{
    Expressions operands;
    operands.push_back(std::move(left));
    operands.push_back(std::move(right));
    ExpressionPtr result = makeNode(Kind::kBinary, offset, std::move(operands));
    result->op = op;
    return result;
}

} // namespace

ExpressionPtr makeNode(Kind kind, std::size_t offset, Expressions parts)
{
    auto result = std::make_unique<Expression>(Expression{kind, offset, std::move(parts)});
    for (const ExpressionPtr& part : result->parts) {
        result->height = std::max(result->height, part->height + 1);
    }
    if (result->height > kMaxHeight) {
        throw SyntaxError("the expression is too long", offset);
    }
    return result;
}

ExpressionPtr makeLiteral(std::size_t offset, Value value)
{
    ExpressionPtr result = makeNode(Kind::kLiteral, offset);
    result->value = std::move(value);
    return result;
}

ExpressionPtr makeCall(Kind kind, std::size_t offset, std::string name, Expressions arguments)
{
    ExpressionPtr result = makeNode(kind, offset, std::move(arguments));
    result->name = std::move(name);
    return result;
}

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
        left = makeBinary(offset, infix->op, std::move(left), std::move(right));
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
    Expressions parts;
    parts.push_back(std::move(start));
    while (parts.size() < 3 && accept(":")) {
        parts.push_back(binary(kRangeLevel + 1));
    }
    return makeNode(Kind::kRange, offset, std::move(parts));
}

/// Signs, and ~, before an operand: -x is -1 * x, and ~x is x == 0.
ExpressionPtr ExpressionParser::signedBy(ExpressionPtr (ExpressionParser::*operand)())
{
    const Nesting nesting(*this);
    const std::size_t offset = current().offset;
    const auto literal = [offset](double number) { return makeLiteral(offset, Value::number(number)); };
    if (accept("-")) {
        return makeBinary(offset, BinaryOperator::kMultiply, literal(-1), signedBy(operand));
    }
    if (operand == &ExpressionParser::postfix && accept("~")) {
        return makeBinary(offset, BinaryOperator::kEqual, signedBy(operand), literal(0));
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
            const Kind kind = current().is("'") ? Kind::kConjugate : Kind::kTranspose;
            ++at_;
            Expressions operand;
            operand.push_back(std::move(result));
            result = called(makeNode(kind, offset, std::move(operand)));
        } else if (const Infix* power = acceptInfix(kPowerLevel)) {
            ExpressionPtr exponent = signedBy(&ExpressionParser::exponent);
            result = makeBinary(offset, power->op, std::move(result), std::move(exponent));
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
        std::string name = result->kind == Kind::kName ? result->name : "";
        Expressions parts;
        if (name.empty()) {
            parts.push_back(std::move(result));
        }
        arguments(parts);
        result = makeCall(Kind::kApply, offset, std::move(name), std::move(parts));
    }
    return result;
}

void ExpressionParser::arguments(Expressions& parts)
{
    const bool outer = std::exchange(inMatrix_, false);
    if (!current().is(")")) {
        do {
            parts.push_back(argument());
        } while (accept(","));
    }
    expect(")");
    inMatrix_ = outer;
}

ExpressionPtr ExpressionParser::argument()
{
    if (current().is(":") && (next().is(",") || next().is(")"))) {
        return makeLiteral(tokens_[at_++].offset, Value(kx::kxCreateColon()));
    }
    return expression();
}

ExpressionPtr ExpressionParser::primary()
{
    const Token& token = current();
    switch (token.kind) {
    case TokenKind::kNumber:
        ++at_;
        return makeLiteral(token.offset, Value::number(token.number));
    case TokenKind::kImaginary:
        ++at_;
        return makeLiteral(token.offset, Value::complexNumber(0, token.number));
    case TokenKind::kString:
        ++at_;
        return makeLiteral(token.offset, Value::text(token.text));
    case TokenKind::kName:
        ++at_;
        return makeCall(Kind::kName, token.offset, token.text, {});
    case TokenKind::kEnd:
        ++at_;
        return makeNode(Kind::kEnd, token.offset);
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
    Expressions rows;
    Expressions row;
    const auto closeRow = [&] {
        if (!row.empty()) {
            rows.push_back(makeNode(Kind::kRow, offset, std::exchange(row, {})));
        }
    };
    while (!accept("]")) {
        if (current().kind == TokenKind::kSemicolon || current().kind == TokenKind::kNewline) {
            closeRow();
            ++at_;
        } else {
            if (!row.empty()) {
                accept(",");
            }
            if (!current().is("]") && current().kind != TokenKind::kNewline) {
                row.push_back(expression());
            }
        }
    }
    closeRow();
    inMatrix_ = outer;
    return makeNode(Kind::kMatrix, offset, std::move(rows));
}

} // namespace kxsh
