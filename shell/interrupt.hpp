// Ctrl-C: the signal sets a flag, long loops poll it, and the statement ends with an error.
#ifndef KXSH_INTERRUPT_HPP
#define KXSH_INTERRUPT_HPP

#include <csignal>
#include <cstddef>

namespace kxsh {

/// From now on a signal that ends the program first removes the file named by setDoomedFile(), and a file that grows
/// past its limit is an error of writing.
void installEndHandlers();
/// The one file that must not outlive the program half written; an empty name for none. At most one at a time.
void setDoomedFile(const char* path) noexcept;
/// From now on Ctrl-C sets the flag instead of ending the program; system calls return early.
void installInterruptHandler();
/// Forgets a Ctrl-C that came before.
void clearInterrupt() noexcept;
/// Set when Ctrl-C came since the last clearInterrupt().
extern volatile std::sig_atomic_t interruptFlag;
inline bool interruptPending() noexcept
{
    return interruptFlag != 0;
}
[[noreturn]] void raiseInterrupted();
/// Raises kxsh:interrupted when Ctrl-C came.
inline void pollInterrupt()
{
    if (interruptPending()) {
        raiseInterrupted();
    }
}
/// The same at every so many steps of a loop, the first among them.
inline void pollAtStep(std::size_t step)
{
    constexpr std::size_t kInterval = std::size_t{1} << 16;
    if (step % kInterval == 0) {
        pollInterrupt();
    }
}
/// The order of numbers, for sorting many: raises as pollInterrupt().
struct PollingLess
{
    std::size_t comparisons = 0;

    template <typename T>
    bool operator()(const T& a, const T& b)
    {
        pollAtStep(++comparisons);
        return a < b;
    }
};

} // namespace kxsh

#endif
