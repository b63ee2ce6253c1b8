#include "completion.hpp"

#include "error.hpp"
#include "functions.hpp"
#include "lexer.hpp"

#include <algorithm>
#include <filesystem>
#include <set>

namespace kxsh {

namespace {

namespace fs = std::filesystem;

/// Where the string begins that is still open at the end of a text; npos for none.
std::size_t openString(std::string_view text)
{
    try {
        tokenize(text);
    } catch (const SyntaxError& error) {
        if (text[error.offset()] == '"' || text[error.offset()] == '\'') {
            return error.offset();
        }
    }
    return std::string_view::npos;
}

/// f(name) for the files of the folder in which a file name has been begun.
template <typename F>
void forEachFile(std::string_view begun, F f)
{
    const std::string folder(begun.substr(0, begun.rfind('/') + 1));
    std::error_code error;
    fs::directory_iterator entries(folder.empty() ? "." : folder, error);
    for (; !error && entries != fs::directory_iterator(); entries.increment(error)) {
        std::error_code ignored;
        f(folder + entries->path().filename().string() + (entries->is_directory(ignored) ? "/" : ""));
    }
}

/// f(name) for the variables, functions and words of the language.
template <typename F>
void forEachWord(const Session& session, F f)
{
    forEachName(session, f);
    std::ranges::for_each(kKeywords, f);
    f("exit");
    f("quit");
}

} // namespace

Completion complete(const Session& session, std::string_view beforeCursor)
{
    const std::size_t quote = openString(beforeCursor);
    const bool isFile = quote != std::string_view::npos;
    const std::string_view begun = // no place plus one is the first
        beforeCursor.substr((isFile ? quote : beforeCursor.find_last_not_of(kNameParts)) + 1);
    std::set<std::string> found;
    const auto add = [&](std::string_view name) {
        if (name.starts_with(begun)) {
            found.emplace(name);
        }
    };
    isFile ? forEachFile(begun, add) : forEachWord(session, add);
    Completion result{begun.size(), {found.begin(), found.end()}, ""};
    if (!found.empty()) { // in order, the first and the last differ soonest
        const std::string& first = *found.begin();
        const std::string& last = *found.rbegin();
        result.common.assign(first.begin(), std::ranges::mismatch(first, last).in1);
    }
    return result;
}

} // namespace kxsh
