// The computational thread count: how many threads computation may use.
#pragma once

namespace orvane {

// Defaults to the machine's hardware concurrency (at least 1).
unsigned computationalThreadCount() noexcept;
// Sets the count; 0 raises HostError "ORVANE:host:InvalidThreadCount".
void setComputationalThreadCount(unsigned count);
// Back to the machine's hardware concurrency.
void resetComputationalThreadCount() noexcept;

}  // namespace orvane
