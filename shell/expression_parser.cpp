#include "expression_parser.hpp"

#include "error.hpp"

#include <fmt/format.h>

#include <algorithm>

namespace kxsh {

namespace {

// Far below what the stack holds, for reading, carrying out and forgetting an expression alike.
constexpr int kMaxDepth = 250;
constexpr int kMaxHeight = 1500;

int heightOf(const ExpressionPtr& operand)
{
    return operand ? operand->height : 0;
}

int heightOf(const std::vector<ExpressionPtr>& operands)
{
    int height = 0;
    for (const ExpressionPtr& operand : operands) {
        height = std::max(height, heightOf(operand));
    }
    return height;
}

} // namespace

ExpressionParser::Nesting::Nesting(ExpressionParser& parser) : parser_(parser)
{
    if (parser_.depth_ >= kMaxDepth) {
        throw SyntaxError("the expression is nested too deeply", parser_.current().offset);
    }
    ++parser_.depth_;
}

/// A node at `offset`, higher by one than the highest of its operands.
template <typename Node>
ExpressionPtr ExpressionParser::make(std::size_t offset, Node node, int highest)
{
    if (highest >= kMaxHeight) {
        throw SyntaxError("the expression is too long", offset);
    }
    return std::make_unique<Expression>(Expression{std::move(node), offset, highest + 1});
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

/// Inside brackets, `a -b` are two elements: a sign that stands apart on its left only starts a new one.
bool ExpressionParser::startsElement() const
{
    return inMatrix_ && current().spaceBefore && !next().spaceBefore;
}

std::optional<BinaryOperator> ExpressionParser::acceptOneOf(std::initializer_list<OperatorChoice> choices)
{
    for (const auto& [text, op] : choices) {
        if (accept(text)) {
            return op;
        }
    }
    return std::nullopt;
}

/// Operands of one level joined by operators that bind alike, from left to right.
ExpressionPtr ExpressionParser::chain(Level operand, std::initializer_list<OperatorChoice> choices)
{
    ExpressionPtr left = (this->*operand)();
    for (;;) {
        const std::size_t offset = current().offset;
        if ((current().is("+") || current().is("-")) && startsElement()) {
            return left;
        }
        const auto op = acceptOneOf(choices);
        if (!op) {
            return left;
        }
        ExpressionPtr right = (this->*operand)();
        BinaryNode node{*op, std::move(left), std::move(right)};
        const int highest = std::max(heightOf(node.left), heightOf(node.right));
        left = make(offset, std::move(node), highest);
    }
}

ExpressionPtr ExpressionParser::disjunction()
{
    const Nesting nesting(*this);
    return chain(&ExpressionParser::conjunction, {{"|", BinaryOperator::kOr}});
}

ExpressionPtr ExpressionParser::conjunction()
{
    return chain(&ExpressionParser::comparison, {{"&", BinaryOperator::kAnd}});
}

ExpressionPtr ExpressionParser::comparison()
{
    return chain(&ExpressionParser::range, {{"==", BinaryOperator::kEqual},
                                            {"~=", BinaryOperator::kNotEqual},
                                            {"<", BinaryOperator::kLess},
                                            {"<=", BinaryOperator::kLessEqual},
                                            {">", BinaryOperator::kGreater},
                                            {">=", BinaryOperator::kGreaterEqual}});
}

ExpressionPtr ExpressionParser::range()
{
    ExpressionPtr start = sum();
    if (!current().is(":") || next().is(")") || next().is(",")) {
        return start;
    }
    const std::size_t offset = current().offset;
    ++at_;
    ExpressionPtr stop = sum();
    ExpressionPtr step;
    if (accept(":")) {
        step = std::exchange(stop, sum());
    }
    const int highest = std::max({heightOf(start), heightOf(step), heightOf(stop)});
    return make(offset, RangeNode{std::move(start), std::move(step), std::move(stop)}, highest);
}

ExpressionPtr ExpressionParser::sum()
{
    return chain(&ExpressionParser::product, {{"+", BinaryOperator::kAdd}, {"-", BinaryOperator::kSubtract}});
}

ExpressionPtr ExpressionParser::product()
{
    return chain(&ExpressionParser::sign, {{"*", BinaryOperator::kMultiply},
                                           {"/", BinaryOperator::kDivide},
                                           {"\\", BinaryOperator::kSolve},
                                           {".*", BinaryOperator::kMultiplyEach},
                                           {"./", BinaryOperator::kDivideEach}});
}

ExpressionPtr ExpressionParser::sign()
{
    const Nesting nesting(*this);
    const std::size_t offset = current().offset;
    if (accept("-")) {
        return negated(offset, sign());
    }
    if (accept("~")) {
        return inverted(offset, sign());
    }
    if (accept("+")) {
        return sign();
    }
    return postfix();
}

/// Transposes and powers bind alike; the exponent takes calls and signs only.
ExpressionPtr ExpressionParser::postfix()
{
    ExpressionPtr result = called();
    for (;;) {
        const std::size_t offset = current().offset;
        if (current().is("'") || current().is(".'")) {
            const bool conjugates = current().is("'");
            ++at_;
            const int highest = heightOf(result);
            result = called(make(offset, TransposeNode{std::move(result), conjugates}, highest));
        } else if (const auto op = acceptOneOf({{".^", BinaryOperator::kPowerEach}, {"^", BinaryOperator::kPower}})) {
            ExpressionPtr power = exponent();
            const int highest = std::max(heightOf(result), heightOf(power));
            result = make(offset, BinaryNode{*op, std::move(result), std::move(power)}, highest);
        } else {
            return result;
        }
    }
}

ExpressionPtr ExpressionParser::exponent()
{
    const Nesting nesting(*this);
    const std::size_t offset = current().offset;
    if (accept("-")) {
        return negated(offset, exponent());
    }
    return accept("+") ? exponent() : called();
}

ExpressionPtr ExpressionParser::negated(std::size_t offset, ExpressionPtr operand)
{
    const int highest = heightOf(operand);
    return make(offset, NegateNode{std::move(operand)}, highest);
}

ExpressionPtr ExpressionParser::inverted(std::size_t offset, ExpressionPtr operand)
{
    const int highest = heightOf(operand);
    return make(offset, NotNode{std::move(operand)}, highest);
}

ExpressionPtr ExpressionParser::called()
{
    return called(primary());
}

/// `result` with the parentheses that follow it.
ExpressionPtr ExpressionParser::called(ExpressionPtr result)
{
    while (current().is("(") && !(inMatrix_ && current().spaceBefore)) {
        ++at_;
        const std::size_t offset = result->offset;
        std::vector<ExpressionPtr> inner = arguments();
        const int highest = std::max(heightOf(result), heightOf(inner));
        result = make(offset, ApplyNode{std::move(result), std::move(inner)}, highest);
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
        return make(tokens_[at_++].offset, ColonNode{});
    }
    return expression();
}

ExpressionPtr ExpressionParser::primary()
{
    const Token& token = current();
    switch (token.kind) {
    case TokenKind::kNumber:
    case TokenKind::kImaginary:
        ++at_;
        return make(token.offset, NumberNode{token.number, token.kind == TokenKind::kImaginary});
    case TokenKind::kString:
        ++at_;
        return make(token.offset, StringNode{token.text});
    case TokenKind::kName:
        ++at_;
        return make(token.offset, NameNode{token.text});
    case TokenKind::kEnd:
        ++at_;
        return make(token.offset, EndNode{});
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
    MatrixNode result;
    int highest = 0;
    bool rowOpen = false;
    while (!accept("]")) {
        if (current().kind == TokenKind::kSemicolon || current().kind == TokenKind::kNewline) {
            rowOpen = false;
            ++at_;
            continue;
        }
        if (!rowOpen) {
            result.rows.emplace_back();
            rowOpen = true;
        } else {
            accept(",");
            if (current().is("]") || current().kind == TokenKind::kNewline) {
                continue;
            }
        }
        result.rows.back().push_back(expression());
        highest = std::max(highest, heightOf(result.rows.back().back()));
    }
    inMatrix_ = outer;
    return make(offset, std::move(result), highest);
}

} // namespace kxsh
