// Ctrl-C: the signal sets a flag, long loops poll it, and the statement ends with an error.
#ifndef KXSH_INTERRUPT_HPP
#define KXSH_INTERRUPT_HPP

namespace kxsh {

/// From now on Ctrl-C sets the flag instead of ending the program; system calls return early.
void installInterruptHandler();
/// Forgets a Ctrl-C that came before.
void clearInterrupt() noexcept;
/// Whether Ctrl-C came since the last clearInterrupt().
bool interruptPending() noexcept;
/// Sets the flag as Ctrl-C does.
void raiseInterrupt() noexcept;
/// Raises kxsh:interrupted when Ctrl-C came.
void pollInterrupt();

} // namespace kxsh

#endif
