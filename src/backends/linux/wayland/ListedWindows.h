#pragma once

#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "backends/linux/windows/WindowSystem.h"

namespace jumplark {

/// What follows from a list of all windows, which each compositor tells in a way of its own.
class ListedWindows : public WindowSystem {
 public:
  std::vector<WindowFacts> windowsFrontToBack() override;
  std::vector<WindowFacts> popupsFrontToBack() override;
  std::optional<WindowFacts> window(WindowId id) override;
  std::optional<WindowFacts> topmostWindowAt(Point topLeft) override;
  bool isOwn(const WindowFacts& facts) const override;

  /// See Compositor::passOver.
  void passOver(const std::string& title);

 protected:
  /// Those there are now, front to back, pop-ups included. From any thread.
  virtual std::vector<WindowFacts> all() = 0;

 private:
  std::vector<WindowFacts> counted();

  std::mutex passing_;  ///< leaf
  std::set<std::string> passedOver_;
};

/// Where the title bar of a window is; of one that draws its own, which may be of that height.
Rect titleBarOf(const WindowFacts& window, double unknownHeight);

}  // namespace jumplark
