#pragma once

#include <memory>
#include <mutex>
#include <set>
#include <string>

#include "backends/linux/wayland/sway/SwayIpc.h"
#include "backends/linux/wayland/sway/SwayTree.h"
#include "backends/linux/windows/WindowSystem.h"

namespace jumplark::sway {

/// Windows as sway tells them, those of X11 programs too; asked anew at each call, which takes a quarter of a
/// millisecond. Sway tells nothing of pop-ups. Layers (bars, our own query window) are no windows.
class Windows final : public WindowSystem {
 public:
  explicit Windows(std::shared_ptr<Ipc> ipc) : ipc_(std::move(ipc)) {}

  std::vector<WindowFacts> windowsFrontToBack() override;
  std::vector<WindowFacts> popupsFrontToBack() override { return {}; }
  std::optional<WindowFacts> window(WindowId id) override;
  WindowId activeWindow() override;
  std::optional<WindowFacts> topmostWindowAt(Point topLeft) override;
  bool isOwn(const WindowFacts& facts) const override;
  bool requestActive(WindowId id, bool force) override;
  /// Sway's title bars have no buttons; a window can be closed all the same.
  std::vector<WindowButton> buttonsOf(const WindowFacts& window) override;
  bool request(WindowId id, WindowWish wish) override;

  /// See Compositor::passOver.
  void passOver(const std::string& title);

 private:
  Tree ask();

  std::shared_ptr<Ipc> ipc_;
  std::mutex mutex_;  ///< leaf
  std::set<std::string> passedOver_;
};

}  // namespace jumplark::sway
