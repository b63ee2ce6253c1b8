// Source text to statements.
#ifndef KXSH_PARSER_HPP
#define KXSH_PARSER_HPP

#include "ast.hpp"

#include <string_view>
#include <vector>

namespace kxsh {

/// All statements of a source text. Raises SyntaxError.
std::vector<Statement> parse(std::string_view source);

/// The 1-based line of a byte of the source, and that line's text without surrounding blanks.
struct SourceLine
{
    std::size_t number;
    std::string_view text;
};
SourceLine lineAt(std::string_view source, std::size_t offset);

} // namespace kxsh

#endif
