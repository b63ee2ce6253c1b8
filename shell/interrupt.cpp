#include "interrupt.hpp"

#include "error.hpp"

#include <unistd.h>

#include <csignal>
#include <cstring>

namespace kxsh {

volatile std::sig_atomic_t interruptFlag = 0;

namespace {

char doomed[4096]; // read by the handler
volatile std::sig_atomic_t isDoomed = 0;

extern "C" void onInterrupt(int)
{
    interruptFlag = 1;
}

extern "C" void onEnd(int signal)
{
    if (isDoomed != 0) {
        ::unlink(doomed);
    }
    static_cast<void>(::signal(signal, SIG_DFL));
    static_cast<void>(::raise(signal));
}

void handle(int signal, void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler;
    sigemptyset(&action.sa_mask);
    action.sa_flags = 0; // no restart: a blocked read returns, so that the prompt starts afresh
    sigaction(signal, &action, nullptr);
}

} // namespace

void installInterruptHandler()
{
    handle(SIGINT, onInterrupt);
}

void installEndHandlers()
{
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGXCPU}) {
        struct sigaction before = {};
        if (sigaction(signal, nullptr, &before) == 0 && before.sa_handler != SIG_IGN) { // as in the background
            handle(signal, onEnd);
        }
    }
    handle(SIGXFSZ, SIG_IGN);
}

void setDoomedFile(const char* path) noexcept
{
    isDoomed = 0;
    std::strncpy(doomed, path, sizeof doomed - 1);
    isDoomed = doomed[0] != '\0' ? 1 : 0;
}

void clearInterrupt() noexcept
{
    interruptFlag = 0;
}

void raiseInterrupted()
{
    throw Error("kxsh:interrupted", "interrupted");
}

} // namespace kxsh
