#pragma once

#include <systemd/sd-bus.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "backends/linux/session_bus/SessionBus.h"

/// What our extension for GNOME Shell offers on the session bus (packaging/gnome-shell/body/4-service.js has its
/// methods). It answers this program only.
namespace jumplark::gnome {

inline constexpr const char* kName = "com.brindlefox.jumplark.Shell";
inline constexpr const char* kPath = "/com/brindlefox/jumplark/Shell";
/// Of what the extension and this program say to each other.
inline constexpr uint32_t kVersion = 2;
/// For the first question of all, which a shell that is busy starting programs answers late.
inline constexpr std::chrono::seconds kFirstPatience{2};

/// A connection to the session bus that has said hello to it; null when the bus is out of reach.
SessionBusConnection connectToBus();
/// Whether the shell on the bus is that process, 0 for any; a compositor that runs in a window of the shell has its
/// bus. False where there is no shell.
bool isShell(sd_bus* bus, pid_t compositor);

/// How a question has ended.
enum class Answer {
  given,
  absent,   ///< there is no such extension
  refused,  ///< it does not answer this program, or not this question
  silent    ///< it has not answered in time
};

using Write = std::function<int(sd_bus_message* question)>;  ///< adds what is given; negative when it cannot
using Read = std::function<int(sd_bus_message* reply)>;      ///< takes what is answered; not positive on other types

/// Asks on a connection, for half a second at most.
Answer ask(sd_bus* bus, const char* method, const Write& write = {}, const Read& read = {},
           std::chrono::milliseconds limit = std::chrono::milliseconds(500));

/// Questions to the extension, over one connection. Calls may come from any thread; each waits half a second at most,
/// and after one without an answer a moment only, for a second: whoever asks several does not wait for each.
class Bus {
 public:
  Bus() : bus_(connectToBus()) {}

  Answer call(const char* method, const Write& write = {}, const Read& read = {});
  /// Waits longer, see kFirstPatience.
  Answer greet(const Read& read);
  bool does(const char* method, const Write& write = {}, const Read& read = {}) {
    return call(method, write, read) == Answer::given;
  }

 private:
  std::mutex mutex_;
  SessionBusConnection bus_;
  std::chrono::steady_clock::time_point silentUntil_;
};

}  // namespace jumplark::gnome
