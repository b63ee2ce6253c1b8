#include "parser.hpp"

#include "error.hpp"
#include "expression_parser.hpp"
#include "interrupt.hpp"

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

    std::vector<Statement> run()
    {
        std::vector<Statement> statements;
        while (skipSeparators()) {
            pollInterrupt();
            statements.push_back(statement());
        }
        return statements;
    }

  private:
    /// Moves to the next statement; false at the end of the text.
    bool skipSeparators()
    {
        while (tokens_.current().kind == TokenKind::kNewline || tokens_.current().kind == TokenKind::kSemicolon ||
               tokens_.current().is(",")) {
            tokens_.advance();
        }
        return tokens_.current().kind != TokenKind::kEndOfText;
    }

    [[nodiscard]] bool atStatementEnd() const { return endsStatement(tokens_.current()); }
    static bool endsStatement(const Token& token)
    {
        return token.kind == TokenKind::kEndOfText || token.kind == TokenKind::kNewline ||
               token.kind == TokenKind::kSemicolon || token.is(",");
    }

    Statement statement()
    {
        const std::size_t first = tokens_.current().offset;
        Statement result{};
        result.action = action();
        if (!atStatementEnd()) {
            tokens_.unexpected();
        }
        result.prints = tokens_.current().kind != TokenKind::kSemicolon;
        const std::string_view text = source_.substr(first, tokens_.previous().stop - first);
        result.source = trimmed(text.substr(0, text.find('\n')));
        line_ += static_cast<std::size_t>(std::count(source_.begin() + static_cast<std::ptrdiff_t>(counted_),
                                                     source_.begin() + static_cast<std::ptrdiff_t>(first), '\n'));
        counted_ = first;
        result.line = line_;
        return result;
    }

    decltype(Statement::action) action()
    {
        if (tokens_.current().kind == TokenKind::kName) {
            const std::string& word = tokens_.current().text;
            if ((word == "quit" || word == "exit") && endsStatement(tokens_.next())) {
                tokens_.advance();
                return QuitStatement{};
            }
            if (word == "help" && (endsStatement(tokens_.next()) || tokens_.next().kind == TokenKind::kName)) {
                return help();
            }
        }
        ExpressionPtr expression = tokens_.expression();
        if (!tokens_.current().is("=")) {
            return ExpressionStatement{std::move(expression)};
        }
        return assignment(std::move(expression));
    }

    HelpStatement help()
    {
        tokens_.advance();
        HelpStatement result;
        if (!atStatementEnd()) {
            result.topic = tokens_.current().text;
            tokens_.advance();
        }
        return result;
    }

    AssignStatement assignment(ExpressionPtr target)
    {
        AssignStatement result;
        if (auto* apply = std::get_if<ApplyNode>(&target->node)) {
            result.subscripted = true;
            result.subscripts = std::move(apply->arguments);
            ExpressionPtr inner = std::move(apply->target);
            target = std::move(inner);
        }
        const auto* name = std::get_if<NameNode>(&target->node);
        if (name == nullptr) {
            throw SyntaxError("the left of '=' is a name or a subscripted name", tokens_.current().offset);
        }
        result.name = name->name;
        tokens_.expect("=");
        result.value = tokens_.expression();
        const auto* matrix = std::get_if<MatrixNode>(&result.value->node);
        result.deletes = result.subscripted && matrix != nullptr && matrix->rows.empty();
        return result;
    }

    std::string_view source_;
    ExpressionParser tokens_;
    std::size_t line_ = 1; ///< the line of byte counted_
    std::size_t counted_ = 0;
};

} // namespace

std::vector<Statement> parse(std::string_view source)
{
    return Parser(source).run();
}

SourceLine lineAt(std::string_view source, std::size_t offset)
{
    offset = std::min(offset, source.size());
    const auto newlines = std::count(source.begin(), source.begin() + static_cast<std::ptrdiff_t>(offset), '\n');
    const auto before = offset == 0 ? std::string_view::npos : source.rfind('\n', offset - 1);
    const std::size_t first = before == std::string_view::npos ? 0 : before + 1;
    const std::size_t last = std::min(source.find('\n', first), source.size());
    return {static_cast<std::size_t>(newlines) + 1, trimmed(source.substr(first, last - first))};
}

} // namespace kxsh
