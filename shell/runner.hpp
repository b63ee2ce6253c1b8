// Texts of statements carried out: scripts, -e, and lines as they come.
#ifndef KXSH_RUNNER_HPP
#define KXSH_RUNNER_HPP

#include "session.hpp"

#include <functional>
#include <ostream>
#include <string>
#include <string_view>

namespace kxsh {

enum class LineEvent
{
    kLine,
    kInterrupted, ///< Ctrl-C at the prompt: what was typed is dropped
    kEnd
};

/// Where lines come from: reads the next one into `line`; `continued` inside an open bracket or block.
using LineSource = std::function<LineEvent(std::string& line, bool continued)>;

class Runner
{
  public:
    enum class Outcome
    {
        kDone,
        kQuit,
        kFailed
    };

    Runner(Session& session, std::ostream& errors) : session_(session), errors_(errors) {}

    /// Carries out a whole text. Nothing is done when it is no list of statements; the first error ends it. Errors are
    /// shown with script, line (counted from `firstLine`) and column.
    Outcome run(std::string_view source, std::size_t firstLine = 1);

    /// Carries out lines until they end or one quits; an error ends only its own line. Returns whether all went well.
    bool runLines(const LineSource& nextLine);

  private:
    Session& session_;
    std::ostream& errors_;
};

/// Runs a script file, which may be a pipe. Raises nothing: an unreadable file is shown as an error.
Runner::Outcome runScript(Session& session, std::ostream& errors, const std::filesystem::path& path);

} // namespace kxsh

#endif
