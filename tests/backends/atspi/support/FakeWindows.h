#pragma once

#include <utility>

#include "backends/linux/windows/WindowSystem.h"

namespace jumplark::atspi {

/// Windows in memory, front to back. The first is active.
class FakeWindows final : public WindowSystem {
 public:
  std::vector<WindowFacts> windows;
  std::vector<WindowFacts> popups;
  std::vector<std::pair<WindowId, bool>> activations;
  std::vector<WindowButton> buttons;  ///< of every window
  std::vector<std::pair<WindowId, WindowWish>> requests;

  WindowFacts& add(WindowId id, int32_t pid, Rect frame, WindowType type = WindowType::normal) {
    return *windows.insert(windows.end(), made(id, pid, frame, type));
  }
  WindowFacts& addInFront(WindowId id, int32_t pid, Rect frame) {
    return *windows.insert(windows.begin(), made(id, pid, frame, WindowType::normal));
  }

  std::vector<WindowFacts> windowsFrontToBack() override { return windows; }
  std::optional<WindowFacts> window(WindowId id) override {
    return first([id](const WindowFacts& one) { return one.id == id; });
  }
  WindowId activeWindow() override { return windows.empty() ? WindowId() : windows.front().id; }
  std::optional<WindowFacts> topmostWindowAt(Point topLeft) override {
    return first([topLeft](const WindowFacts& one) { return one.frame.contains(topLeft); });
  }
  std::vector<WindowFacts> popupsFrontToBack() override { return popups; }
  bool isOwn(const WindowFacts&) const override { return false; }
  bool requestActive(WindowId id, bool force) override {
    activations.emplace_back(id, force);
    return true;
  }
  std::vector<WindowButton> buttonsOf(const WindowFacts&) override { return buttons; }
  bool request(WindowId id, WindowWish wish) override {
    requests.emplace_back(id, wish);
    return true;
  }

 private:
  static WindowFacts made(WindowId id, int32_t pid, Rect frame, WindowType type) {
    WindowFacts window;
    window.id = id;
    window.pid = pid;
    window.surface = window.frame = frame;
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
