// The functions of the language: one table that calls, help and completion share.
#ifndef KXSH_FUNCTIONS_HPP
#define KXSH_FUNCTIONS_HPP

#include "session.hpp"
#include "value.hpp"

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kxsh {

using Arguments = std::span<const Value>;

struct Function
{
    std::string_view name;
    std::size_t leastArguments;
    std::size_t mostArguments;
    std::string_view usage;
    std::string_view summary; ///< fits the line of a list
    std::string_view details; ///< what else there is to say; lines broken, may be empty
    std::string_view example;
    /// The empty handle where the function only acts; mostResults is 0 then.
    Value (*call)(Session&, Arguments);
    /// As many results as asked for, two up to mostResults; null for functions of one.
    std::vector<Value> (*callForSeveral)(Session&, Arguments, std::size_t) = nullptr;
    std::size_t mostResults = 1;
};

constexpr std::size_t kAnyNumber = static_cast<std::size_t>(-1);

// The topics, in the order in which help lists them.
extern const std::span<const Function> creationFunctions;
extern const std::span<const Function> conversionFunctions;
extern const std::span<const Function> inspectionFunctions;
extern const std::span<const Function> partFunctions;
extern const std::span<const Function> reductionFunctions;
extern const std::span<const Function> fileFunctions;
extern const std::span<const Function> sessionFunctions;

struct Topic
{
    std::string_view title;
    std::span<const Function> functions;
};
std::span<const Topic> topics();

/// f(name) for all variables and functions.
template <typename F>
void forEachName(const Session& session, F f)
{
    for (const auto& [name, value] : session.variables) {
        f(name);
    }
    for (const Topic& topic : topics()) {
        for (const Function& function : topic.functions) {
            f(function.name);
        }
    }
}

/// Null for an unknown name.
const Function* findFunction(std::string_view name);
/// Calls with checked argument count. Raises kxsh:arguments, and kxsh:noValue where a value is `needed` of a function
/// that only acts.
Value callFunction(const Function& function, Session& session, Arguments arguments, bool needed = true);
/// The same for two or more results. Raises kxsh:arguments where the function has fewer.
std::vector<Value> callForSeveral(const Function& function, Session& session, Arguments arguments, std::size_t results);
/// The known name closest to a mistyped one among functions and variables; empty when none is close.
std::string closestName(const Session& session, std::string_view name);
/// Prints the text of `help` or `help topic`, page by page where the session can. Raises kxsh:undefined for an unknown
/// topic.
void showHelp(Session& session, std::string_view topic);
/// All functions for a document: Markdown, or the roff of a manual page.
enum class PageFormat
{
    kMarkdown,
    kManual
};
std::string functionPage(PageFormat format);

// Arguments as C++ values; all raise kxsh:arguments, naming the argument as `what`.
double realScalar(const Value& value, std::string_view what);
/// A whole number from 0 to the maximum number of elements.
unsigned sizeArgument(const Value& value, std::string_view what);
std::string textArgument(const Value& value, std::string_view what);
/// A name of a file, which holds no NUL.
std::string fileArgument(const Value& value);

} // namespace kxsh

#endif
