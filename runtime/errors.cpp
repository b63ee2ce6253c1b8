#include "errors.hpp"

#include "kx_runtime.hpp"

#include <fl_except.hpp>

#include <atomic>
#include <cstdio>
#include <utility>

namespace kxrt {
namespace {

constinit std::atomic<bool> legacyErrorsRaise{true};

} // namespace

Error::Error(std::string identifier, const std::string& text)
    : std::runtime_error(text), identifier_(std::move(identifier))
{
}

Error::~Error() noexcept = default;

void legacy_errors_raise(bool raise)
{
    legacyErrorsRaise.store(raise, std::memory_order_relaxed);
}

std::string textOf(double number)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.10g", number);
    return text;
}

void raiseOutOfMemory(std::size_t bytes)
{
    throw Error("kx:outOfMemory", "Out of memory: no block of " + std::to_string(bytes) + " bytes is to be had.");
}

void raiseSizeLimit(const std::string& what)
{
    throw Error("kx:sizeLimit", what);
}

void raiseInvalidOperand(const std::string& what)
{
    throw Error("kx:invalidOperand", what);
}

void raiseUnknownClass(unsigned id)
{
    raiseInvalidOperand("There are no elements of class " + std::to_string(id) + ".");
}

} // namespace kxrt

namespace matrix::detail::noninlined::kx_array_api {

void kxHandleSubscriptError(kxSubscriptErrorCode code)
{
    switch (code) {
    case kxSUBSCRIPT_NOT_POSITIVE_INTEGER:
        throw kxrt::Error("kx:subscript:notPositiveInteger", "A subscript must be a real positive integer or logical.");
    case kxSUBSCRIPT_OUT_OF_RANGE:
        throw kxrt::Error("kx:subscript:outOfRange", "A subscript lies outside the matrix.");
    }
    kxrt::raiseInvalidOperand("There is no subscript error with code " + std::to_string(static_cast<int>(code)) + ".");
}

void do_legacy_kx_error(const fl::except::IUserException& error)
{
    if (kxrt::legacyErrorsRaise.load(std::memory_order_relaxed)) {
        throw kxrt::Error(error.error_id(), error.what());
    }
}

} // namespace matrix::detail::noninlined::kx_array_api
