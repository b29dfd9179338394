#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <thread>

#include "backends/linux/system/FileDescriptor.h"
#include "backends/linux/wayland/gnome/ShellBus.h"

namespace jumplark::gnome {

/// Hears what the extension tells of its own accord, on a thread, also after it was switched off and on. What others
/// send under its name is not heard.
class Events {
 public:
  struct Handlers {
    /// With what the shell showed at that moment.
    std::function<void(const std::string& combination, std::string_view scene)> pressed;
    std::function<void(int32_t pid)> focused;
    std::function<void()> returned;  ///< the extension is there anew; what it was told before is gone
  };
  /// The handlers run on the thread, until the end of this, and must not throw.
  explicit Events(Handlers handlers);
  Events(const Events&) = delete;
  Events& operator=(const Events&) = delete;
  ~Events();

 private:
  static int onOwnerChanged(sd_bus_message* message, void* self, sd_bus_error* error);
  void run();
  void listen();
  void handle(sd_bus_message* message);
  bool waits() const;

  const Handlers handlers_;
  FileDescriptor stop_;
  SessionBusConnection bus_;
  std::string owner_;      ///< the extension's connection; empty without
  bool returned_ = false;  ///< and the handler has not been called
  std::thread thread_;
};

}  // namespace jumplark::gnome
