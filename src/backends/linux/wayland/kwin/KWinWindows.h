#pragma once

#include <mutex>
#include <nlohmann/json.hpp>
#include <string>

#include "backends/linux/wayland/ListedWindows.h"
#include "backends/linux/wayland/kwin/KWinScene.h"
#include "backends/linux/wayland/kwin/KWinScripts.h"

namespace jumplark::kwin {

/// Windows as the script in KWin has told them last, those of X11 programs too, and open pop-ups. Nothing is asked for
/// that; to ask something of a window takes a script of its own.
class KWinWindows final : public ListedWindows {
 public:
  /// The calls outlive this.
  explicit KWinWindows(BusCalls& calls) : scripts_(calls) {}

  /// What the script tells; null: nothing is known any more. False for what is not understood.
  bool take(const nlohmann::json& message);
  bool areTold();

  WindowId activeWindow() override;
  bool requestActive(WindowId id, bool force) override;
  std::vector<WindowButton> buttonsOf(const WindowFacts& window) override;
  bool request(WindowId id, WindowWish wish) override;

  /// What panels leave free of an output; the frame itself where that is not known.
  Rect workAreaOf(const Rect& frame);

 private:
  std::vector<WindowFacts> all() override;
  bool run(const std::string& script);

  KWinScripts scripts_;
  std::mutex mutex_;  ///< leaf
  KWinScene scene_;
  bool areTold_ = false;
  std::mutex running_;  ///< held while a script carries something out
  int runs_ = 0;
};

}  // namespace jumplark::kwin
