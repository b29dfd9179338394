#pragma once

#include <memory>
#include <string>
#include <vector>

#include "backends/linux/wayland/ListedWindows.h"
#include "backends/linux/wayland/gnome/ShellScene.h"

namespace jumplark::gnome {

/// Windows as GNOME Shell tells them, those of X11 programs too.
class Windows final : public ListedWindows {
 public:
  Windows(std::shared_ptr<Bus> bus, std::shared_ptr<Scenes> scenes)
      : bus_(std::move(bus)), scenes_(std::move(scenes)) {}

  WindowId activeWindow() override;
  std::string whyNoneAreTold() override;
  bool requestActive(WindowId id, bool force) override;
  std::vector<WindowButton> buttonsOf(const WindowFacts& window) override;
  bool request(WindowId id, WindowWish wish) override;

 private:
  std::vector<WindowFacts> all() override;

  std::shared_ptr<Bus> bus_;
  std::shared_ptr<Scenes> scenes_;
};

}  // namespace jumplark::gnome
