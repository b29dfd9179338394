#pragma once

#include <memory>
#include <string>

#include "backends/linux/wayland/ListedWindows.h"
#include "backends/linux/wayland/sway/SwayIpc.h"
#include "backends/linux/wayland/sway/SwayTree.h"

namespace jumplark::sway {

/// Windows as sway tells them, those of X11 programs too; asked anew at each call, which takes a quarter of a
/// millisecond. Sway tells nothing of pop-ups. Layers (bars, our own query window) are no windows.
class Windows final : public ListedWindows {
 public:
  explicit Windows(std::shared_ptr<Ipc> ipc) : ipc_(std::move(ipc)) {}

  WindowId activeWindow() override;
  bool requestActive(WindowId id, bool force) override;
  /// Sway's title bars have no buttons; a window can be closed all the same.
  std::vector<WindowButton> buttonsOf(const WindowFacts& window) override;
  bool request(WindowId id, WindowWish wish) override;

 private:
  std::vector<WindowFacts> all() override { return ask().windows; }
  Tree ask();

  std::shared_ptr<Ipc> ipc_;
};

}  // namespace jumplark::sway
