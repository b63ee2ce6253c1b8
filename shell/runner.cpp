#include "runner.hpp"

#include "error.hpp"
#include "files.hpp"
#include "interpreter.hpp"
#include "interrupt.hpp"
#include "lexer.hpp"
#include "parser.hpp"

#include <fmt/format.h>

namespace kxsh {

Runner::Outcome Runner::run(std::string_view source, std::size_t firstLine)
{
    Outcome outcome = Outcome::kDone;
    Block statements;
    Fault fault;
    const auto runAll = [&] {
        try {
            statements = parse(source);
        } catch (const SyntaxError& error) {
            fault.offset = error.offset();
            throw;
        }
        for (auto next = statements.begin(); next != statements.end() && outcome == Outcome::kDone; ++next) {
            outcome = carryOut(*next, session_, fault) ? Outcome::kDone : Outcome::kQuit;
        }
    };
    const auto show = [&](const ErrorReport& report) {
        const SourcePlace place = placeOf(source, fault.offset.value_or(0));
        session_.out.flush();
        errors_ << fmt::format("error: {} ({})\n  at line {}, column {}{}: {}\n", report.text, report.identifier,
                               firstLine + place.line - 1, place.column,
                               session_.script.empty() ? "" : " of " + session_.script.string(),
                               fault.statement == nullptr ? place.text : fault.statement->source)
                << std::flush;
    };
    return reportingErrors(runAll, show) ? outcome : Outcome::kFailed;
}

bool Runner::runLines(const LineSource& nextLine)
{
    bool good = true;
    std::size_t lineNumber = 0;
    std::string line;
    std::string pending; // the lines of a statement that goes on
    std::size_t firstLine = 1;
    OpenEnds open;
    for (;;) {
        const LineEvent event = nextLine(line, !pending.empty());
        clearInterrupt();
        if (event == LineEvent::kEnd && pending.empty()) {
            return good;
        }
        if (event == LineEvent::kLine) {
            ++lineNumber;
            pending += line + '\n';
            open.add(line);
            if (open.any()) {
                continue;
            }
        }
        if (event != LineEvent::kInterrupted) {
            const Outcome outcome = run(pending, firstLine);
            session_.out.flush();
            good = good && outcome != Outcome::kFailed;
            if (outcome == Outcome::kQuit || event == LineEvent::kEnd) {
                return good;
            }
        }
        pending.clear();
        firstLine = lineNumber + 1;
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
