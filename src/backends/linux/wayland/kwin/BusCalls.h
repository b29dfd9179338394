#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "backends/linux/menus/SessionBus.h"

namespace jumplark::kwin {

/// Questions to KWin and its services on the session bus, each waited for half a second at most. Once one has not been
/// answered in time, each further one waits a moment only, for a second: whoever asks several does not wait for each.
/// Calls may come from any thread.
class BusCalls {
 public:
  using Answer = menus::SessionBus::Answer;
  using Arguments = std::function<int(sd_bus_message*)>;

  Answer call(const menus::SessionBus::Object& object, const char* member, const Arguments& arguments);
  Answer call(const menus::SessionBus::Object& object, const char* member);

 private:
  std::mutex mutex_;
  std::unique_ptr<menus::SessionBus> bus_;
  std::chrono::steady_clock::time_point silentUntil_;
};

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
