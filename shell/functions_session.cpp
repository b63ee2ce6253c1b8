#include "functions.hpp"

#include "printing.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>

namespace kxsh {

namespace {

Value clock(Session&, Arguments)
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return Value::number(std::chrono::duration<double>(now).count());
}

Value print(Session& session, Arguments arguments)
{
    std::string line;
    for (const Value& argument : arguments) {
        line += inlineText(argument);
        line += ' ';
    }
    if (!line.empty()) {
        line.pop_back();
    }
    session.out << line << '\n';
    return Value();
}

Value vars(Session& session, Arguments)
{
    std::size_t widest = 0;
    for (const auto& [name, value] : session.variables) {
        widest = std::max(widest, name.size());
    }
    for (const auto& [name, value] : session.variables) {
        session.out << fmt::format("  {:<{}}  {}\n", name, widest, describe(value));
    }
    if (session.variables.empty()) {
        session.out << "  no variables yet\n";
    }
    return Value();
}

Value help(Session& session, Arguments arguments)
{
    session.out << helpText(session, arguments.empty() ? "" : textArgument(arguments[0], "the topic"));
    return Value();
}

constexpr Function kFunctions[] = {
    {"clock", 0, 0, "clock", "Seconds on a clock that runs evenly, for timing", "",
     "t = clock; p = randperm(1e6, 1); clock - t", clock},
    {"print", 0, kAnyNumber, "print(x,...)", "Prints strings and numbers on one line",
     "Of an array, its description is printed.", "print('entries:', nnz(speye(3)))", print},
    {"vars", 0, 0, "vars", "Lists the variables with class, shape and storage", "", "vars", vars},
    {"help", 0, 1, "help NAME", "Tells about a function; help alone lists everything", "", "help sparse", help},
};

} // namespace

std::span<const Function> sessionFunctions()
{
    return kFunctions;
}

} // namespace kxsh
