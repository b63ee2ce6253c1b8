// The program as it is used at a terminal: prompts, editing, completion, history, Ctrl-C.
#include "test_shell.hpp"

#include <gtest/gtest.h>

#include <poll.h>
#include <pty.h>
#include <sys/wait.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <stdexcept>
#include <system_error>

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
        if (child_ < 0) {
            throw std::system_error(errno, std::generic_category(), "no terminal to be had");
        }
        if (child_ == 0) {
            ::setenv("XDG_STATE_HOME", (folder / "").c_str(), 1);
            ::setenv("TERM", "vt100", 1);
            ::setenv("PAGER", "head -n 2; echo paged", 1);
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

    /// Waits until this has appeared behind what was waited for before.
    void await(std::string_view text)
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
        screen_.erase(0, found + text.size());
    }

    /// Types, and waits for the answer and the next prompt.
    void exchange(std::string_view keys, std::string_view answer, std::string_view prompt = "kx> ")
    {
        type(keys);
        await(answer);
        await(prompt);
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
        shell.exchange("x = [1 2\n", "", "..> ");
        shell.exchange("3 4]\n", "x = full double, 2-by-2");
        shell.exchange("spey\t(3)\n", "sparse double, 3-by-3");
        shell.type("mm\t\t");
        shell.await("mmread  mmwrite");
        shell.exchange("read('nowhere.mtx')\n", "cannot read nowhere.mtx");
        shell.exchange("for k = 1:2\n", "", "..> ");
        shell.exchange("k\nend\n", "k = 2");
        shell.exchange("help\n", "paged");
        shell.exchange("print('remember', 1 + 1)\n", "remember 2");
        shell.type("quit\n");
        EXPECT_EQ(shell.wait(), 0) << "errors at the terminal are no failure of the program";
    }
    AtTerminal again(folder);
    again.await("kx> ");
    again.exchange(kUp + kUp + "\n", "remember 2");
    again.type(kControlD);
    EXPECT_EQ(again.wait(), 0);
}

TEST(Terminal, ControlCStopsTheStatementNotTheShell)
{
    const TestFolder folder;
    AtTerminal shell(folder);
    shell.await("kx> ");
    shell.exchange("x = 5; y = 6\n", "y = 6");
    shell.type("x = 7 + ");
    shell.await("7 + ");
    shell.exchange(kControlC, "");
    shell.exchange("x = [1 2\n", "", "..> ");
    shell.exchange(kControlC, "");
    for (const std::string& endless : std::vector<std::string>{
             "while 1, end", "for k = 1:1e9 k; end", "while 1, z = sprand(1e6, 1e6, 1e-5); end",
             "while 1, p = randperm(1e7); end", "while 1, z = ~sprand(3000, 3000, 0.1); end",
             "while 1, printf('%g ', 1:1e6); end", "while 1, sum(1:1e8); end", "while 1, help('sum'), end"}) {
        shell.type("x = 5; print('be', 'gun'); " + endless + "; x = 8;\n");
        shell.await("be gun");
        ::usleep(200000);
        const auto before = std::chrono::steady_clock::now();
        shell.exchange(kControlC, "interrupted (kxsh:interrupted)");
        EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(2)) << endless;
    }
    shell.exchange("print('still', x, y)\n", "still 5 6");
    shell.type(kControlD);
    EXPECT_EQ(shell.wait(), 0);
}

} // namespace
} // namespace kxsh::test
