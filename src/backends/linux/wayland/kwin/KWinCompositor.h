#pragma once

#include <memory>
#include <string>

#include "backends/linux/wayland/Compositor.h"
#include "backends/linux/wayland/kwin/KWinInputSources.h"
#include "backends/linux/wayland/kwin/KWinScripts.h"
#include "backends/linux/wayland/kwin/KWinShortcuts.h"
#include "backends/linux/wayland/kwin/KWinWatch.h"
#include "backends/linux/wayland/kwin/KWinWindows.h"
#include "backends/linux/wayland/kwin/LastRequests.h"

namespace jumplark::kwin {

/// KWin, the compositor of KDE Plasma: windows by a script that runs in it, keys by its service of global shortcuts,
/// pointer and keyboard by its fake input.
class KWinCompositor final : public Compositor {
 public:
  /// Null where no KWin is on the session bus, or it does not run the script, for five seconds.
  static std::unique_ptr<KWinCompositor> open();
  ~KWinCompositor() override;

  std::string name() const override { return name_; }
  WindowSystem& windows() override { return windows_; }
  void passOver(const std::string& title) override { windows_.passOver(title); }
  InputSources& inputSources() override { return inputSources_; }
  Rect workAreaOf(const WaylandOutput& output) override { return windows_.workAreaOf(output.frame); }
  Binding bind(uint32_t key, uint64_t modifiers, std::function<void()> pressed) override;
  void release(uint32_t key, uint64_t modifiers) override;
  bool isTaken(uint32_t key, uint64_t modifiers) override { return shortcuts_.isTaken(key, modifiers); }
  Token onActiveApplicationChanged(std::function<void(int32_t pid)> callback) override;
  std::unique_ptr<SeatPointer> makePointer(const std::shared_ptr<WaylandConnection>& connection) override;
  std::unique_ptr<SeatKeyboard> makeKeyboard(const std::shared_ptr<WaylandConnection>& connection) override;
  void leave() override;
  bool tellsWindows() override { return windows_.areTold(); }
  std::vector<DesktopCheck> checks(const WaylandConnection& connection) override;

 private:
  KWinCompositor();
  static std::unique_ptr<KWinCompositor> tryToOpen();
  bool told(const nlohmann::json& message);
  void tellActiveApplication();
  void guard();

  BusCalls calls_;
  std::string name_;
  KWinWindows windows_;
  KWinInputSources inputSources_;
  KWinShortcuts shortcuts_;
  std::mutex guarding_;                  ///< of the guard
  std::unique_ptr<LastRequests> guard_;  ///< made at the first need
  std::mutex mutex_;                     ///< leaf, of what follows
  std::vector<std::shared_ptr<std::function<void(int32_t)>>> callbacks_;
  int32_t activePid_ = -1;
  KWinWatch watch_;  ///< calls all of the above
};

}  // namespace jumplark::kwin
