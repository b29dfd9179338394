#pragma once

#include "cli/CommandLine.h"

namespace jumplark {
struct Platform;
class SystemQueues;
}  // namespace jumplark

/// What each command does on the installed platform. They print to standard output and throw CommandFailure.
namespace jumplark::cli {

ExitStatus runTree(const Options& options);
ExitStatus runMatch(const Options& options);
ExitStatus runAct(const Options& options);
/// Of act --menu.
ExitStatus runActOnMenus(const Options& options);
ExitStatus runMenus(const Options& options);
/// Reads through a recorder that it installs over `platform` for the time of the call.
ExitStatus runRecord(const Options& options, const Platform& platform);
/// Becomes the running instance until it is asked to end, or tells the one that runs. On the main thread, and without
/// an installed platform.
ExitStatus runInBackground();
// Both ask the running instance.
ExitStatus runActivate();
ExitStatus runPreferences(const Options& options);
/// Needs no platform: it looks for what one would need. Where all is there it also reads the application.
ExitStatus runDoctor(const Options& options, SystemQueues& queues);

}  // namespace jumplark::cli
