// kxsh: a small interpreter that drives the library on real matrices.
#include "functions.hpp"
#include "interrupt.hpp"
#include "memory_limit.hpp"
#include "runner.hpp"
#include "terminal.hpp"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <zqspmatrix.h>

#include <unistd.h>

#include <clocale>
#include <iostream>
#include <string>
#include <vector>

namespace {

using namespace kxsh;

constexpr int kUsageError = 2;

bool runInteractively(Session& session)
{
    Runner runner(session, std::cerr);
    if (::isatty(STDIN_FILENO) == 0) {
        return runner.runLines(
            [](std::string& line, bool) { return std::getline(std::cin, line) ? LineEvent::kLine : LineEvent::kEnd; });
    }
    installInterruptHandler();
    std::cout << fmt::format("kxsh {}: sparse matrices by subscript. Type help for help, quit to leave.\n",
                             libzqspmatrix_version)
              << std::flush;
    session.page = showByPages;
    runner.runLines(terminalLines(session));
    return true;
}

int runProgram(int argc, char** argv)
{
    std::ios::sync_with_stdio(false);

    CLI::App app("Reads, changes and draws sparse matrices by subscripts. Without arguments, statements are read from "
                 "standard input; type help there.");
    app.set_version_flag("--version", std::string("kxsh ") + libzqspmatrix_version);
    std::string script;
    std::string statements;
    std::vector<std::string> arguments;
    std::uint64_t memory = 0;
    CLI::Option* file = app.add_option("FILE", script, "a script to run");
    CLI::Option* text = app.add_option("-e", statements, "statements to run");
    text->type_name("STATEMENTS")->excludes(file);
    file->type_name("");
    app.add_option("ARGUMENT", arguments, "arguments of the script, which argument(k) gives")->type_name("");
    app.add_option("--memory", memory, "most memory to take, such as 500M; by default what the machine has free")
        ->type_name("SIZE")
        ->transform(CLI::AsSizeValue(false));
    app.positionals_at_end();
    std::string page;
    app.add_option("--function-page", page)->check(CLI::IsMember({"markdown", "manual"}))->group(""); // for documents
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : kUsageError;
    }

    if (!page.empty()) {
        std::cout << functionPage(page == "manual" ? PageFormat::kManual : PageFormat::kMarkdown) << std::flush;
        return 0;
    }
    installEndHandlers();
    limitMemory(memory);
    Session session(std::cout);
    session.arguments = std::move(arguments);
    if (const unsigned width = terminalWidth()) {
        session.width = width;
    }
    bool good = true;
    if (*file) {
        good = runScript(session, std::cerr, script) != Runner::Outcome::kFailed;
    } else if (*text) {
        good = Runner(session, std::cerr).run(statements) != Runner::Outcome::kFailed;
    } else {
        good = runInteractively(session);
    }
    if (!std::cout.flush()) {
        std::cerr << "error: cannot write the output (kxsh:file)\n";
        good = false;
    }
    return good ? 0 : 1;
}

} // namespace

int main(int argc, char** argv)
{
    static_cast<void>(std::setlocale(LC_CTYPE, ""));
    try {
        return runProgram(argc, argv);
    } catch (const std::exception& error) {
        std::cerr << "error: " << error.what() << " (kxsh:internal)\n";
        return 1;
    }
}
