// Errors that are thrown where they are found, because no status can carry them.
#ifndef ZQSP_CORE_ERRORS_HPP
#define ZQSP_CORE_ERRORS_HPP

#include "core/runtime.hpp"

#include <fl_except.hpp>

namespace zqsp {

/// Raises the runtime's error for the message that `Tag` names; should the runtime leave that to us, throws the
/// exception of that message by its own class.
template <typename Tag>
[[noreturn]] void raiseMessage()
{
    const fl::except::Exception<Tag, std::exception> error(fl::except::MessageId(Tag::group, Tag::key));
    do_legacy_kx_error(error);
    error.rethrow();
}

/// A count or a size above the runtime's maximum.
[[noreturn]] void raiseMaxSize();

/// A capacity that can be neither computed nor allocated.
[[noreturn]] void raiseOutOfMemory();

} // namespace zqsp

#endif
