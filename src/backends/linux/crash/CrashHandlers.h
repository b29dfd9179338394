#pragma once

#include <string>

namespace jumplark {

/// What a process does when it crashes: it lets go of keyboard and pointer, writes a report, and ends by the signal as
/// it would have without, so that its parent and the system's own collector of core images see what happened.
namespace crash_handlers {

struct Settings {
  /// Where reports are written, an open folder that stays open; -1: none are written.
  int folder = -1;
  /// Lines about program, libraries and system that begin a report, each "Name: value". At most 4000 bytes are used.
  std::string facts;
};

/// Handles the fatal signals, and uncaught exceptions, from now on until the end of the process. Once a process; main
/// thread, which gets a signal stack of its own here.
///
/// The handler uses system calls and the unwinder only, so it works whatever is locked or destroyed. A fault in the
/// handler itself ends the process, as does a time limit of some seconds. All other threads stand still meanwhile, so
/// that none takes the loss of the X server for a reason to end the process in order. A report is named
/// "SECONDS-PID.raw" (seconds since 1970) and readable for the user alone.
void install(const Settings& settings);

}  // namespace crash_handlers
}  // namespace jumplark
