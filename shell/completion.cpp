#include "completion.hpp"

#include "error.hpp"
#include "functions.hpp"
#include "lexer.hpp"

#include <algorithm>
#include <cctype>
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

void addFiles(std::set<std::string>& found, std::string_view begun)
{
    const std::size_t slash = begun.rfind('/');
    const std::string folder(slash == std::string_view::npos ? "" : begun.substr(0, slash + 1));
    std::error_code error;
    fs::directory_iterator entries(folder.empty() ? fs::path(".") : fs::path(folder), error);
    for (; !error && entries != fs::directory_iterator(); entries.increment(error)) {
        std::error_code ignored;
        const std::string name = folder + entries->path().filename().string();
        if (name.starts_with(begun)) {
            found.insert(entries->is_directory(ignored) ? name + '/' : name);
        }
    }
}

void addNames(std::set<std::string>& found, const Session& session, std::string_view begun)
{
    const auto add = [&](std::string_view name) {
        if (name.starts_with(begun)) {
            found.emplace(name);
        }
    };
    for (const auto& [name, value] : session.variables) {
        add(name);
    }
    for (const Topic& topic : topics()) {
        for (const Function& function : topic.functions) {
            add(function.name);
        }
    }
    for (const std::string_view word :
         {"break", "continue", "else", "elseif", "end", "exit", "for", "if", "quit", "while"}) {
        add(word);
    }
}

std::string commonStart(const std::vector<std::string>& candidates)
{
    // In order, the first and the last differ soonest.
    const std::string& first = candidates.front();
    const std::string& last = candidates.back();
    const auto differ = std::mismatch(first.begin(), first.end(), last.begin(), last.end());
    return {first.begin(), differ.first};
}

} // namespace

Completion complete(const Session& session, std::string_view beforeCursor)
{
    std::set<std::string> found;
    Completion result;
    const std::size_t quote = openString(beforeCursor);
    if (quote != std::string_view::npos) {
        const std::string_view begun = beforeCursor.substr(quote + 1);
        result.begun = begun.size();
        addFiles(found, begun);
    } else {
        std::size_t start = beforeCursor.size();
        while (start > 0 && (std::isalnum(static_cast<unsigned char>(beforeCursor[start - 1])) != 0 ||
                             beforeCursor[start - 1] == '_')) {
            --start;
        }
        result.begun = beforeCursor.size() - start;
        addNames(found, session, beforeCursor.substr(start));
    }
    result.candidates.assign(found.begin(), found.end());
    if (!result.candidates.empty()) {
        result.common = commonStart(result.candidates);
    }
    return result;
}

} // namespace kxsh
