#include "functions.hpp"

#include "error.hpp"
#include "printing.hpp"

#include <fast_float/fast_float.h>

#include <algorithm>
#include <chrono>

namespace kxsh {

namespace {

double seconds()
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration<double>(now).count();
}

Value print(Session& session, Arguments arguments)
{
    std::vector<std::string> texts;
    for (const Value& argument : arguments) {
        texts.push_back(inlineText(argument));
    }
    session.print(fmt::format("{}\n", fmt::join(texts, " ")));
    return Value();
}

Value vars(Session& session, Arguments)
{
    std::size_t widest = 0;
    for (const auto& [name, value] : session.variables) {
        widest = std::max(widest, name.size());
    }
    for (const auto& [name, value] : session.variables) {
        session.out << fmt::format("  {:<{}}  {}, {} bytes\n", name, widest, describe(value), bytesOf(value));
    }
    if (session.variables.empty()) {
        session.out << "  no variables yet\n";
    }
    return Value();
}

Value clear(Session& session, Arguments arguments)
{
    std::vector<std::string> names;
    for (const Value& argument : arguments) {
        names.push_back(textArgument(argument, "the name"));
        require(session.variables.contains(names.back()), "kxsh:undefined", "there is no variable '{}'", names.back());
    }
    for (const std::string& name : names) {
        session.variables.erase(name);
    }
    if (names.empty()) {
        session.variables.clear();
    }
    return Value();
}

/// A number where the text of the argument is one.
Value argument(Session& session, Arguments arguments)
{
    if (arguments.empty()) {
        return Value::number(static_cast<double>(session.arguments.size()));
    }
    const unsigned k = sizeArgument(arguments[0], "the place of the argument");
    require(k >= 1 && k <= session.arguments.size(), "kxsh:arguments",
            "there is no argument {}; the script has been given {}", k, session.arguments.size());
    const std::string& text = session.arguments[k - 1];
    double number = 0;
    const auto [stop, status] = fast_float::from_chars(text.data(), text.data() + text.size(), number);
    return status == std::errc() && stop == text.data() + text.size() ? Value::number(number) : Value::text(text);
}

constexpr Function kFunctions[] = {
    {"clock", 0, 0, "clock", "Seconds on a clock that runs evenly, for timing", "",
     "t = clock; p = randperm(1e6, 1); clock - t", [](Session&, Arguments) { return Value::number(seconds()); }},
    {"print", 0, kAnyNumber, "print(x,...)", "Prints strings and numbers on one line",
     "Of an array, its description is printed.", "print('entries:', nnz(speye(3)))", print, nullptr, 0},
    {"printf", 1, kAnyNumber, "printf(format,x,...)", "Prints numbers and strings by a format",
     "%d %i %u %x %o %c %s %f %e %g with flags, width and precision, %% and the escapes\n"
     "  \\n \\t \\r \\\\ are known. The elements of arrays are taken one by one, and the format\n"
     "  again while some are left.",
     "printf('%3d squared is %g\\n', [1 2; 1 4])",
     [](Session& session, Arguments a) {
         session.print(formatted(textArgument(a[0], "the format"), a.subspan(1)));
         return Value();
     },
     nullptr, 0},
    {"disp", 1, 1, "disp(A)", "Prints an array without its name", "", "disp([1 2; 3 4])",
     [](Session& session, Arguments a) {
         session.print(valueText("", a[0], session.width));
         return Value();
     },
     nullptr, 0},
    {"tic", 0, 0, "tic", "Starts a stopwatch", "", "tic",
     [](Session& session, Arguments) {
         session.ticked = seconds();
         return Value();
     },
     nullptr, 0},
    {"toc", 0, 0, "toc", "Seconds since tic", "", "tic; A = speye(1000); t = toc;",
     [](Session& session, Arguments) { return Value::number(seconds() - session.ticked); }},
    {"vars", 0, 0, "vars", "Lists the variables with class, shape and bytes", "", "vars", vars, nullptr, 0},
    {"clear", 0, kAnyNumber, "clear", "Forgets all variables", "clear x y forgets those named.", "x = 1; clear x",
     clear, nullptr, 0},
    {"argument", 0, 1, "argument(k)", "Argument k of the script, a number where it is one",
     "argument alone is how many there are: kxsh script.kx 12 name has two.", "argument", argument},
    {"help", 0, 1, "help NAME", "Tells about a function; help alone lists everything", "", "help sparse",
     [](Session& session, Arguments a) {
         showHelp(session, a.empty() ? "" : textArgument(a[0], "the topic"));
         return Value();
     },
     nullptr, 0},
};

} // namespace

const std::span<const Function> sessionFunctions = kFunctions;

} // namespace kxsh
