#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "backends/linux/x11/WindowSystem.h"

namespace jumplark::atspi {

/// Windows in memory, front to back. The first is active.
class FakeWindows final : public WindowSystem {
 public:
  std::vector<WindowFacts> windows;
  std::vector<std::pair<uint32_t, bool>> activations;

  WindowFacts& add(uint32_t id, int32_t pid, Rect frame, WindowType type = WindowType::normal) {
    return *windows.insert(windows.end(), made(id, pid, frame, type));
  }
  WindowFacts& addInFront(uint32_t id, int32_t pid, Rect frame) {
    return *windows.insert(windows.begin(), made(id, pid, frame, WindowType::normal));
  }

  std::vector<WindowFacts> windowsFrontToBack() override { return windows; }
  std::optional<WindowFacts> window(uint32_t id) override {
    return first([id](const WindowFacts& one) { return one.id == id; });
  }
  uint32_t activeWindow() override { return windows.empty() ? 0 : windows.front().id; }
  std::optional<WindowFacts> topmostWindowAt(Point topLeft) override {
    return first([topLeft](const WindowFacts& one) { return one.frame.contains(topLeft); });
  }
  std::vector<WindowFacts> unmanagedWindows() override { return {}; }
  bool requestActive(uint32_t id, bool force) override {
    activations.emplace_back(id, force);
    return true;
  }

 private:
  static WindowFacts made(uint32_t id, int32_t pid, Rect frame, WindowType type) {
    WindowFacts window;
    window.id = id;
    window.pid = pid;
    window.client = window.frame = frame;
    window.type = type;
    return window;
  }
  template <typename Wanted>
  std::optional<WindowFacts> first(Wanted wanted) const {
    const auto found = std::find_if(windows.begin(), windows.end(), wanted);
    return found == windows.end() ? std::nullopt : std::optional(*found);
  }
};

}  // namespace jumplark::atspi
