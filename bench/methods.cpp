#include "methods.hpp"

#include "core/note_method.hpp"
#include "delete/delete_elements.hpp"
#include "lookup/find_hits.hpp"
#include "reference/row_methods.hpp"

#include <algorithm>
#include <array>
#include <cctype>
#include <span>
#include <string_view>
#include <utility>

namespace zqsp {

namespace bench {

namespace {

constexpr std::size_t kMost = 6; // of an enumeration, and of what is remembered

/// Each once. No memory is asked for: tests count what a call asks for.
struct Taken
{
    std::array<std::string_view, kMost> names;
    std::size_t count = 0;

    void add(std::string_view name)
    {
        const auto end = names.begin() + count;
        if (count < kMost && std::find(names.begin(), end, name) == end) {
            names[count++] = name;
        }
    }
};

thread_local Taken taken;

/// The enumerator as the compiler spells it, such as "ByEntries".
template <auto Method>
constexpr std::string_view enumeratorOf()
{
    const std::string_view text = __PRETTY_FUNCTION__;
    const std::size_t begin = text.rfind("::k") + 3;
    return text.substr(begin, text.find_first_of(";]", begin) - begin);
}

template <typename Method, std::size_t... Numbers>
void note(Method method, std::index_sequence<Numbers...> /*numbers*/)
{
    static constexpr std::array names = {enumeratorOf<static_cast<Method>(Numbers)>()...};
    taken.add(names.at(static_cast<std::size_t>(method)));
}

using Numbers = std::make_index_sequence<kMost>;

} // namespace

std::string takenMethods()
{
    std::string text;
    const auto [names, count] = std::exchange(taken, {});
    for (const std::string_view name : std::span(names).first(count)) {
        text += text.empty() ? "" : ",";
        for (const char letter : name) {
            text += std::isupper(letter) != 0 && !text.empty() ? " " : "";
            text += static_cast<char>(std::tolower(letter));
        }
    }
    return text;
}

} // namespace bench

void noteMethod(LookupMethod method)
{
    bench::note(method, bench::Numbers());
}

void noteMethod(RowMethod method)
{
    bench::note(method, bench::Numbers());
}

void noteMethod(DeletionMethod method)
{
    bench::note(method, bench::Numbers());
}

} // namespace zqsp
