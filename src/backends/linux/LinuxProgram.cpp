#include "backends/linux/LinuxProgram.h"

#include <spdlog/spdlog.h>
#include <unistd.h>

#include <memory>
#include <utility>
#include <vector>

#include "backends/linux/CrashFacts.h"
#include "backends/linux/DesktopChecks.h"
#include "backends/linux/LinuxPlatform.h"
#include "backends/linux/crash/CrashFolder.h"
#include "backends/linux/crash/CrashHandlers.h"
#include "backends/linux/qt/QtAppViews.h"
#include "backends/linux/qt/QtDesktopServices.h"
#include "backends/linux/qt/QtMainLoop.h"
#include "backends/linux/qt/QtViews.h"
#include "backends/linux/system/AutostartFile.h"
#include "backends/linux/system/CurlHttp.h"
#include "backends/linux/system/DefaultsFile.h"
#include "backends/linux/system/DesktopCheck.h"
#include "backends/linux/system/LinuxFacts.h"
#include "backends/linux/system/PrivateFiles.h"
#include "backends/linux/system/SystemQueues.h"
#include "backends/linux/x11/DesktopWatcher.h"
#include "backends/linux/x11/X11Connection.h"
#include "backends/linux/x11/X11Input.h"
#include "backends/linux/x11/X11InputSources.h"
#include "backends/linux/x11/X11Screens.h"
#include "backends/linux/x11/X11Shortcuts.h"
#include "backends/linux/x11/X11WindowSystem.h"
#include "platform/Texts.h"
#include "platform/Workspace.h"

namespace jumplark {
namespace {

/// Of the application that is in front of all but this one. It is read over connections of its own, so that an
/// activation which goes on meanwhile keeps its snapshot.
std::vector<DesktopCheck> applicationChecks(SystemQueues& queues) {
  const auto opened = LinuxPlatform::open(queues);
  if (!opened.platform) {
    return {};
  }
  for (const RunningApplication& application : opened.platform->platform().workspace->applicationsFrontToBack()) {
    if (application.pid != ::getpid()) {
      return opened.platform->readingChecks(application);
    }
  }
  return {};
}

std::vector<DesktopServices::HealthFinding> checkHealth(SystemQueues& queues) {
  std::vector<DesktopCheck> checks = desktopChecks();
  const std::vector<DesktopCheck> application = applicationChecks(queues);
  checks.insert(checks.end(), application.begin(), application.end());
  std::vector<DesktopServices::HealthFinding> findings;
  for (const DesktopCheck& check : checks) {
    using Level = DesktopServices::HealthFinding::Level;
    const Level level = check.level == DesktopCheck::ok        ? Level::ok
                        : check.level == DesktopCheck::warning ? Level::warning
                                                               : Level::failure;
    findings.push_back({level, check.name, check.finding, check.remedy});
  }
  return findings;
}

}  // namespace

// In the order in which each needs those before it.
struct LinuxProgram::Parts {
  /// `reached` is null where only messages can be shown.
  Parts(std::unique_ptr<LinuxPlatform> reached, std::shared_ptr<X11Connection> x, SystemQueues& queueSet)
      : desktop(std::move(reached)),
        connection(std::move(x)),
        queues(queueSet),
        ownScreens(desktop ? nullptr : std::make_unique<X11Screens>(connection, queues.mainQueue())),
        loop(queues),
        defaults(queues, DefaultsFile::pathFromEnvironment()),
        files(PrivateFiles::folderFromEnvironment()),
        services(desktop != nullptr,
                 {[this] { return checkHealth(queues); },
                  [this](int32_t pid) { return desktop ? desktop->adviceForSilence(pid) : std::string(); }}),
        loginItem(queues, AutostartFile::Session::fromEnvironment(), AutostartFile::programFromSystem()),
        inputSources(connection),
        shortcuts(connection->displayName(), queues.mainQueue(), shortcutHooks()),
        views({connection, screens(), queues.mainQueue(), windowCallbacks()}),
        appViews(views, queues.mainQueue()) {
    if (desktop) {
      watcher = DesktopWatcher::create(connection->displayName(), queues.mainQueue());
      worker = queues.makeSerialQueue("com.brindlefox.jumplark.active-application");
      watchDesktop();
    }
  }

  Screens& screens() { return ownScreens ? *ownScreens : *desktop->platform().screens; }

  X11Shortcuts::Hooks shortcutHooks() {
    return {[this](uint32_t xTime) { desktop->windows().noteUserTime(xTime); },
            [this](uint8_t keycode) { desktop->input().expectOwnRelease(keycode); },
            [this] {
              if (desktop) {
                desktop->shortcutMayCome();
              }
            },
            [this](bool hasKeyboard) { return desktop && desktop->menuWillClose(hasKeyboard); },
            [this] {
              queues.mainQueue().post([this, isAlive = std::weak_ptr<bool>(isTellingOfKeyboard)] {
                if (!isAlive.expired()) {
                  tellWhoKeepsTheKeyboard();
                }
              });
            }};
  }

  void tellWhoKeepsTheKeyboard() {
    const std::string name = desktop ? desktop->applicationWithOpenMenu() : std::string();
    if (name.empty() || std::exchange(*isTellingOfKeyboard, true)) {
      return;
    }
    const Alert alert{localized("The query window cannot open"),
                      localizedFormat("{} has a menu open, keeps the keyboard for it and does not answer.", name),
                      {localized("OK")},
                      false};
    views.showAlert(alert, [isTelling = isTellingOfKeyboard](int) { *isTelling = false; });
  }

  WindowCallbacks windowCallbacks() {
    return {[this](uint32_t window) {
              if (desktop) {
                desktop->windows().requestActive(window, true);
              }
            },
            [this] { shortcuts.keyboardArrived(); },
            [this](uint32_t window) {
              if (desktop) {
                desktop->windows().passOver(window);
              }
            }};
  }

  void watchDesktop() {
    if (!watcher) {
      return;
    }
    // Asks the application, which may be slow: not on the main thread.
    activeApplication = watcher->onActiveApplicationChanged(
        [this](int32_t pid) { worker->post([this, pid] { desktop->applicationBecameActive(pid); }); });
    // The one that is in front already tells nobody so.
    worker->post([this] {
      if (const auto front = desktop->platform().workspace->frontmostApplication()) {
        desktop->applicationBecameActive(front->pid);
      }
    });
    buttonPresses = watcher->onButtonPress([this](Point position) { views.pointerPressedOutside(position); });
  }

  const std::shared_ptr<bool> isTellingOfKeyboard = std::make_shared<bool>(false);  ///< an alert shows
  std::unique_ptr<LinuxPlatform> desktop;
  std::shared_ptr<X11Connection> connection;
  SystemQueues& queues;
  std::unique_ptr<X11Screens> ownScreens;
  QtMainLoop loop;
  DefaultsFile defaults;
  CurlHttp http;
  PrivateFiles files;
  LinuxFacts facts;
  CrashFolder crashes{CrashFolder::pathFromEnvironment()};
  QtDesktopServices services;
  AutostartFile loginItem;
  X11InputSources inputSources;
  X11Shortcuts shortcuts;
  QtViews views;
  QtAppViews appViews;
  std::unique_ptr<DesktopWatcher> watcher;
  std::shared_ptr<TaskQueue> worker;
  Token ownAnswers = desktop ? desktop->workWhileWaiting(&QtMainLoop::answerAccessibilityCalls) : Token();
  Token activeApplication;
  Token buttonPresses;
};

LinuxProgram::Opened LinuxProgram::open(SystemQueues& queues) {
  auto opened = LinuxPlatform::open(queues);
  std::shared_ptr<X11Connection> x = opened.platform ? opened.platform->connection() : X11Connection::open().connection;
  if (!x) {
    return {nullptr, opened.error};
  }
  auto parts = std::make_unique<Parts>(std::move(opened.platform), std::move(x), queues);
  return {std::unique_ptr<LinuxProgram>(new LinuxProgram(std::move(parts))), opened.error};
}

LinuxProgram::LinuxProgram(std::unique_ptr<Parts> parts) : parts_(std::move(parts)) {
  if (parts_->desktop) {
    platform_ = parts_->desktop->platform();
  }
  platform_.queues = &parts_->queues;
  platform_.defaults = &parts_->defaults;
  platform_.inputSources = &parts_->inputSources;
  platform_.shortcuts = &parts_->shortcuts;
  platform_.views = &parts_->views;
  platform_.http = &parts_->http;
  platform_.files = &parts_->files;
  platform_.facts = &parts_->facts;
  platform_.appViews = &parts_->appViews;
  platform_.desktop = &parts_->services;
  platform_.loginItem = &parts_->loginItem;
  platform_.crashReports = &parts_->crashes;
}

LinuxProgram::~LinuxProgram() = default;

void LinuxProgram::installCrashHandlers() {
  std::string problem;
  static const FileDescriptor folder = parts_->crashes.open(problem);  // a crash may come at the very end
  if (!problem.empty()) {
    spdlog::warn("No crash report can be kept: {}", problem);
  }
  crash_handlers::install({folder.get(), crashFacts(*parts_->connection)});
}

QtMainLoop& LinuxProgram::loop() {
  return parts_->loop;
}

}  // namespace jumplark
