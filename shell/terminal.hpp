// Lines typed on a terminal.
#ifndef KXSH_TERMINAL_HPP
#define KXSH_TERMINAL_HPP

#include "runner.hpp"
#include "session.hpp"

#include <memory>

namespace kxsh {

/// Columns of the terminal that standard output is; 0 when it is none.
unsigned terminalWidth();

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
