#pragma once

#include <memory>
#include <string>
#include <utility>

#include "backends/linux/wayland/Compositor.h"
#include "backends/linux/wayland/sway/SwayBindings.h"
#include "backends/linux/wayland/sway/SwayEvents.h"
#include "backends/linux/wayland/sway/SwayInputSources.h"
#include "backends/linux/wayland/sway/SwayWindows.h"

namespace jumplark::sway {

/// sway, by its IPC protocol.
class SwayCompositor final : public Compositor {
 public:
  /// Null where that process, 0 for any, is no sway that answers on its socket.
  static std::unique_ptr<SwayCompositor> open(pid_t compositor = 0);
  ~SwayCompositor() override;

  std::string name() const override { return name_; }
  WindowSystem& windows() override { return windows_; }
  bool endsMenus() const override { return endsMenus_; }
  void passOver(const std::string& title) override { windows_.passOver(title); }
  jumplark::InputSources& inputSources() override { return inputSources_; }
  Rect workAreaOf(const WaylandOutput& output) override;
  Binding bind(uint32_t key, uint64_t modifiers, std::function<void()> pressed) override;
  void release(uint32_t key, uint64_t modifiers) override;
  bool isTaken(uint32_t key, uint64_t modifiers) override;
  Token onActiveApplicationChanged(std::function<void(int32_t pid)> callback) override;

 private:
  SwayCompositor(std::shared_ptr<Ipc> ipc, std::pair<int64_t, int64_t> version);
  void listen();
  void handle(const Answer& event);
  void focusChanged(const nlohmann::json& event);

  std::shared_ptr<Ipc> ipc_;
  std::string name_;
  bool endsMenus_;
  Windows windows_;
  InputSources inputSources_;
  Bindings bindings_;
  std::mutex mutex_;  ///< leaf
  std::vector<std::shared_ptr<std::function<void(int32_t)>>> callbacks_;
  int32_t activePid_ = -1;
  std::unique_ptr<Events> events_;  ///< made at the first need
};

/// The socket of a sway that is that process, 0 for any: the one that SWAYSOCK names, else the one that its number
/// names. Empty when there is none: a compositor that runs in a window of sway has inherited the former.
std::string socketOf(pid_t compositor);

}  // namespace jumplark::sway
