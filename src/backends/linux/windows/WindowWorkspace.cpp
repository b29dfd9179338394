#include "backends/linux/windows/WindowWorkspace.h"

#include <unistd.h>

#include <algorithm>

#include "backends/linux/windows/ProcessProgram.h"

namespace jumplark {
namespace {

bool isApplicationWindow(const WindowFacts& window) {
  return window.type == WindowType::normal || window.type == WindowType::dialog;
}

}  // namespace

WindowWorkspace::WindowWorkspace(WindowSystem& windows, DesktopEntries& entries, Screens* screens)
    : windows_(windows), entries_(entries), screens_(screens) {}

ApplicationNames WindowWorkspace::namesOf(const RunningApplication& application) {
  ApplicationNames names{{application.bundleIdentifier, application.name}, {}};
  const auto add = [](std::vector<std::string>& to, const DesktopEntry& entry) {
    to.insert(to.end(), {entry.id, entry.name, entry.plainName});
  };
  for (const WindowFacts& window : windows_.windowsFrontToBack()) {
    if (pidOf(window) != application.pid) {
      continue;
    }
    names.own.insert(names.own.end(), {window.applicationId, window.className, window.instanceName});
    if (const auto entry = entries_.forWindow(window.applicationId, window.className, window.instanceName)) {
      add(names.own, *entry);
    }
  }
  const ProcessProgram program = programOfProcess(application.pid);
  names.own.insert(names.own.end(), program.names.begin(), program.names.end());
  for (const DesktopEntry& entry : entries_.forProgram(program.path)) {
    add(names.ofItsProgram, entry);
  }
  return names;
}

int32_t WindowWorkspace::pidOf(const WindowFacts& window) const {
  return windows_.isOwn(window) ? static_cast<int32_t>(getpid()) : window.pid;
}

RunningApplication WindowWorkspace::applicationOf(const WindowFacts& window) const {
  RunningApplication result;
  result.pid = pidOf(window);
  const std::string windowClass = window.className.empty() ? window.instanceName : window.className;
  const std::string program = windowClass.empty() ? programOfProcess(result.pid).name() : windowClass;
  const auto entry = entries_.forWindow(window.applicationId, window.className, window.instanceName);
  if (windows_.isOwn(window)) {
    result.bundleIdentifier = kOwnBundleIdentifier;  // also where it is not installed
  } else if (!window.applicationId.empty()) {
    result.bundleIdentifier = window.applicationId;
  } else {
    result.bundleIdentifier = entry ? entry->id : program;
  }
  result.name = entry && !entry->name.empty() ? entry->name : program;
  return result;
}

std::vector<RunningApplication> WindowWorkspace::owners(const std::vector<WindowFacts>& windows) const {
  std::vector<RunningApplication> result;
  for (const WindowFacts& window : windows) {
    const int32_t pid = pidOf(window);
    if (pid > 0 && std::ranges::find(result, pid, &RunningApplication::pid) == result.end()) {
      result.push_back(applicationOf(window));
    }
  }
  return result;
}

std::optional<WindowFacts> WindowWorkspace::frontmostWindow(const std::vector<WindowFacts>& windows) {
  const WindowId active = windows_.activeWindow();
  // While a window of Wayland has the keyboard, GNOME's later shells call a hidden one of their own active.
  const bool isListed = !onlyActive_ || std::ranges::find(windows, active, &WindowFacts::id) != windows.end();
  if (auto facts = active && isListed ? windows_.window(active) : std::nullopt;
      facts && !windows_.isOwn(*facts) && facts->pid > 0) {
    return facts;
  }
  if (onlyActive_) {
    return std::nullopt;
  }
  const auto top = std::ranges::find_if(windows, [&](const WindowFacts& window) {
    return isApplicationWindow(window) && !window.hidden && pidOf(window) > 0;
  });
  return top == windows.end() ? std::nullopt : std::optional(*top);
}

std::optional<RunningApplication> WindowWorkspace::frontmostApplication() {
  const auto window = frontmostWindow(windows_.windowsFrontToBack());
  return window ? std::optional(applicationOf(*window)) : std::nullopt;
}

std::vector<RunningApplication> WindowWorkspace::applicationsFrontToBack() {
  std::vector<WindowFacts> windows = windows_.windowsFrontToBack();
  const auto front = frontmostWindow(windows);
  std::erase_if(windows, [&](const WindowFacts& window) {
    return window.hidden || !isApplicationWindow(window) || (onlyActive_ && (!front || pidOf(window) != pidOf(*front)));
  });
  std::vector<RunningApplication> result = owners(windows);
  // A window that is kept above others may cover the one that the user works in.
  if (front) {
    const auto found = std::ranges::find(result, pidOf(*front), &RunningApplication::pid);
    if (found != result.end()) {
      std::rotate(result.begin(), found, found + 1);
    }
  }
  return result;
}

std::vector<RunningApplication> WindowWorkspace::runningApplicationsWithBundleIdentifier(
    const std::string& identifier) {
  std::vector<WindowFacts> windows = windows_.windowsFrontToBack();
  const bool dock = identifier == kDockBundleIdentifier;
  std::erase_if(windows, [&](const WindowFacts& window) {
    return dock ? window.type != WindowType::dock : !isApplicationWindow(window);
  });
  std::vector<RunningApplication> result = owners(windows);
  if (!dock) {
    std::erase_if(result, [&](const RunningApplication& app) { return app.bundleIdentifier != identifier; });
  }
  return result;
}

std::optional<RunningApplication> WindowWorkspace::runningApplicationWithPid(int32_t pid) {
  std::vector<WindowFacts> windows = windows_.windowsFrontToBack();
  std::erase_if(windows, [&](const WindowFacts& window) { return pidOf(window) != pid; });
  // A process may own a dock and a preferences window; the window of an application names it best.
  std::stable_partition(windows.begin(), windows.end(), isApplicationWindow);
  const auto found = owners(windows);
  return found.empty() ? std::nullopt : std::optional(found.front());
}

std::optional<WindowFacts> WindowWorkspace::topmostWindow(int32_t pid, std::vector<WindowFacts> windows) const {
  std::erase_if(windows,
                [&](const WindowFacts& window) { return !isApplicationWindow(window) || pidOf(window) != pid; });
  std::stable_partition(windows.begin(), windows.end(), [](const WindowFacts& window) { return !window.hidden; });
  return windows.empty() ? std::nullopt : std::optional(windows.front());
}

std::optional<Rect> WindowWorkspace::focusedWindowFrame(int32_t pid) {
  const auto window = topmostWindow(pid, windows_.windowsFrontToBack());
  if (!screens_ || !window || window->hidden) {
    return std::nullopt;
  }
  const Rect& outer = window->frame;
  const Insets& shadow = window->shadow;
  const double bottom = outer.maxY() - shadow.bottom;
  return Rect{outer.x + shadow.left, screens_->primaryFrame().maxY() - bottom, outer.width - shadow.left - shadow.right,
              outer.height - shadow.top - shadow.bottom};
}

bool WindowWorkspace::activate(int32_t pid, uint32_t options) {
  const bool force = (options & kActivateIgnoringOtherApps) != 0;
  // This comes while the window system is busy with a window that has just gone.
  auto window = topmostWindow(pid, windows_.windowsLately());
  if (!window) {
    window = topmostWindow(pid, windows_.windowsFrontToBack());
  }
  if (!window) {
    return false;
  }
  if (!force) {
    const WindowId activeId = windows_.activeWindow();
    const auto active = activeId == window->id ? window : activeId ? windows_.window(activeId) : std::nullopt;
    if (active && pidOf(*active) == pid) {
      return true;
    }
  }
  return windows_.requestActive(window->id, force);
}

}  // namespace jumplark
