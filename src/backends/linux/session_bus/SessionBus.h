#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "backends/linux/session_bus/BusValue.h"

struct sd_bus;

namespace jumplark {

struct SessionBusCloser {
  void operator()(sd_bus* bus) const;
};
using SessionBusConnection = std::unique_ptr<sd_bus, SessionBusCloser>;

/// The bus of an address, of the environment where it is empty; null when it is out of reach, or has not said hello
/// until the deadline.
SessionBusConnection openSessionBus(const std::string& address, std::chrono::steady_clock::time_point deadline);

/// A connection to the session bus for a few calls, each waited for no longer than the caller says. One thread.
class SessionBus {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;
  /// Without a bus every call fails.
  SessionBus(const std::string& address, TimePoint deadline) : bus_(openSessionBus(address, deadline)) {}

  enum class Result { answered, refused, silent };
  struct Answer {
    Result result = Result::silent;
    std::string error;  ///< D-Bus name of why it was refused
    BusValue values;    ///< what was answered, as a structure
  };
  struct Object {
    std::string busName;
    std::string path;
    const char* interface = "";
  };
  /// Starts no service. `arguments` adds what is given; negative when it cannot.
  Answer call(const Object& object, const char* member, const std::function<int(sd_bus_message*)>& arguments,
              TimePoint deadline);

 private:
  SessionBusConnection bus_;
};

}  // namespace jumplark
