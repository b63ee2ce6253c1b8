#include "runner.hpp"

#include "error.hpp"
#include "files.hpp"
#include "interrupt.hpp"
#include "lexer.hpp"
#include "parser.hpp"

#include <fmt/format.h>

namespace kxsh {

Runner::Outcome Runner::run(std::string_view source, std::size_t firstLine)
{
    std::size_t offset = 0;
    std::string_view shown;
    const auto show = [&](const ErrorReport& report) {
        const SourcePlace place = placeOf(source, offset);
        session_.out.flush();
        errors_ << fmt::format("error: {} ({})\n  at line {}, column {}{}: {}\n", report.text, report.identifier,
                               firstLine + place.line - 1, place.column,
                               session_.script.empty() ? "" : " of " + session_.script.string(),
                               shown.empty() ? place.text : shown)
                << std::flush;
    };
    Block statements;
    const auto parseAll = [&] {
        try {
            statements = parse(source);
        } catch (const SyntaxError& error) {
            offset = error.offset();
            throw;
        }
    };
    if (!reportingErrors(parseAll, show)) {
        return Outcome::kFailed;
    }
    for (const Statement& statement : statements) {
        bool goesOn = true;
        const auto carryOut = [&] { goesOn = interpreter_.run(statement); };
        const auto showFault = [&](const ErrorReport& report) {
            offset = interpreter_.fault().offset.value_or(statement.offset);
            shown = interpreter_.fault().statement->source;
            show(report);
        };
        if (!reportingErrors(carryOut, showFault)) {
            return Outcome::kFailed;
        }
        if (!goesOn) {
            return Outcome::kQuit;
        }
    }
    return Outcome::kDone;
}

bool Runner::runLines(LineSource& lines)
{
    bool good = true;
    std::size_t lineNumber = 0;
    std::string line;
    std::string pending; // the lines of a statement that goes on
    std::size_t pendingLines = 0;
    OpenEnds open;
    for (;;) {
        const LineSource::Event event = lines.next(line, !pending.empty());
        clearInterrupt();
        const bool ended = event == LineSource::Event::kEnd;
        if (ended && pending.empty()) {
            return good;
        }
        if (event == LineSource::Event::kLine) {
            ++lineNumber;
            ++pendingLines;
            pending += line;
            pending += '\n';
            open.add(line);
            if (open.any()) {
                continue;
            }
        }
        if (event != LineSource::Event::kInterrupted) {
            const Outcome outcome = run(pending, lineNumber - pendingLines + 1);
            session_.out.flush();
            good = good && outcome != Outcome::kFailed;
            if (outcome == Outcome::kQuit || ended) {
                return good;
            }
        }
        pending.clear();
        pendingLines = 0;
        open = {};
    }
}

Runner::Outcome runScript(Session& session, std::ostream& errors, const std::filesystem::path& path)
{
    std::string source;
    const bool read = reportingErrors([&] { source = readFile(path); },
                                      [&errors](const ErrorReport& report) {
                                          errors << fmt::format("error: {} ({})\n", report.text, report.identifier);
                                      });
    if (!read) {
        return Runner::Outcome::kFailed;
    }
    session.script = path;
    return Runner(session, errors).run(source);
}

} // namespace kxsh
