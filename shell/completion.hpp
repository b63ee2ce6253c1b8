// What a name or a file name that has been begun may become.
#ifndef KXSH_COMPLETION_HPP
#define KXSH_COMPLETION_HPP

#include "session.hpp"

#include <string>
#include <string_view>
#include <vector>

namespace kxsh {

struct Completion
{
    std::size_t begun = 0;               ///< bytes before the cursor that the candidates replace
    std::vector<std::string> candidates; ///< in order, each beginning with what is there
    std::string common;                  ///< what all candidates have in common
};

/// Completes the text before the cursor: inside a string a file name, else a variable, function or word of the
/// language.
Completion complete(const Session& session, std::string_view beforeCursor);

} // namespace kxsh

#endif
