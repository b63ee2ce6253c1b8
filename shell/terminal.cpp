#include "terminal.hpp"

#include "completion.hpp"
#include "freed_by.hpp"
#include "interrupt.hpp"

#include <fmt/format.h>

#include <histedit.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <filesystem>
#include <memory>
#include <system_error>

namespace kxsh {

namespace {

constexpr int kHistoryLines = 1000;

/// $XDG_STATE_HOME/kxsh/history, by default under ~/.local/state; empty where there is no home.
std::filesystem::path historyPath()
{
    std::filesystem::path folder;
    const char* state = std::getenv("XDG_STATE_HOME");
    const char* home = std::getenv("HOME");
    if (state != nullptr && *state == '/') {
        folder = state;
    } else if (home != nullptr && *home != '\0') {
        folder = std::filesystem::path(home) / ".local" / "state";
    } else {
        return {};
    }
    folder /= "kxsh";
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    return error ? std::filesystem::path() : folder / "history";
}

/// Waits for input; false when Ctrl-C came. Only the wait itself lets the signal through, so that it is not lost
/// between a look at the flag and the wait.
bool awaitInput()
{
    sigset_t interrupt;
    sigset_t outside;
    sigemptyset(&interrupt);
    sigaddset(&interrupt, SIGINT);
    sigprocmask(SIG_BLOCK, &interrupt, &outside);
    pollfd input{STDIN_FILENO, POLLIN, 0};
    int ready = 0;
    while (ready <= 0 && !interruptPending()) {
        ready = ::ppoll(&input, 1, nullptr, &outside);
        sigprocmask(SIG_SETMASK, &outside, nullptr); // the line editor passes the signal on after the wait
        sigprocmask(SIG_BLOCK, &interrupt, nullptr);
    }
    sigprocmask(SIG_SETMASK, &outside, nullptr);
    return !interruptPending();
}

/// Reads one character; Ctrl-C ends the line that is being read.
int readCharacter(EditLine*, wchar_t* out)
{
    std::mbstate_t state{};
    for (;;) {
        if (!awaitInput()) {
            errno = EINTR;
            return -1;
        }
        char byte = 0;
        const ssize_t got = ::read(STDIN_FILENO, &byte, 1);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            return static_cast<int>(got);
        }
        const std::size_t length = std::mbrtowc(out, &byte, 1, &state);
        if (length < static_cast<std::size_t>(-2)) {
            return 1;
        }
        if (length == static_cast<std::size_t>(-1)) {
            state = {}; // no character; else more bytes of one follow
        }
    }
}

class Editor
{
  public:
    explicit Editor(Session& session)
        : session_(session),
          history_(history_init()),
          editor_(el_init("kxsh", stdin, stdout, stderr)),
          path_(historyPath())
    {
        HistEvent event;
        history(history_.get(), &event, H_SETSIZE, kHistoryLines);
        history(history_.get(), &event, H_SETUNIQUE, 1);
        if (!path_.empty()) {
            history(history_.get(), &event, H_LOAD, path_.c_str());
        }
        el_set(editor_.get(), EL_CLIENTDATA, this);
        el_set(editor_.get(), EL_HIST, history, history_.get());
        el_set(editor_.get(), EL_PROMPT, prompt);
        el_set(editor_.get(), EL_EDITOR, "emacs");
        el_set(editor_.get(), EL_SIGNAL, 1);
        el_set(editor_.get(), EL_GETCFN, readCharacter);
        // The wide form keeps these two texts; the narrow one would keep copies that nobody frees.
        el_wset(editor_.get(), EL_ADDFN, L"kx-complete", L"Complete the name before the cursor", onComplete);
        el_set(editor_.get(), EL_BIND, "^I", "kx-complete", nullptr);
        el_set(editor_.get(), EL_BIND, "^R", "em-inc-search-prev", nullptr);
        el_source(editor_.get(), nullptr); // the user's own key bindings
    }

    LineEvent next(std::string& line, bool continued)
    {
        continued_ = continued;
        clearInterrupt();
        // The editor by itself prompts first: keys typed between the prompt and its taking the terminal over, Ctrl-D
        // among them, would be lost.
        el_set(editor_.get(), EL_PREP_TERM, 1);
        int count = 0;
        const char* text = el_gets(editor_.get(), &count);
        if (interruptPending()) {
            el_reset(editor_.get());
            fmt::print(stdout, "^C\n");
            return LineEvent::kInterrupted;
        }
        if (text == nullptr || count <= 0) {
            fmt::print(stdout, "\n");
            return LineEvent::kEnd;
        }
        line.assign(text, static_cast<std::size_t>(count));
        while (line.ends_with('\n')) {
            line.pop_back();
        }
        remember(line);
        if (const unsigned width = terminalWidth()) {
            session_.width = width; // the window may have changed
        }
        return LineEvent::kLine;
    }

  private:
    void remember(const std::string& line)
    {
        if (line.find_first_not_of(" \t") == std::string::npos) {
            return;
        }
        HistEvent event;
        history(history_.get(), &event, H_ENTER, line.c_str());
        if (!path_.empty()) {
            history(history_.get(), &event, H_SAVE, path_.c_str());
        }
    }

    static Editor& of(EditLine* editor)
    {
        Editor* self = nullptr;
        el_get(editor, EL_CLIENTDATA, &self);
        return *self;
    }

    static const char* prompt(EditLine* editor) { return of(editor).continued_ ? "..> " : "kx> "; }

    static unsigned char onComplete(EditLine* editor, int) { return of(editor).completeHere(); }

    unsigned char completeHere()
    {
        const LineInfo* info = el_line(editor_.get());
        const std::string_view before(info->buffer, static_cast<std::size_t>(info->cursor - info->buffer));
        const Completion found = complete(session_, before);
        if (found.candidates.empty()) {
            return CC_REFRESH_BEEP;
        }
        if (found.common.size() > found.begun) {
            el_insertstr(editor_.get(), found.common.c_str() + found.begun);
            return CC_REFRESH;
        }
        if (found.candidates.size() == 1) {
            return CC_REFRESH_BEEP;
        }
        std::string list = "\n";
        for (const std::string& candidate : found.candidates) {
            list += candidate + "  ";
        }
        fmt::print(stdout, "{}\n", list);
        return CC_REDISPLAY;
    }

    Session& session_;
    Owned<History, history_end> history_;
    Owned<EditLine, el_end> editor_;
    std::filesystem::path path_;
    bool continued_ = false;
};

} // namespace

unsigned terminalWidth()
{
    winsize size{};
    return ::isatty(STDOUT_FILENO) != 0 && ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

void showByPages(const std::string& text)
{
    winsize size{};
    const auto lines = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
    const bool fits = ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_row == 0 || lines < size.ws_row;
    const char* chosen = std::getenv("PAGER");
    const std::string pager = chosen != nullptr && *chosen != '\0' ? chosen : "less || cat";
    std::FILE* pipe = fits ? nullptr : ::popen(pager.c_str(), "w");
    std::fputs(text.c_str(), pipe != nullptr ? pipe : stdout);
    if (pipe != nullptr) {
        ::pclose(pipe);
        clearInterrupt(); // Ctrl-C was for the pager
    }
    std::fflush(stdout);
}

LineSource terminalLines(Session& session)
{
    const auto editor = std::make_shared<Editor>(session);
    return [editor](std::string& line, bool continued) { return editor->next(line, continued); };
}

} // namespace kxsh
