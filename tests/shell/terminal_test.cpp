// The program as it is used at a terminal: prompts, editing, completion, history, Ctrl-C.
#include "test_shell.hpp"

#include <gtest/gtest.h>

#include <poll.h>
#include <pty.h>
#include <sys/wait.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <stdexcept>

namespace kxsh::test {
namespace {

/// kxsh on a terminal of its own, with its history in `folder`.
class AtTerminal
{
  public:
    explicit AtTerminal(const TestFolder& folder)
    {
        winsize size{};
        size.ws_row = 50;
        size.ws_col = 100;
        child_ = forkpty(&terminal_, nullptr, nullptr, &size);
        if (child_ == 0) {
            ::setenv("XDG_STATE_HOME", (folder / "").c_str(), 1);
            ::setenv("TERM", "vt100", 1);
            ::execl(KXSH_PROGRAM, "kxsh", static_cast<char*>(nullptr));
            ::_exit(127);
        }
    }
    ~AtTerminal()
    {
        if (child_ > 0) {
            ::kill(child_, SIGKILL);
            ::waitpid(child_, nullptr, 0);
        }
        ::close(terminal_);
    }
    AtTerminal(const AtTerminal&) = delete;
    AtTerminal& operator=(const AtTerminal&) = delete;

    void type(std::string_view keys) const
    {
        ASSERT_EQ(::write(terminal_, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
    }

    /// Waits until this has appeared behind what was waited for before; gives what came with it.
    std::string await(std::string_view text)
    {
        const auto patience = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        std::size_t found = std::string::npos;
        while ((found = screen_.find(text)) == std::string::npos) {
            pollfd ready{terminal_, POLLIN, 0};
            char bytes[4096];
            const bool came = ::poll(&ready, 1, 500) > 0;
            const ssize_t got = came ? ::read(terminal_, bytes, sizeof bytes) : 0;
            if (got < 0 || std::chrono::steady_clock::now() > patience) {
                throw std::runtime_error("no '" + std::string(text) + "' in: " + screen_);
            }
            screen_.append(bytes, static_cast<std::size_t>(got));
        }
        const std::string seen = screen_.substr(0, found + text.size());
        screen_.erase(0, seen.size());
        return seen;
    }

    /// Exit status of the program, which is about to end; -1 when it does not.
    int wait()
    {
        for (int tenths = 0; tenths < 300; ++tenths) {
            int status = 0;
            if (::waitpid(child_, &status, WNOHANG) == child_) {
                child_ = -1;
                return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
            }
            ::usleep(100000);
        }
        return -1;
    }

  private:
    int terminal_ = -1;
    pid_t child_ = -1;
    std::string screen_;
};

const std::string kControlC = "\x03";
const std::string kControlD = "\x04";
const std::string kUp = "\x1b[A";

TEST(Terminal, ContinuesCompletesAndRemembers)
{
    const TestFolder folder;
    {
        AtTerminal shell(folder);
        shell.await("quit to leave.");
        shell.await("kx> ");
        shell.type("x = [1 2\n");
        shell.await("..> ");
        shell.type("3 4]\n");
        shell.await("x = full double, 2-by-2");
        shell.await("kx> ");
        shell.type("spey\t(3)\n");
        shell.await("sparse double, 3-by-3");
        shell.await("kx> ");
        shell.type("mm\t\t");
        shell.await("mmread  mmwrite");
        shell.type("read('nowhere.mtx')\n");
        shell.await("cannot read nowhere.mtx");
        shell.await("kx> ");
        shell.type("print('remember', 1 + 1)\n");
        shell.await("remember 2");
        shell.await("kx> ");
        shell.type("quit\n");
        EXPECT_EQ(shell.wait(), 0) << "errors at the terminal are no failure of the program";
    }
    AtTerminal again(folder);
    again.await("kx> ");
    again.type(kUp + kUp + "\n");
    again.await("remember 2");
    again.await("kx> ");
    again.type(kControlD);
    EXPECT_EQ(again.wait(), 0);
}

TEST(Terminal, ControlCStopsTheStatementNotTheShell)
{
    const TestFolder folder;
    AtTerminal shell(folder);
    shell.await("kx> ");
    shell.type("x = 5; y = 6\n");
    shell.await("y = 6");
    shell.await("kx> ");
    shell.type("x = 7 + ");
    shell.await("7 + ");
    shell.type(kControlC);
    shell.await("kx> ");
    shell.type("x = [1 2\n");
    shell.await("..> ");
    shell.type(kControlC);
    shell.await("kx> ");
    // Seconds of work: millions of numbers are drawn.
    shell.type("x = 5; print('be', 'gun'); z = sprand(6000, 6000, 0.5); x = 8;\n");
    shell.await("be gun");
    ::usleep(200000);
    shell.type(kControlC);
    shell.await("interrupted (kxsh:interrupted)");
    shell.await("kx> ");
    shell.type("print('still', x, y)\n");
    shell.await("still 5 6");
}

} // namespace
} // namespace kxsh::test
