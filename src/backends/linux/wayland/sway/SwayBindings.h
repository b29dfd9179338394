#pragma once

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>

#include "backends/linux/crash/ExitGuard.h"
#include "backends/linux/wayland/Compositor.h"
#include "backends/linux/wayland/sway/SwayConfiguration.h"
#include "backends/linux/wayland/sway/SwayIpc.h"

namespace jumplark::sway {

/// Keys that sway keeps for this program: bound at run time, and unbound at the end, also when this process dies. Calls
/// may come from any thread.
class Bindings {
 public:
  explicit Bindings(std::shared_ptr<Ipc> ipc);
  Bindings(const Bindings&) = delete;
  Bindings& operator=(const Bindings&) = delete;
  ~Bindings();

  Compositor::Binding bind(const Combination& combination, std::function<void()> pressed);
  void release(const Combination& combination);
  bool isTaken(const Combination& combination);

  /// A binding was carried out; its command.
  void ran(const std::string& command);
  /// Sway has forgotten what was bound at run time.
  void bindAnew();

 private:
  struct Bound {
    std::string command;
    std::shared_ptr<std::function<void()>> pressed;
  };

  std::set<Combination> readConfiguration();
  std::optional<std::string> request(const Combination& combination, const Bound& bound);
  void guard();

  std::shared_ptr<Ipc> ipc_;
  std::mutex mutex_;  ///< held during a question to sway; no callback runs under it
  std::map<Combination, Bound> bound_;
  std::optional<std::set<Combination>> configured_;  ///< as read last, until sway reads it anew
  uint64_t last_ = 0;
  std::optional<Socket> farewell_;  ///< the guard's
  std::unique_ptr<ExitGuard> guard_;
};

}  // namespace jumplark::sway
