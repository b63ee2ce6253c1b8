#include "functions.hpp"

#include "error.hpp"
#include "printing.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <regex>

namespace kxsh {

namespace {

/// Number of letters changed, added, left out or swapped with their neighbour that turn one name into the other.
std::size_t distanceOf(std::string_view a, std::string_view b)
{
    // d[i][j]: the distance between the first i letters of a and the first j of b
    std::vector<std::vector<std::size_t>> d(a.size() + 1, std::vector<std::size_t>(b.size() + 1));
    for (std::size_t i = 0; i <= a.size(); ++i) {
        for (std::size_t j = 0; j <= b.size(); ++j) {
            if (i == 0 || j == 0) {
                d[i][j] = i + j;
                continue;
            }
            d[i][j] = std::min({d[i - 1][j] + 1, d[i][j - 1] + 1, d[i - 1][j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1)});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
                d[i][j] = std::min(d[i][j], d[i - 2][j - 2] + 1);
            }
        }
    }
    return d.back().back();
}

constexpr std::string_view kLanguage =
    R"(Statements
  x = 3; z = 1 + 4i               a closing ; keeps a result from being printed
  v = [1 2; 3 4]   s = 'text'     full arrays, strings   # or % starts a comment
  1:5   10:-2:1                   ranges                 ... continues a line
  A(3)  A(2,:)  A(:,[1 3])        reading by subscripts
  A(end,1:end-1)  A(A > 0)        end is the last one; comparisons make masks
  A(2,3) = 7   A(v > 1) = 0       writing; an array grows where it has to
  A(:,2) = []                     deleting
  [i,j,v] = find(A)               several results
  + - * /  .* ./ .^  A \ b        matrix product, element by element, solving
  A'  A.'                         transposes, the first of the conjugate
  == ~= < <= > >=   & | ~         comparison, logic
  if c, ... elseif d, ... else, ... end
  for k = 1:n, ... end   while c, ... end   break   continue
  quit                            leaves the shell (also: exit, Ctrl-D)
)";

void requireCount(const Function& function, Arguments arguments)
{
    if (arguments.size() < function.leastArguments || arguments.size() > function.mostArguments) {
        fail("kxsh:arguments", "{} does not take {} argument{}; usage: {}", function.name, arguments.size(),
             arguments.size() == 1 ? "" : "s", function.usage);
    }
    for (const Value& argument : arguments) {
        require(!argument.isColon(), "kxsh:arguments", "{} takes no ':'; usage: {}", function.name, function.usage);
    }
}

std::string topicText(const Session& session, std::string_view topic)
{
    const Function* function = findFunction(topic);
    if (function == nullptr) {
        const std::string close = closestName(session, topic);
        fail("kxsh:undefined", "there is no function '{}'{}", topic,
             findFunction(close) == nullptr ? "; help lists them all" : fmt::format("; did you mean '{}'?", close));
    }
    const std::string details = function->details.empty() ? "" : fmt::format("  {}\n", function->details);
    return fmt::format("{}\n  {}.\n{}  Example: {}\n", function->usage, function->summary, details, function->example);
}

std::string overview()
{
    std::string text(kLanguage);
    for (const Topic& group : topics()) {
        text += fmt::format("\n{}\n", group.title);
        for (const Function& function : group.functions) {
            text += fmt::format("  {:<24}  {}\n", function.usage, function.summary);
        }
    }
    return text + "\nhelp NAME tells more about a function, with an example.\n";
}

/// A text as roff takes it.
std::string roff(std::string_view text)
{
    std::string result;
    for (const char c : text) {
        result += c == '\\' ? "\\e" : c == '-' ? "\\-" : c == '\'' ? "\\(aq" : std::string(1, c);
    }
    return result;
}

} // namespace

std::span<const Topic> topics()
{
    static const std::array<Topic, 7> all = {{{"Making arrays", creationFunctions},
                                              {"Classes and parts", conversionFunctions},
                                              {"Looking at arrays", inspectionFunctions},
                                              {"Parts of matrices", partFunctions},
                                              {"Along a dimension", reductionFunctions},
                                              {"Files and pictures", fileFunctions},
                                              {"The session", sessionFunctions}}};
    return all;
}

const Function* findFunction(std::string_view name)
{
    for (const Topic& topic : topics()) {
        for (const Function& function : topic.functions) {
            if (function.name == name) {
                return &function;
            }
        }
    }
    return nullptr;
}

Value callFunction(const Function& function, Session& session, Arguments arguments, bool needed)
{
    requireCount(function, arguments);
    require(!needed || function.mostResults != 0, "kxsh:noValue",
            "a function that gives no value is used in an expression");
    return function.call(session, arguments);
}

std::vector<Value> callForSeveral(const Function& function, Session& session, Arguments arguments, std::size_t results)
{
    requireCount(function, arguments);
    require(results <= function.mostResults, "kxsh:arguments", "{} gives {} result{} at most, not {}", function.name,
            function.mostResults, function.mostResults == 1 ? "" : "s", results);
    return function.callForSeveral(session, arguments, results);
}

std::string closestName(const Session& session, std::string_view name)
{
    std::string best;
    std::size_t bestDistance = std::max<std::size_t>(1, name.size() / 3) + 1;
    forEachName(session, [&](std::string_view candidate) {
        const auto [shorter, longer] = std::minmax({name.size(), candidate.size()});
        if (longer - shorter >= bestDistance) {
            return;
        }
        const std::size_t distance = distanceOf(name, candidate);
        if (distance < bestDistance) {
            bestDistance = distance;
            best = candidate;
        }
    });
    return best;
}

void showHelp(Session& session, std::string_view topic)
{
    const std::string text = topic.empty() ? overview() : topicText(session, topic);
    if (session.page) {
        session.page(text);
    } else {
        session.out << text;
    }
}

std::string functionPage(PageFormat format)
{
    const bool manual = format == PageFormat::kManual;
    std::string page;
    for (const Topic& topic : topics()) {
        page += fmt::format("{}{}\n", manual ? ".SS " : "\n## ", topic.title);
        for (const Function& function : topic.functions) {
            const std::string details = // on one line
                std::regex_replace(std::string(function.details), std::regex("\n +"), " ");
            const std::string text = fmt::format("{}.{}{}", function.summary, details.empty() ? "" : " ", details);
            if (manual) {
                page += fmt::format(".TP\n.B {}\n{}\n", roff(function.usage), roff(text));
            } else {
                page += fmt::format("\n`{}`: {}\n\n    {}\n", function.usage, text, function.example);
            }
        }
    }
    return page;
}

double realScalar(const Value& value, std::string_view what)
{
    require(value.isScalar() && !value.isComplex(), "kxsh:arguments", "{} must be one real number", what);
    return firstNumber(value);
}

unsigned sizeArgument(const Value& value, std::string_view what)
{
    const double number = realScalar(value, what);
    const unsigned most = kx::kxGetMaxNumberOfElements();
    if (!(number >= 0) || number != std::floor(number)) {
        fail("kxsh:arguments", "{} must be a whole number from 0 up, not {}", what, shortNumber(number, 10));
    }
    if (number > most) {
        fail("kx:sizeLimit", "{}, {}, is above the limit of {}", what, shortNumber(number, 10), most);
    }
    return static_cast<unsigned>(number);
}

std::string textArgument(const Value& value, std::string_view what)
{
    require(value.isText(), "kxsh:arguments", "{} must be a string, such as 'name'", what);
    return textOf(value);
}

std::string fileArgument(const Value& value)
{
    std::string name = textArgument(value, "the file name");
    require(name.find('\0') == std::string::npos, "kxsh:arguments", "the file name holds a NUL");
    return name;
}

} // namespace kxsh
