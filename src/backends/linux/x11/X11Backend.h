#pragma once

#include <memory>
#include <string>

#include "backends/linux/windows/DesktopBackend.h"
#include "backends/linux/windows/DesktopEntries.h"
#include "backends/linux/windows/WindowWorkspace.h"
#include "backends/linux/x11/X11Connection.h"
#include "backends/linux/x11/X11Input.h"
#include "backends/linux/x11/X11Screens.h"
#include "backends/linux/x11/X11Shortcuts.h"
#include "backends/linux/x11/X11WindowMenus.h"
#include "backends/linux/x11/X11WindowSystem.h"

namespace jumplark {

class DesktopWatcher;
class X11InputSources;

/// A desktop of the X Window System.
class X11Backend final : public DesktopBackend {
 public:
  struct Opened {
    std::unique_ptr<X11Backend> backend;  ///< null when the display is out of reach
    std::string error;                    ///< one sentence: what is missing and what to do about it
  };
  /// Connects to the display that the environment names. The main queue outlives the backend.
  static Opened open(TaskQueue& mainQueue);
  ~X11Backend() override;

  X11WindowSystem& windows() override { return windows_; }
  Screens& screens() override { return screens_; }
  Workspace& workspace() override { return workspace_; }
  DesktopInput& input() override { return input_; }
  WindowMenus& windowMenus() override { return windowMenus_; }
  InputSources& inputSources() override;
  X11Shortcuts& shortcuts() override;
  void setMenuHooks(MenuHooks hooks) override { menuHooks_ = std::move(hooks); }
  Token onActiveApplicationChanged(std::function<void(int32_t pid)> callback) override;
  Token onButtonPress(std::function<void(Point position)> callback) override;
  std::string description() const override;

  /// A Wayland compositor shows this display's windows among others: see WindowWorkspace.
  void trustOnlyActiveWindow() { workspace_.trustOnlyActiveWindow(); }

  // For the windows of this program.
  const std::shared_ptr<X11Connection>& connection() const { return connection_; }

 private:
  X11Backend(std::shared_ptr<X11Connection> connection, TaskQueue& mainQueue);
  DesktopWatcher* watcher();

  std::shared_ptr<X11Connection> connection_;
  TaskQueue& mainQueue_;
  DesktopEntries entries_;
  X11WindowSystem windows_;
  X11Screens screens_;
  WindowWorkspace workspace_;
  X11Input input_;
  X11WindowMenus windowMenus_;
  std::unique_ptr<X11InputSources> inputSources_;
  MenuHooks menuHooks_;
  std::unique_ptr<X11Shortcuts> shortcuts_;
  std::unique_ptr<DesktopWatcher> watcher_;
};

}  // namespace jumplark
