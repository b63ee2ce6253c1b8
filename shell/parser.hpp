// Source text to statements.
#ifndef KXSH_PARSER_HPP
#define KXSH_PARSER_HPP

#include "ast.hpp"

#include <cstddef>
#include <string_view>

namespace kxsh {

/// All statements of a source text. Raises SyntaxError.
Block parse(std::string_view source);

/// Where a byte of the source stands, from 1, and the text of its line without surrounding blanks.
struct SourcePlace
{
    std::size_t line;
    std::size_t column;
    std::string_view text;
};
SourcePlace placeOf(std::string_view source, std::size_t offset);

} // namespace kxsh

#endif
