#pragma once

#include <string>

#include "backends/linux/session_bus/BusCalls.h"

namespace jumplark::kwin {

/// KWin's scripts, by names that must not be taken.
class KWinScripts {
 public:
  explicit KWinScripts(BusCalls& calls) : calls_(calls) {}

  /// Writes the script to the file, which KWin reads in its own time, and starts it in place of one of that name. What
  /// is wrong, for a log; empty when it runs.
  std::string run(const std::string& name, const std::string& file, const std::string& script);
  void unload(const std::string& name);
  /// False also when KWin does not say so.
  bool isLoaded(const std::string& name);

 private:
  BusCalls& calls_;
};

}  // namespace jumplark::kwin
