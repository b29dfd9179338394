#include <fmt/format.h>

#include <cstdio>
#include <system_error>

#include "backends/recorded/DesktopRecorder.h"
#include "cli/Commands.h"
#include "cli/Menus.h"
#include "cli/Snapshot.h"
#include "platform/SystemErrors.h"
#include "platform/Texts.h"
#include "tree/JLElementTree.h"

namespace jumplark::cli {

ExitStatus runRecord(const Options& options, const Platform& platform) {
  DesktopRecorder recorder(platform);
  const Token installed = Platform::install(recorder.platform());
  const RunningApplication application = findTarget(options.target);
  const auto tree = takeSnapshot(application, true);
  recorder.setFrontmost(application.pid);
  recorder.setMenus(application.pid, commandsOfMenus(application.pid));
  if (!options.outputFile) {
    fmt::print("{}\n", recorder.text());
    return ExitStatus::done;
  }
  try {
    recorder.save(*options.outputFile);
  } catch (const std::system_error& error) {
    throw CommandFailure(ExitStatus::badUsage, localizedFormat("{} cannot be written: {}", *options.outputFile,
                                                               textOfSystemError(error.code().value())));
  }
  fmt::print(
      stderr, "{}\n",
      localizedFormat("Recorded {} elements of {} in {}", tree->elementCount(), application.name, *options.outputFile));
  return ExitStatus::done;
}

}  // namespace jumplark::cli
