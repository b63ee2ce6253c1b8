// The errors of the C++ interface.
#ifndef ZQSPMATRIX_CPP_ERROR_HPP
#define ZQSPMATRIX_CPP_ERROR_HPP

#include <kx_runtime.hpp>
#include <zqspmatrix.h>

#include <new>
#include <stdexcept>
#include <string>
#include <utility>

namespace zqspmatrix {

/// What every failing call throws. The matrices it was to change are as they were before.
class ZQSP_EXPORT Error : public std::runtime_error
{
  public:
    /// An error with this status, identifier and text.
    Error(spStatus status, std::string identifier, const std::string& text)
        : std::runtime_error(text), identifier_(std::move(identifier)), status_(status)
    {
    }

    /// The library's answer; 0 (spOK) for what the runtime raised and for arguments that reached no library call.
    [[nodiscard]] spStatus status() const noexcept { return status_; }
    /// Such as "kx:subscript:outOfRange", "kx:outOfMemory", "kx:invalidOperand".
    [[nodiscard]] const std::string& identifier() const noexcept { return identifier_; }

  private:
    std::string identifier_;
    spStatus status_;
};

namespace detail {

/// The identifier under which the runtime knows a status; empty where it raises nothing.
inline std::string identifierOf(spStatus status)
{
    try {
        kxHandleSparseSubscriptError(status);
    } catch (const kxrt::Error& error) {
        return error.identifier();
    }
    return {};
}

[[noreturn]] inline void fail(spStatus status, const std::string& text)
{
    throw Error(status, identifierOf(status), text);
}

/// For arguments that make no sense whatever the matrix holds.
[[noreturn]] inline void failOperand(const std::string& text)
{
    throw Error(spOK, "kx:invalidOperand", text);
}

/// Carries out `call`; what the runtime throws leaves as an Error.
template <typename F>
decltype(auto) translated(F&& call)
{
    try {
        return std::forward<F>(call)();
    } catch (const kxrt::Error& error) {
        throw Error(spOK, error.identifier(), error.what());
    } catch (const std::bad_alloc&) {
        throw Error(spOK, "kx:outOfMemory", "Out of memory.");
    }
}

} // namespace detail
} // namespace zqspmatrix

#endif
