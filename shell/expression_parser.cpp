#include "expression_parser.hpp"

#include "error.hpp"

#include <fmt/format.h>

namespace kxsh {

namespace {

// Limits of one expression, far below what the stack holds: nested brackets and signs, and operators in a row.
constexpr int kMaxDepth = 250;
constexpr int kMaxLinks = 5000;

template <typename Node>
ExpressionPtr make(Node node)
{
    return std::make_unique<Expression>(Expression{std::move(node)});
}

} // namespace

/// Counts the nesting while it lives.
class ExpressionParser::Nesting
{
  public:
    explicit Nesting(ExpressionParser& parser) : parser_(parser)
    {
        if (++parser_.depth_ > kMaxDepth) {
            throw SyntaxError("the expression is nested too deeply", parser_.current().offset);
        }
    }
    ~Nesting() { --parser_.depth_; }
    Nesting(const Nesting&) = delete;
    Nesting& operator=(const Nesting&) = delete;

  private:
    ExpressionParser& parser_;
};

/// Counts one more operator of a chain.
void ExpressionParser::countLink(int& links) const
{
    if (++links > kMaxLinks) {
        throw SyntaxError("the expression is too long", current().offset);
    }
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
    case TokenKind::kEnd:
        throw SyntaxError("'end' stands here without a subscript", token.offset);
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

ExpressionPtr ExpressionParser::comparison()
{
    const Nesting nesting(*this);
    ExpressionPtr left = range();
    int links = 0;
    while (const auto op = acceptOneOf({{"==", BinaryOperator::kEqual},
                                        {"~=", BinaryOperator::kNotEqual},
                                        {"<", BinaryOperator::kLess},
                                        {"<=", BinaryOperator::kLessEqual},
                                        {">", BinaryOperator::kGreater},
                                        {">=", BinaryOperator::kGreaterEqual}})) {
        countLink(links);
        left = make(BinaryNode{*op, std::move(left), range()});
    }
    return left;
}

ExpressionPtr ExpressionParser::range()
{
    ExpressionPtr start = sum();
    if (!current().is(":") || next().is(")") || next().is(",")) {
        return start;
    }
    ++at_;
    ExpressionPtr stop = sum();
    ExpressionPtr step;
    if (accept(":")) {
        step = std::exchange(stop, sum());
    }
    return make(RangeNode{std::move(start), std::move(step), std::move(stop)});
}

ExpressionPtr ExpressionParser::sum()
{
    ExpressionPtr left = product();
    int links = 0;
    while ((current().is("+") || current().is("-")) && !startsElement()) {
        const auto op = acceptOneOf({{"+", BinaryOperator::kAdd}, {"-", BinaryOperator::kSubtract}});
        countLink(links);
        left = make(BinaryNode{*op, std::move(left), product()});
    }
    return left;
}

ExpressionPtr ExpressionParser::product()
{
    ExpressionPtr left = sign();
    int links = 0;
    while (const auto op = acceptOneOf({{"*", BinaryOperator::kMultiply}, {"/", BinaryOperator::kDivide}})) {
        countLink(links);
        left = make(BinaryNode{*op, std::move(left), sign()});
    }
    return left;
}

ExpressionPtr ExpressionParser::sign()
{
    const Nesting nesting(*this);
    if (accept("-")) {
        return make(NegateNode{sign()});
    }
    if (accept("+")) {
        return sign();
    }
    return postfix();
}

ExpressionPtr ExpressionParser::postfix()
{
    ExpressionPtr result = primary();
    int links = 0;
    for (;;) {
        countLink(links);
        if (current().is("(") && !(inMatrix_ && current().spaceBefore)) {
            ++at_;
            result = make(ApplyNode{std::move(result), arguments()});
        } else if (accept("'")) {
            result = make(TransposeNode{std::move(result)});
        } else {
            return result;
        }
    }
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
        ++at_;
        return make(ColonNode{});
    }
    return comparison();
}

ExpressionPtr ExpressionParser::primary()
{
    const Token& token = current();
    switch (token.kind) {
    case TokenKind::kNumber:
    case TokenKind::kImaginary:
        ++at_;
        return make(NumberNode{token.number, token.kind == TokenKind::kImaginary});
    case TokenKind::kString:
        ++at_;
        return make(StringNode{token.text});
    case TokenKind::kName:
        ++at_;
        return make(NameNode{token.text});
    case TokenKind::kEnd:
        ++at_;
        return make(EndNode{});
    default:
        break;
    }
    if (accept("(")) {
        const bool outer = std::exchange(inMatrix_, false);
        ExpressionPtr inner = comparison();
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
    MatrixNode result;
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
        result.rows.back().push_back(comparison());
    }
    inMatrix_ = outer;
    return make(std::move(result));
}

} // namespace kxsh
