#include "interrupt.hpp"

#include "error.hpp"

#include <csignal>

namespace kxsh {

namespace {

volatile std::sig_atomic_t pending = 0;

extern "C" void onInterrupt(int)
{
    pending = 1;
}

} // namespace

void installInterruptHandler()
{
    struct sigaction action = {};
    action.sa_handler = onInterrupt;
    sigemptyset(&action.sa_mask);
    action.sa_flags = 0; // no restart: a blocked read returns, so that the prompt starts afresh
    sigaction(SIGINT, &action, nullptr);
}

void clearInterrupt() noexcept
{
    pending = 0;
}

bool interruptPending() noexcept
{
    return pending != 0;
}

void raiseInterrupt() noexcept
{
    pending = 1;
}

void pollInterrupt()
{
    if (pending != 0) {
        throw Error("kxsh:interrupted", "interrupted");
    }
}

} // namespace kxsh
