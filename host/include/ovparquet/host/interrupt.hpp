// User interrupts. One thread is the signal thread: the one that marked
// itself so (the program's main thread). A SIGINT, or requestInterrupt(),
// sets the pending flag; the next throwIfInterruptPending() on the signal
// thread raises InterruptError and clears the flag. Other threads never see
// the flag, so work running on them stops only when the signal thread next
// checks.
#pragma once

namespace orvane {

// Makes the calling thread the signal thread.
void markSignalThread() noexcept;
bool isSignalThread() noexcept;

// Installs the SIGINT handler that sets the pending flag (idempotent).
void installInterruptHandler();
// Restores the SIGINT disposition that was in place before.
void uninstallInterruptHandler();

// Sets the pending flag (async-signal-safe).
void requestInterrupt() noexcept;
bool isInterruptPending() noexcept;
// Clears the flag without raising.
void clearInterrupt() noexcept;

// On the signal thread: raises InterruptError (and clears the flag) when an
// interrupt is pending. Elsewhere it does nothing.
void throwIfInterruptPending();

}  // namespace orvane
