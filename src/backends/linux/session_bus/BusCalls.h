#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "backends/linux/session_bus/SessionBus.h"

namespace jumplark {

/// Questions to services on the session bus, each waited for half a second at most. Once one has not been
/// answered in time, each further one waits a moment only, for a second: whoever asks several does not wait for each.
/// Calls may come from any thread.
class BusCalls {
 public:
  using Answer = SessionBus::Answer;
  using Arguments = std::function<int(sd_bus_message*)>;

  Answer call(const SessionBus::Object& object, const char* member, const Arguments& arguments);
  Answer call(const SessionBus::Object& object, const char* member);

 private:
  std::mutex mutex_;
  std::unique_ptr<SessionBus> bus_;
  std::chrono::steady_clock::time_point silentUntil_;
};

}  // namespace jumplark
