#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "backends/linux/wayland/Compositor.h"
#include "backends/linux/wayland/gnome/ShellBindings.h"
#include "backends/linux/wayland/gnome/ShellBus.h"
#include "backends/linux/wayland/gnome/ShellEvents.h"
#include "backends/linux/wayland/gnome/ShellInputSources.h"
#include "backends/linux/wayland/gnome/ShellScene.h"
#include "backends/linux/wayland/gnome/ShellStage.h"
#include "backends/linux/wayland/gnome/ShellWindows.h"

namespace jumplark::gnome {

/// GNOME Shell, by our extension for it.
class ShellCompositor final : public Compositor {
 public:
  /// Null where the extension does not answer this program, or speaks another version.
  static std::unique_ptr<ShellCompositor> open(const std::shared_ptr<WaylandConnection>& connection);
  ~ShellCompositor() override;

  std::string name() const override { return name_; }
  WindowSystem& windows() override { return windows_; }
  void passOver(const std::string& title) override { windows_.passOver(title); }
  jumplark::InputSources& inputSources() override { return inputSources_; }
  Rect workAreaOf(const WaylandOutput& output) override;
  Binding bind(uint32_t key, uint64_t modifiers, std::function<void()> pressed) override;
  void release(uint32_t key, uint64_t modifiers) override { bindings_.release(key, modifiers); }
  bool isTaken(uint32_t key, uint64_t modifiers) override { return bindings_.isTaken(key, modifiers); }
  Token onActiveApplicationChanged(std::function<void(int32_t pid)> callback) override;
  std::unique_ptr<SeatPointer> makePointer(const std::shared_ptr<WaylandConnection>& connection) override;
  std::unique_ptr<SeatKeyboard> makeKeyboard(const std::shared_ptr<WaylandConnection>& connection) override;
  std::vector<DesktopCheck> checks(const WaylandConnection& connection) override;
  void closeMenus() override;
  std::optional<Point> pointer() override;
  WindowPlacer windowPlacer() override;

 private:
  ShellCompositor(std::shared_ptr<Bus> bus, Stage stage, std::string name);
  void listen();
  void focusChanged(int32_t pid);

  std::shared_ptr<Bus> bus_;
  const Stage stage_;
  std::string name_;
  const std::shared_ptr<Scenes> scenes_;
  Windows windows_;
  InputSources inputSources_;
  Bindings bindings_;
  std::mutex mutex_;  ///< leaf
  std::vector<std::shared_ptr<std::function<void(int32_t)>>> callbacks_;
  int32_t activePid_ = -1;
  std::unique_ptr<Events> events_;  ///< made at the first need
};

}  // namespace jumplark::gnome
