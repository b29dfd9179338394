#pragma once

namespace jumplark {

/// Prepares parkOtherThreads(); once a process.
void prepareParking();

/// Makes every other thread of the process stand still for good. Waits for them for a moment at most: a thread that
/// blocks all signals goes on. Async-signal-safe.
void parkOtherThreads() noexcept;

/// Makes the calling thread stand still for good. Async-signal-safe.
[[noreturn]] void parkThisThread() noexcept;

}  // namespace jumplark
