// Errors that the shell raises itself, beside those of the runtime and the library.
#ifndef KXSH_ERROR_HPP
#define KXSH_ERROR_HPP

#include <fmt/format.h>

#include <cstddef>
#include <functional>
#include <stdexcept>
#include <string>
#include <utility>

namespace kxsh {

/// A statement that cannot be carried out: a readable text and an identifier such as "kxsh:undefined".
class Error : public std::runtime_error
{
  public:
    Error(std::string identifier, const std::string& text)
        : std::runtime_error(text), identifier_(std::move(identifier))
    {
    }

    [[nodiscard]] const std::string& identifier() const noexcept { return identifier_; }

  private:
    std::string identifier_;
};

/// A text that is no statement.
class SyntaxError : public Error
{
  public:
    /// `offset` is where in the source the fault lies, in bytes.
    SyntaxError(const std::string& text, std::size_t offset) : Error("kxsh:syntax", text), offset_(offset) {}

    [[nodiscard]] std::size_t offset() const noexcept { return offset_; }

  private:
    std::size_t offset_;
};

/// Raises an error; `text` is a format of its parts.
template <typename... Parts>
[[noreturn, gnu::cold]] void fail(const char* identifier, fmt::format_string<Parts...> text, Parts&&... parts)
{
    throw Error(identifier, fmt::format(text, std::forward<Parts>(parts)...));
}

/// Raises the error unless a condition holds. The parts are evaluated all the same.
template <typename... Parts>
void require(bool holds, const char* identifier, fmt::format_string<Parts...> text, Parts&&... parts)
{
    if (!holds) {
        fail(identifier, text, std::forward<Parts>(parts)...);
    }
}

/// An error reduced to what is shown of it.
struct ErrorReport
{
    std::string text;
    std::string identifier;
};

/// Runs `action`; any error of the shell, the library, the runtime or the standard library is given to `report`.
/// Returns whether there was none.
bool reportingErrors(const std::function<void()>& action, const std::function<void(const ErrorReport&)>& report);

} // namespace kxsh

#endif
