#include "backends/linux/LinuxProgram.h"

#include <utility>

#include "backends/linux/LinuxPlatform.h"
#include "backends/linux/qt/QtMainLoop.h"
#include "backends/linux/qt/QtViews.h"
#include "backends/linux/system/DefaultsFile.h"
#include "backends/linux/system/SystemQueues.h"
#include "backends/linux/x11/DesktopWatcher.h"
#include "backends/linux/x11/X11Connection.h"
#include "backends/linux/x11/X11Input.h"
#include "backends/linux/x11/X11InputSources.h"
#include "backends/linux/x11/X11Shortcuts.h"
#include "backends/linux/x11/X11WindowSystem.h"

namespace jumplark {

// In the order in which each needs those before it.
struct LinuxProgram::Parts {
  Parts(std::unique_ptr<LinuxPlatform> reached, SystemQueues& queueSet)
      : desktop(std::move(reached)),
        queues(queueSet),
        loop(queues),
        defaults(queues, DefaultsFile::pathFromEnvironment()),
        inputSources(desktop->connection()),
        shortcuts(desktop->connection()->displayName(), queues.mainQueue(), shortcutHooks()),
        views({desktop->connection(), *desktop->platform().screens, queues.mainQueue(), windowCallbacks()}),
        watcher(DesktopWatcher::create(desktop->connection()->displayName(), queues.mainQueue())),
        worker(queues.makeSerialQueue("com.brindlefox.jumplark.active-application")) {
    watchDesktop();
  }

  X11Shortcuts::Hooks shortcutHooks() {
    return {[this](uint32_t xTime) { desktop->windows().noteUserTime(xTime); },
            [this](uint8_t keycode) { desktop->input().expectOwnRelease(keycode); }};
  }

  WindowCallbacks windowCallbacks() {
    return {[this](uint32_t window) { desktop->windows().requestActive(window, true); },
            [this] { shortcuts.keyboardArrived(); }};
  }

  void watchDesktop() {
    if (!watcher) {
      return;
    }
    // Asks the application, which may be slow: not on the main thread.
    activeApplication = watcher->onActiveApplicationChanged(
        [this](int32_t pid) { worker->post([this, pid] { desktop->applicationBecameActive(pid); }); });
    buttonPresses = watcher->onButtonPress([this](Point position) { views.pointerPressedOutside(position); });
  }

  std::unique_ptr<LinuxPlatform> desktop;
  SystemQueues& queues;
  QtMainLoop loop;
  DefaultsFile defaults;
  X11InputSources inputSources;
  X11Shortcuts shortcuts;
  QtViews views;
  std::unique_ptr<DesktopWatcher> watcher;
  std::shared_ptr<TaskQueue> worker;
  Token activeApplication;
  Token buttonPresses;
};

LinuxProgram::Opened LinuxProgram::open(SystemQueues& queues) {
  auto opened = LinuxPlatform::open(queues);
  if (!opened.platform) {
    return {nullptr, opened.error};
  }
  auto parts = std::make_unique<Parts>(std::move(opened.platform), queues);
  return {std::unique_ptr<LinuxProgram>(new LinuxProgram(std::move(parts))), {}};
}

LinuxProgram::LinuxProgram(std::unique_ptr<Parts> parts)
    : parts_(std::move(parts)), platform_(parts_->desktop->platform()) {
  platform_.defaults = &parts_->defaults;
  platform_.inputSources = &parts_->inputSources;
  platform_.shortcuts = &parts_->shortcuts;
  platform_.views = &parts_->views;
}

LinuxProgram::~LinuxProgram() = default;

QtMainLoop& LinuxProgram::loop() {
  return parts_->loop;
}

}  // namespace jumplark
