#include "runner.hpp"

#include "error.hpp"
#include "files.hpp"
#include "interrupt.hpp"
#include "parser.hpp"

#include <fmt/format.h>

namespace kxsh {

void Runner::showError(std::string_view text, std::string_view identifier, std::size_t line, std::string_view source)
{
    out_.flush();
    errors_ << fmt::format("error: {} ({})\n  at line {}: {}\n", text, identifier, line, source) << std::flush;
}

Runner::Outcome Runner::run(std::string_view source, std::size_t firstLine)
{
    std::vector<Statement> statements;
    SourceLine place{1, {}};
    const auto parseAll = [&] {
        try {
            statements = parse(source);
        } catch (const SyntaxError& error) {
            place = lineAt(source, error.offset());
            throw;
        }
    };
    const auto showPlace = [&](const ErrorReport& report) {
        showError(report.text, report.identifier, firstLine + place.number - 1, place.text);
    };
    if (!reportingErrors(parseAll, showPlace)) {
        return Outcome::kFailed;
    }
    for (const Statement& statement : statements) {
        bool goesOn = true;
        const bool good = reportingErrors([&] { goesOn = interpreter_.run(statement); },
                                          [&](const ErrorReport& report) {
                                              showError(report.text, report.identifier, firstLine + statement.line - 1,
                                                        statement.source);
                                          });
        if (!good) {
            return Outcome::kFailed;
        }
        if (!goesOn) {
            return Outcome::kQuit;
        }
    }
    return Outcome::kDone;
}

namespace {

bool isIncomplete(std::string_view source)
{
    try {
        parse(source);
    } catch (const SyntaxError& error) {
        return error.incomplete();
    } catch (const std::exception&) {
        return false; // met again, and shown, when the text is run
    }
    return false;
}

} // namespace

bool Runner::runLines(LineSource& lines)
{
    bool good = true;
    std::size_t lineNumber = 0;
    std::string line;
    std::string pending; // the lines of a statement whose brackets are still open
    std::size_t pendingLines = 0;
    for (;;) {
        const LineSource::Event event = lines.next(line, !pending.empty());
        clearInterrupt();
        if (event == LineSource::Event::kInterrupted) {
            pending.clear();
            pendingLines = 0;
            continue;
        }
        const bool ended = event == LineSource::Event::kEnd;
        if (ended && pending.empty()) {
            return good;
        }
        if (!ended) {
            ++lineNumber;
            ++pendingLines;
            pending += line;
            pending += '\n';
        }
        if (!ended && isIncomplete(pending)) {
            continue;
        }
        const Outcome outcome = run(pending, lineNumber - pendingLines + 1);
        out_.flush();
        good = good && outcome != Outcome::kFailed;
        if (outcome == Outcome::kQuit || ended) {
            return good;
        }
        pending.clear();
        pendingLines = 0;
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
    session.scriptFolder = path.parent_path();
    return Runner(session, errors).run(source);
}

} // namespace kxsh
