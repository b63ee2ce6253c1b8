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
class Parser
{
  public:
    explicit Parser(std::string_view source) : source_(source), tokens_(source) {}

    Block run()
    {
        Block statements = block();
        if (tokens_.current().kind == TokenKind::kKeyword) {
            throw SyntaxError(fmt::format("'{}' stands outside a block", tokens_.current().text),
                              tokens_.current().offset);
        }
        return statements;
    }

  private:
    /// Statements up to the end of the text, or to the word that ends or divides the block.
    Block block()
    {
        Block statements;
        while (skipSeparators() && !atKeyword("end") && !atKeyword("elseif") && !atKeyword("else")) {
            pollInterrupt();
            statements.push_back(statement());
        }
        return statements;
    }

    /// Moves to the next statement; false at the end of the text.
    bool skipSeparators()
    {
        while (tokens_.current().kind != TokenKind::kEndOfText && endsStatement(tokens_.current())) {
            tokens_.advance();
        }
        return tokens_.current().kind != TokenKind::kEndOfText;
    }

    [[nodiscard]] bool atKeyword(std::string_view word) const
    {
        return tokens_.current().kind == TokenKind::kKeyword && tokens_.current().text == word;
    }
    bool acceptKeyword(std::string_view word)
    {
        const bool found = atKeyword(word);
        if (found) {
            tokens_.advance();
        }
        return found;
    }

    static bool endsStatement(const Token& token)
    {
        return token.kind == TokenKind::kEndOfText || token.kind == TokenKind::kNewline ||
               token.kind == TokenKind::kSemicolon || token.is(",");
    }

    Statement statement()
    {
        const ExpressionParser::Nesting nesting(tokens_);
        Statement result{};
        result.offset = tokens_.current().offset;
        const bool divides = tokens_.current().kind == TokenKind::kKeyword;
        result.action = divides ? control() : action();
        if (!endsStatement(tokens_.current()) && !(divides && tokens_.current().kind == TokenKind::kKeyword)) {
            tokens_.unexpected();
        }
        result.prints = tokens_.current().kind != TokenKind::kSemicolon;
        const std::string_view text = source_.substr(result.offset, tokens_.previous().stop - result.offset);
        result.source = trimmed(text.substr(0, text.find('\n')));
        return result;
    }

    decltype(Statement::action) control()
    {
        const std::size_t first = tokens_.current().offset;
        if (acceptKeyword("break") || acceptKeyword("continue")) {
            if (loops_ == 0) {
                throw SyntaxError(fmt::format("'{}' stands outside a loop", tokens_.previous().text), first);
            }
            return JumpStatement{tokens_.previous().text == "break" ? Flow::kBreak : Flow::kContinue};
        }
        if (acceptKeyword("if")) {
            return branches(first);
        }
        if (acceptKeyword("for")) {
            return forLoop(first);
        }
        if (acceptKeyword("while")) {
            ExpressionPtr condition = tokens_.expression();
            return LoopStatement{"", std::move(condition), loopBody(first)};
        }
        tokens_.unexpected();
    }

    IfStatement branches(std::size_t first)
    {
        IfStatement result;
        do {
            ExpressionPtr condition = tokens_.expression();
            result.branches.push_back({std::move(condition), block()});
        } while (acceptKeyword("elseif"));
        if (acceptKeyword("else")) {
            result.branches.push_back({nullptr, block()});
        }
        endBlock(first);
        return result;
    }

    LoopStatement forLoop(std::size_t first)
    {
        const bool inParentheses = tokens_.accept("(");
        if (tokens_.current().kind != TokenKind::kName) {
            tokens_.unexpected();
        }
        LoopStatement result{tokens_.current().text, nullptr, {}};
        tokens_.advance();
        tokens_.expect("=");
        result.control = tokens_.expression();
        if (inParentheses) {
            tokens_.expect(")");
        }
        result.body = loopBody(first);
        return result;
    }

    Block loopBody(std::size_t first)
    {
        ++loops_;
        Block body = block();
        --loops_;
        endBlock(first);
        return body;
    }

    void endBlock(std::size_t first)
    {
        if (acceptKeyword("end")) {
            return;
        }
        if (tokens_.current().kind != TokenKind::kEndOfText) {
            tokens_.unexpected();
        }
        const std::string_view word = source_.substr(first, source_.find_first_of(" \t(\r\n", first) - first);
        throw SyntaxError(fmt::format("'{}' is never closed by 'end'", word), first);
    }

    decltype(Statement::action) action()
    {
        if (tokens_.current().kind == TokenKind::kName) {
            const std::string& word = tokens_.current().text;
            const Token& next = tokens_.next();
            if ((word == "quit" || word == "exit") && endsStatement(next)) {
                tokens_.advance();
                return JumpStatement{Flow::kQuit};
            }
            if ((word == "help" && endsStatement(next)) ||
                ((word == "help" || word == "clear") && next.kind == TokenKind::kName)) {
                return command();
            }
        }
        const bool bracketed = tokens_.current().is("[");
        ExpressionPtr expression = tokens_.expression();
        if (!tokens_.current().is("=")) {
            return ExpressionStatement{std::move(expression)};
        }
        return assignment(std::move(expression), bracketed);
    }

    /// clear NAME NAME is the call clear('NAME', 'NAME').
    ExpressionStatement command()
    {
        const Token& word = tokens_.current();
        Expressions names;
        for (tokens_.advance(); tokens_.current().kind == TokenKind::kName; tokens_.advance()) {
            names.push_back(makeLiteral(tokens_.current().offset, Value::text(tokens_.current().text)));
        }
        return {makeCall(Kind::kCommand, word.offset, word.text, std::move(names))};
    }

    Target target(ExpressionPtr expression)
    {
        const bool subscripted = expression->kind == Kind::kApply;
        if (expression->name.empty()) {
            throw SyntaxError("the left of '=' is a name or a subscripted name", tokens_.current().offset);
        }
        return {std::move(expression->name), subscripted, std::move(expression->parts)};
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
        tokens_.expect("=");
        result.value = tokens_.expression();
        result.deletes = result.targets.size() == 1 && result.targets.front().subscripted &&
                         result.value->kind == Kind::kMatrix && result.value->parts.empty();
        return result;
    }

    std::string_view source_;
    ExpressionParser tokens_;
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
