#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "backends/linux/wayland/Compositor.h"
#include "backends/linux/wayland/gnome/ShellBus.h"

namespace jumplark::gnome {

/// A combination as the shell names it: "<Super><Shift>space"; empty for a key without a name.
std::string accelerator(uint32_t key, uint64_t modifiers);

/// Combinations that the shell keeps for this program. It gives them back when this process ends, in whatever way.
/// Calls may come from any thread.
class Bindings {
 public:
  explicit Bindings(std::shared_ptr<Bus> bus) : bus_(std::move(bus)) {}
  Bindings(const Bindings&) = delete;
  Bindings& operator=(const Bindings&) = delete;
  ~Bindings();

  Compositor::Binding bind(uint32_t key, uint64_t modifiers, std::function<void()> pressed);
  void release(uint32_t key, uint64_t modifiers);
  bool isTaken(uint32_t key, uint64_t modifiers);

  /// A combination was pressed, as accelerator() names it.
  void pressed(const std::string& combination);
  /// The shell has forgotten what was bound.
  void bindAnew();

 private:
  /// Whether it says yes; `answer` is how it ended.
  bool asks(const char* method, const std::string& combination, Answer& answer);

  std::shared_ptr<Bus> bus_;
  std::mutex mutex_;  ///< leaf
  std::map<std::string, std::shared_ptr<std::function<void()>>> bound_;
};

}  // namespace jumplark::gnome
