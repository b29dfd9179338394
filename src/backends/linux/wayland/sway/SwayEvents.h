#pragma once

#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>

#include "backends/linux/system/FileDescriptor.h"
#include "backends/linux/wayland/sway/SwayIpc.h"

namespace jumplark::sway {

/// Hears what sway tells of its own accord, on a thread. Where sway's socket vanishes it is looked for twice a second.
class Events {
 public:
  /// Numbers of the events, as their answers carry them.
  static constexpr uint32_t kWorkspace = 0x80000000;
  static constexpr uint32_t kMode = 0x80000002;
  static constexpr uint32_t kWindow = 0x80000003;
  static constexpr uint32_t kBinding = 0x80000005;

  struct Handlers {
    std::function<void(const Answer& event)> event;
    std::function<void()> returned;  ///< sway can be reached again; what it was told before is gone
  };
  /// The handlers run on the thread, until the end of this, and must not throw.
  Events(std::string path, Handlers handlers);
  Events(const Events&) = delete;
  Events& operator=(const Events&) = delete;
  ~Events();

 private:
  void run();
  bool listen(Socket& socket);
  bool waits(int descriptor, int milliseconds) const;

  const std::string path_;
  const Handlers handlers_;
  FileDescriptor stop_;
  std::thread thread_;
};

}  // namespace jumplark::sway
