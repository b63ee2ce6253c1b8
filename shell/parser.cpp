#include "parser.hpp"

#include "error.hpp"
#include "expression_parser.hpp"
#include "interrupt.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace kxsh {

namespace {

std::string_view trimmed(std::string_view text)
{
    const auto first = text.find_first_not_of(" \t\r");
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

/// Splits a text into statements and tells their kinds.
class Parser : ExpressionParser
{
  public:
    explicit Parser(std::string_view source) : ExpressionParser(source) {}

    Block run()
    {
        Block statements = block();
        if (current().kind == TokenKind::kKeyword) {
            throw SyntaxError(fmt::format("'{}' stands outside a block", current().text), current().offset);
        }
        return statements;
    }

  private:
    /// Statements up to the end of the text, or to the word that ends or divides the block.
    Block block()
    {
        Block statements;
        for (;;) {
            while (accept(";") || accept("\n") || accept(",")) {
            }
            if (current().kind == TokenKind::kEndOfText || current().is("end") || current().is("elseif") ||
                current().is("else")) {
                return statements;
            }
            pollInterrupt();
            statements.push_back(nested([this] { return statement(); }));
        }
    }

    static bool endsStatement(const Token& token)
    {
        return token.kind == TokenKind::kEndOfText || token.is(";") || token.is("\n") || token.is(",");
    }

    Statement statement()
    {
        Statement result{};
        result.offset = current().offset;
        const bool divides = current().kind == TokenKind::kKeyword;
        result.action = divides ? control() : action();
        if (!endsStatement(current()) && !(divides && current().kind == TokenKind::kKeyword)) {
            unexpected();
        }
        result.prints = !current().is(";");
        const std::string_view text = source_.substr(result.offset, previous().stop - result.offset);
        result.source = trimmed(text.substr(0, text.find('\n')));
        return result;
    }

    decltype(Statement::action) control()
    {
        const std::size_t first = current().offset;
        if (accept("break") || accept("continue")) {
            if (loops_ == 0) {
                throw SyntaxError(fmt::format("'{}' stands outside a loop", previous().text), first);
            }
            return previous().is("break") ? Flow::kBreak : Flow::kContinue;
        }
        if (accept("if")) {
            return branches(first);
        }
        LoopStatement loop;
        if (accept("for")) {
            const bool inParentheses = accept("(");
            if (current().kind != TokenKind::kName) {
                unexpected();
            }
            loop.name = current().text;
            advance();
            expect("=");
            loop.control = expression();
            if (inParentheses) {
                expect(")");
            }
        } else {
            expect("while");
            loop.control = expression();
        }
        ++loops_;
        loop.body = block();
        --loops_;
        endBlock(first);
        return loop;
    }

    IfStatement branches(std::size_t first)
    {
        IfStatement result;
        do {
            ExpressionPtr condition = expression();
            result.branches.push_back({std::move(condition), block()});
        } while (accept("elseif"));
        if (accept("else")) {
            result.branches.push_back({nullptr, block()});
        }
        endBlock(first);
        return result;
    }

    void endBlock(std::size_t first)
    {
        if (current().kind != TokenKind::kEndOfText) {
            return expect("end");
        }
        const std::string_view word = source_.substr(first, source_.find_first_of(" \t(\r\n", first) - first);
        throw SyntaxError(fmt::format("'{}' is never closed by 'end'", word), first);
    }

    decltype(Statement::action) action()
    {
        if (current().kind == TokenKind::kName) {
            const std::string& word = current().text;
            if ((word == "quit" || word == "exit") && endsStatement(next())) {
                advance();
                return Flow::kQuit;
            }
            if ((word == "help" && endsStatement(next())) ||
                ((word == "help" || word == "clear") && next().kind == TokenKind::kName)) {
                return command();
            }
        }
        const bool bracketed = current().is("[");
        ExpressionPtr left = expression();
        if (!current().is("=")) {
            return left;
        }
        return assignment(std::move(left), bracketed);
    }

    /// clear NAME NAME is the call clear('NAME', 'NAME').
    ExpressionPtr command()
    {
        Expression call{.kind = Kind::kCommand, .offset = current().offset, .name = current().text};
        for (advance(); current().kind == TokenKind::kName; advance()) {
            call.parts.push_back(makeLiteral(current().offset, Value::text(current().text)));
        }
        return makeNode(std::move(call));
    }

    Target target(ExpressionPtr place)
    {
        if (place->name.empty()) {
            throw SyntaxError("the left of '=' is a name or a subscripted name", current().offset);
        }
        return {std::move(place->name), place->kind == Kind::kApply, std::move(place->parts)};
    }

    AssignStatement assignment(ExpressionPtr left, bool bracketed)
    {
        AssignStatement result;
        if (bracketed && left->kind == Kind::kMatrix && left->parts.size() == 1) {
            for (ExpressionPtr& each : left->parts.front()->parts) {
                result.targets.push_back(target(std::move(each)));
            }
        } else {
            result.targets.push_back(target(std::move(left)));
        }
        expect("=");
        result.value = expression();
        result.deletes = result.targets.size() == 1 && result.targets.front().subscripted &&
                         result.value->kind == Kind::kMatrix && result.value->parts.empty();
        return result;
    }

    int loops_ = 0; ///< around the current statement
};

} // namespace

Block parse(std::string_view source)
{
    return Parser(source).run();
}

SourcePlace placeOf(std::string_view source, std::size_t offset)
{
    offset = std::min(offset, source.size());
    const auto newlines = std::count(source.begin(), source.begin() + static_cast<std::ptrdiff_t>(offset), '\n');
    const auto before = offset == 0 ? std::string_view::npos : source.rfind('\n', offset - 1);
    const std::size_t first = before == std::string_view::npos ? 0 : before + 1;
    const std::size_t last = std::min(source.find('\n', first), source.size());
    return {static_cast<std::size_t>(newlines) + 1, offset - first + 1, trimmed(source.substr(first, last - first))};
}

} // namespace kxsh
