#pragma once

#include <functional>
#include <memory>
#include <string>

#include "backends/linux/menus/BusValue.h"
#include "backends/linux/menus/MenuSource.h"

struct sd_bus;

namespace jumplark::menus {

/// A connection to the session bus for a few calls, each waited for no longer than the caller says. One thread.
class SessionBus {
 public:
  /// The bus of an address, of the environment where it is empty. Without one every call fails.
  SessionBus(const std::string& address, TimePoint deadline);

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
  bool getReady(TimePoint deadline);

  struct Closer {
    void operator()(sd_bus* bus) const;
  };
  std::unique_ptr<sd_bus, Closer> bus_;
};

}  // namespace jumplark::menus
