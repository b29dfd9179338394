#include "backends/linux/LinuxProgram.h"

#include <fmt/format.h>
#include <spdlog/spdlog.h>
#include <unistd.h>

#include <memory>
#include <stdexcept>
#include <utility>
#include <vector>

#include "backends/linux/CrashFacts.h"
#include "backends/linux/DesktopChecks.h"
#include "backends/linux/LinuxPlatform.h"
#include "backends/linux/OpenBackend.h"
#include "backends/linux/XwaylandMenus.h"
#include "backends/linux/crash/CrashFolder.h"
#include "backends/linux/crash/CrashHandlers.h"
#include "backends/linux/qt/QtAppViews.h"
#include "backends/linux/qt/QtDesktopServices.h"
#include "backends/linux/qt/QtMainLoop.h"
#include "backends/linux/qt/QtViews.h"
#include "backends/linux/qt/wayland/LayerWindows.h"
#include "backends/linux/qt/wayland/OrderlyEnd.h"
#include "backends/linux/qt/x11/X11Windows.h"
#include "backends/linux/system/AutostartFile.h"
#include "backends/linux/system/CurlHttp.h"
#include "backends/linux/system/DefaultsFile.h"
#include "backends/linux/system/DesktopCheck.h"
#include "backends/linux/system/LinuxFacts.h"
#include "backends/linux/system/PrivateFiles.h"
#include "backends/linux/system/SystemQueues.h"
#include "backends/linux/wayland/KeyFeed.h"
#include "backends/linux/wayland/WaylandBackend.h"
#include "backends/linux/x11/X11Backend.h"
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
  Parts(std::unique_ptr<LinuxPlatform> reached, std::shared_ptr<DesktopBackend> opened, SystemQueues& queueSet)
      : desktop(std::move(reached)),
        backend(std::move(opened)),
        queues(queueSet),
        loop(queues, qtPlatform()),
        defaults(queues, DefaultsFile::pathFromEnvironment()),
        files(PrivateFiles::folderFromEnvironment()),
        services(desktop != nullptr,
                 {[this] { return checkHealth(queues); },
                  [this](int32_t pid) { return desktop ? desktop->adviceForSilence(pid) : std::string(); }}),
        loginItem(queues, AutostartFile::Session::fromEnvironment(), AutostartFile::programFromSystem()),
        views({nativeWindows(), backend->screens(), queues.mainQueue()}),
        appViews(views, queues.mainQueue()) {
    if (desktop) {
      backend->setMenuHooks(menuHooks());
      worker = queues.makeSerialQueue("com.brindlefox.jumplark.active-application");
      watchDesktop();
    }
  }

  QtPlatform qtPlatform() const {
    const auto* const wayland = dynamic_cast<WaylandBackend*>(backend.get());
    if (wayland == nullptr) {
      return QtPlatform::xcb;
    }
    // Who has no layer shell leaves title bars to programs as well.
    return wayland->windowPlacer() ? QtPlatform::waylandWithTitleBars : QtPlatform::wayland;
  }

  /// Qt's part in our windows differs from one window system to the other.
  std::unique_ptr<NativeWindows> nativeWindows() {
    auto* const wayland = dynamic_cast<WaylandBackend*>(backend.get());
    return wayland != nullptr ? layerWindows(*wayland) : x11Windows(dynamic_cast<X11Backend&>(*backend));
  }

  std::unique_ptr<NativeWindows> x11Windows(X11Backend& x11) {
    WindowCallbacks callbacks{[this](uint32_t window) {
                                if (desktop) {
                                  backend->windows().requestActive(window, true);
                                }
                              },
                              [&x11] { x11.shortcuts().keyboardArrived(); },
                              [this, &x11](uint32_t window) {
                                if (desktop) {
                                  x11.windows().passOver(window);
                                }
                              }};
    return std::make_unique<X11Windows>(x11.connection(), std::move(callbacks));
  }

  std::unique_ptr<NativeWindows> layerWindows(WaylandBackend& wayland) {
    LayerCallbacks callbacks;
    callbacks.activateWindow = [&wayland](const std::string& title) { wayland.activateOwnWindow(title); };
    callbacks.passOver = [&wayland](const std::string& title) { wayland.passOver(title); };
    callbacks.placeWindow = wayland.windowPlacer();
    wayland.setXMenus([this] { return xMenus.doShow(); });
    callbacks.queryWillShow = [&wayland] { return wayland.menusWillClose(); };
    callbacks.menusShow = [&wayland] { return wayland.doMenusShow(); };
    if (!callbacks.placeWindow) {
      // Some compositors leave the keyboard to menus.
      callbacks.keyboardRefused = [&wayland](int time) { wayland.closeMenu(time); };
    }
    endInOrderWithoutCompositor(queues.mainQueue());
    auto windows = LayerWindows::make(std::move(callbacks));
    if (!windows) {
      throw std::runtime_error("The compositor has taken away what the query shows with");
    }
    keys = std::make_unique<KeyFeed>(windows->keyboard(), wayland.input());
    return windows;
  }

  MenuHooks menuHooks() {
    return {[this] { desktop->shortcutMayCome(); },
            [this](bool hasKeyboard) { return desktop->menuWillClose(hasKeyboard); },
            [this] { return desktop->isMenuTold(); },
            [this](bool hasKeyboard) { return desktop->isMenuOpen(hasKeyboard); },
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

  /// The first thing that the user hears, and what it takes to change that.
  void offerExtension(gnome::ExtensionState state) {
    const gnome::ExtensionProblem problem = gnome::problemOf(state);
    const bool canSwitch = state == gnome::ExtensionState::off;
    const std::string meanwhile = localized("Until then only programs that run on Xwayland can be operated.");
    Alert alert{localized("Jumplark needs its extension for GNOME Shell"),
                fmt::format("{} {}{}", problem.finding, canSwitch ? "" : problem.remedy + ' ', meanwhile),
                {localized("OK")}};
    if (canSwitch) {
      alert.buttons = {localized("Switch It On"), localized("Not Now")};
    }
    views.showAlert(alert, [this, canSwitch](int button) {
      if (canSwitch && button == 0) {
        switchExtensionOn();
      }
    });
  }

  void switchExtensionOn() {
    const gnome::ExtensionState state = gnome::switchExtensionOn();
    if (state == gnome::ExtensionState::works) {
      // All that this process is made of is X11's.
      startAnew = true;
      loop.quit();
      return;
    }
    const gnome::ExtensionProblem problem = gnome::problemOf(state);
    views.showAlert({localized("The extension could not be switched on"),
                     fmt::format("{} {}", problem.finding, problem.remedy),
                     {localized("OK")}},
                    {});
  }

  void watchDesktop() {
    // Asks the application, which may be slow: not on the main thread.
    activeApplication = backend->onActiveApplicationChanged(
        [this](int32_t pid) { worker->post([this, pid] { desktop->applicationBecameActive(pid); }); });
    // The one that is in front already tells nobody so.
    worker->post([this] {
      if (const auto front = desktop->platform().workspace->frontmostApplication()) {
        desktop->applicationBecameActive(front->pid);
      }
    });
    buttonPresses = backend->onButtonPress([this](Point position) { views.pointerPressedOutside(position); });
  }

  bool startAnew = false;                                                           ///< once this program has ended
  const std::shared_ptr<bool> isTellingOfKeyboard = std::make_shared<bool>(false);  ///< an alert shows
  std::unique_ptr<LinuxPlatform> desktop;
  std::shared_ptr<DesktopBackend> backend;
  SystemQueues& queues;
  QtMainLoop loop;
  DefaultsFile defaults;
  CurlHttp http;
  PrivateFiles files;
  LinuxFacts facts;
  CrashFolder crashes{CrashFolder::pathFromEnvironment()};
  QtDesktopServices services;
  AutostartFile loginItem;
  XwaylandMenus xMenus;
  std::unique_ptr<KeyFeed> keys;  ///< on Wayland
  QtViews views;
  QtAppViews appViews;
  std::shared_ptr<TaskQueue> worker;
  Token ownAnswers = desktop ? desktop->workWhileWaiting(&QtMainLoop::answerAccessibilityCalls) : Token();
  Token activeApplication;
  Token buttonPresses;
};

LinuxProgram::Opened LinuxProgram::open(SystemQueues& queues) {
  const OpenedBackend backend = openBackend(queues.mainQueue());
  if (!backend.backend) {
    return {nullptr, backend.error};
  }
  const auto* const wayland = dynamic_cast<WaylandBackend*>(backend.backend.get());
  if (wayland != nullptr && !qtShowsWindowsOnWayland()) {
    return {nullptr, localized("The part of Qt that shows windows on Wayland is missing. Install the package "
                               "qt6-wayland.")};
  }
  if (wayland != nullptr && !wayland->canShowWindows()) {
    return {nullptr,
            fmt::format("{} {}",
                        localized("This Wayland compositor lets no program lay something over the others (it has no "
                                  "layer shell), so the query cannot show."),
                        localized("Use Jumplark in a session of sway, KDE or GNOME, or in one on X11."))};
  }
  auto opened = LinuxPlatform::open(queues, backend.backend);
  auto parts = std::make_unique<Parts>(std::move(opened.platform), backend.backend, queues);
  if (backend.extension != gnome::ExtensionState::works) {
    parts->offerExtension(backend.extension);
  }
  return {std::unique_ptr<LinuxProgram>(new LinuxProgram(std::move(parts))), opened.error};
}

LinuxProgram::LinuxProgram(std::unique_ptr<Parts> parts) : parts_(std::move(parts)) {
  if (parts_->desktop) {
    platform_ = parts_->desktop->platform();
  }
  platform_.queues = &parts_->queues;
  platform_.defaults = &parts_->defaults;
  platform_.inputSources = &parts_->backend->inputSources();
  platform_.shortcuts = &parts_->backend->shortcuts();
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

bool LinuxProgram::wantsToStartAnew() const {
  return parts_->startAnew;
}

bool LinuxProgram::awaitDisplay() {
  auto* const wayland = dynamic_cast<WaylandBackend*>(parts_->backend.get());
  const bool comes = wayland != nullptr && wayland->awaitSuccessor();
  if (comes) {
    QtMainLoop::restoreEnvironment();
  }
  return comes;
}

void LinuxProgram::installCrashHandlers() {
  std::string problem;
  static const FileDescriptor folder = parts_->crashes.open(problem);  // a crash may come at the very end
  if (!problem.empty()) {
    spdlog::warn("No crash report can be kept: {}", problem);
  }
  crash_handlers::install({folder.get(), crashFacts(parts_->backend->description())});
}

QtMainLoop& LinuxProgram::loop() {
  return parts_->loop;
}

}  // namespace jumplark
