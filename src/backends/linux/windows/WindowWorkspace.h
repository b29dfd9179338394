#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "backends/linux/windows/DesktopEntries.h"
#include "backends/linux/windows/WindowSystem.h"
#include "platform/Screens.h"
#include "platform/Workspace.h"

namespace jumplark {

/// Applications as their windows show them: the processes that own normal windows or dialogs. Under the bundle
/// identifier of the dock stand the processes that own dock windows. Asks the window system and the installed desktop
/// files, never an application. Calls may come from any thread.
class WindowWorkspace final : public Workspace {
 public:
  /// All must outlive the workspace. Without screens there are no focused window frames.
  WindowWorkspace(WindowSystem& windows, DesktopEntries& entries, Screens* screens = nullptr);

  /// From now on there is no other application than that of the active window, if that is one: where windows may lie
  /// over the others of which the window system knows nothing.
  void trustOnlyActiveWindow() { onlyActive_ = true; }

  /// The owner of the active window; when there is none, or it is a window of this process, the owner of the topmost
  /// normal window or dialog on screen.
  std::optional<RunningApplication> frontmostApplication() override;
  std::string whyNoneIsTold() override { return windows_.whyNoneAreTold(); }
  std::vector<RunningApplication> applicationsFrontToBack() override;
  std::vector<RunningApplication> runningApplicationsWithBundleIdentifier(const std::string& identifier) override;
  std::optional<RunningApplication> runningApplicationWithPid(int32_t pid) override;
  ApplicationNames namesOf(const RunningApplication& application) override;
  /// With the window manager's decorations, without the shadow that a toolkit draws around its own. None when all
  /// windows of the process are minimised or on another desktop.
  std::optional<Rect> focusedWindowFrame(int32_t pid) override;
  bool activate(int32_t pid, uint32_t options) override;

  /// The topmost normal window or dialog of a process among these, which come front to back, one that is on screen
  /// before one that is minimised; none when it has none.
  std::optional<WindowFacts> topmostWindow(int32_t pid, std::vector<WindowFacts> windows) const;

  /// The application that a window belongs to, by process, desktop file, class and executable.
  RunningApplication applicationOf(const WindowFacts& window) const;

 private:
  std::optional<WindowFacts> frontmostWindow(const std::vector<WindowFacts>& windows);
  int32_t pidOf(const WindowFacts& window) const;
  std::vector<RunningApplication> owners(const std::vector<WindowFacts>& windows) const;

  WindowSystem& windows_;
  DesktopEntries& entries_;
  Screens* screens_;
  bool onlyActive_ = false;
};

}  // namespace jumplark
