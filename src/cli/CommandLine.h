#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>

#include "cli/CommandFailure.h"

namespace jumplark::cli {

/// Which application a command is about: that of a recording or of the live desktop; named by process or name, else the
/// frontmost one.
struct Target {
  std::optional<std::string> desktopFile;
  std::optional<int32_t> pid;
  std::optional<std::string> application;
  double waitSeconds = 0;  ///< before anything is looked at
};

struct Options {
  enum class Command { run, activate, preferences, tree, match, act, menus, record, doctor };
  Command command = Command::run;  ///< without a command the program runs in the background
  Target target;
  std::string query;
  bool all = false;      ///< tree: invisible elements too; doctor: what is well too
  bool json = false;     ///< match, menus
  bool dryRun = false;   ///< act
  bool inMenus = false;  ///< act: choose a command of the menus
  bool window = false;   ///< match, act: the window's own buttons too
  std::optional<std::string> outputFile;
  std::string pane;  ///< preferences; empty: the one that was shown last
};

/// The options, or the status with which to end at once: after --help and --version, which print to standard output,
/// and after bad usage, which is explained on standard error.
std::variant<Options, ExitStatus> parseCommandLine(int argc, const char* const* argv);

}  // namespace jumplark::cli
