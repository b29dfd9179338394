#pragma once

#include "cli/CommandLine.h"

namespace jumplark {
struct Platform;
}

/// What each command does on the installed platform. They print to standard output and throw CommandFailure.
namespace jumplark::cli {

ExitStatus runTree(const Options& options);
ExitStatus runMatch(const Options& options);
ExitStatus runAct(const Options& options);
/// Reads through a recorder that it installs over `platform` for the time of the call.
ExitStatus runRecord(const Options& options, const Platform& platform);
/// Needs no platform: it looks for what one would need.
ExitStatus runDoctor();

}  // namespace jumplark::cli
