// Carries out statements.
#ifndef KXSH_INTERPRETER_HPP
#define KXSH_INTERPRETER_HPP

#include "ast.hpp"
#include "session.hpp"

#include <optional>

namespace kxsh {

/// The innermost statement that failed, and the byte of the source that is at fault.
struct Fault
{
    const Statement* statement = nullptr;
    std::optional<std::size_t> offset;
};

/// Carries out one statement; false for quit. What a statement without statements in it prints is flushed at its end;
/// on an error in it, every variable is as it was before it, and `fault` tells where it was.
bool carryOut(const Statement& statement, Session& session, Fault& fault);

} // namespace kxsh

#endif
