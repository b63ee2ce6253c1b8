// Lines typed on a terminal.
#ifndef KXSH_TERMINAL_HPP
#define KXSH_TERMINAL_HPP

#include "runner.hpp"
#include "session.hpp"

#include <memory>
#include <string>

namespace kxsh {

/// Columns of the terminal that standard output is; 0 when it is none.
unsigned terminalWidth();

/// Shows a text; one that is longer than the terminal is high through $PAGER, by default less.
void showByPages(const std::string& text);

/// Line editing, history (kept in the user's state folder) and completion of names and files by Tab.
class Terminal : public LineSource
{
  public:
    explicit Terminal(Session& session);
    ~Terminal() override;
    Event next(std::string& line, bool continued) override;

  private:
    class Editor;
    std::unique_ptr<Editor> editor_;
};

} // namespace kxsh

#endif
