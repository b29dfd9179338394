#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace jumplark {

/// The program that a process runs.
struct ProcessProgram {
  std::filesystem::path path;      ///< the file; of a script the script's own; empty when it cannot be told
  std::vector<std::string> names;  ///< the file's name, and what the process calls itself

  /// The first that there is; empty when the process has gone.
  std::string name() const { return names.empty() ? std::string() : names.front(); }
};

/// As /proc tells it. May be called from any thread.
ProcessProgram programOfProcess(int32_t pid);

}  // namespace jumplark
