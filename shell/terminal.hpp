// Lines typed on a terminal.
#ifndef KXSH_TERMINAL_HPP
#define KXSH_TERMINAL_HPP

#include "runner.hpp"
#include "session.hpp"

#include <string>

namespace kxsh {

/// Columns of the terminal that standard output is; 0 when it is none.
unsigned terminalWidth();

/// Shows a text; one that is longer than the terminal is high through $PAGER, by default less.
void showByPages(const std::string& text);

/// Lines typed with line editing, history (kept in the user's state folder) and completion of names and files by Tab.
LineSource terminalLines(Session& session);

} // namespace kxsh

#endif
