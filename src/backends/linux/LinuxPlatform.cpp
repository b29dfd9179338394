#include "backends/linux/LinuxPlatform.h"

#include <unistd.h>

#include <algorithm>
#include <utility>

#include "backends/linux/OpenBackend.h"
#include "backends/linux/atspi/menus/AtspiMenus.h"
#include "backends/linux/atspi/source/AtspiElementSource.h"
#include "backends/linux/atspi/vocabulary/AtspiAccessibility.h"
#include "backends/linux/atspi/vocabulary/AtspiNotifications.h"
#include "backends/linux/menus/DBusMenus.h"
#include "backends/linux/menus/GtkMenus.h"
#include "backends/linux/menus/LinuxMenus.h"
#include "backends/linux/system/SystemRandom.h"
#include "backends/linux/windows/DesktopInput.h"
#include "backends/linux/windows/MenuWindow.h"
#include "backends/linux/windows/WindowMenus.h"
#include "backends/linux/windows/WindowSystem.h"
#include "platform/Queues.h"

namespace jumplark {
namespace {

/// Some boxes do not open their lists for a shorter click.
constexpr auto kClickHold = std::chrono::milliseconds(20);
constexpr int64_t kMenuKey = key_code::symbolBase + 0xFF67;
/// For so long a press waits to hear of what leaves the keyboard alone.
constexpr auto kOpenListsLimit = std::chrono::milliseconds(150);
using Keyboard = menus::OpenCommands::Keyboard;

Keyboard keyboardOf(bool isTaken) {
  return isTaken ? Keyboard::taken : Keyboard::free;
}

}  // namespace

// In the order in which each needs those before it.
struct LinuxPlatform::Parts {
  Parts(std::shared_ptr<DesktopBackend> opened, Queues& queueSet)
      : backend(std::move(opened)),
        queues(queueSet),
        windows(backend->windows()),
        input(backend->input()),
        elements(windows),
        accessibility(elements, windows),
        notifications(queueSet, {[this](int32_t pid) { return elements.application(pid); },
                                 [this](const ElementRef& application) {
                                   const auto read = elements.read({application}, atspi::facts::children, {}).front();
                                   return read.ok() ? read.value->children : std::vector<ElementRef>();
                                 }}),
        treeMenus(
            elements, windows,
            [this](const ElementRef& application) { return accessibility.lastSnapshotOf(application); }, hands()),
        gtkMenus(backend->windowMenus()),
        dbusMenus(backend->windowMenus()),
        openMenus(queueSet,
                  [this](menus::TimePoint deadline, Keyboard keyboard) {
                    // The window that is in front is this program's own where the user calls to have it closed.
                    const auto front = windows.window(windows.activeWindow());
                    const bool isOwn = front && front->pid == ::getpid();
                    return isOwn ? menus::OpenCommands::Told()
                                 : treeMenus.readOpen(deadline, keyboard == Keyboard::taken);
                  }),
        menus(queueSet, windows, openMenus, [this] { input.closeMenus(); }, gtkMenus,
              {&treeMenus, &gtkMenus, &dbusMenus}) {}

  std::chrono::milliseconds patience(bool hasKeyboard) const {
    return hasKeyboard ? backend->menuPatience() : kOpenListsLimit;
  }

  atspi::MenuHands hands() {
    const auto post = [this](uint32_t type, Point place) {
      input.postMouseEvent({type, place, 1}, event_location::session);
    };
    return {.click =
                [this, post](Point place) {
                  post(event_type::mouseMoved, place);
                  post(event_type::leftMouseDown, place);
                  queues.sleep(kClickHold);
                  post(event_type::leftMouseUp, place);
                },
            .clickSecondary = [this](Point place) { input.clickSecondary(place); },
            .typeMenuKey = [this] { input.typeKey(kMenuKey); },
            .typeEscape = [this] { input.typeKey(key_code::escape); },
            .typeKey = [this](int64_t keyCode) { input.typeKey(keyCode); },
            .closeMenus = [this] { input.closeMenus(); },
            .pointer = [this] { return input.pointer(); }};
  }

  std::shared_ptr<DesktopBackend> backend;
  Queues& queues;
  WindowSystem& windows;
  DesktopInput& input;
  SystemRandom random;
  atspi::AtspiElementSource elements;
  atspi::AtspiAccessibility accessibility;
  atspi::AtspiNotifications notifications;
  atspi::AtspiMenus treeMenus;
  menus::GtkMenus gtkMenus;
  menus::DBusMenus dbusMenus;
  menus::OpenCommands openMenus;
  menus::LinuxMenus menus;
};

LinuxPlatform::Opened LinuxPlatform::open(Queues& queues) {
  OpenedBackend opened = openBackend(queues.mainQueue());
  if (!opened.backend) {
    return {nullptr, std::move(opened.error)};
  }
  return open(queues, std::move(opened.backend));
}

LinuxPlatform::Opened LinuxPlatform::open(Queues& queues, std::shared_ptr<DesktopBackend> backend) {
  auto parts = std::make_unique<Parts>(std::move(backend), queues);
  if (const auto reachability = parts->elements.connect(); !reachability.reachable) {
    return {nullptr, reachability.advice};
  }
  std::unique_ptr<LinuxPlatform> platform(new LinuxPlatform(std::move(parts)));
  return {std::move(platform), {}};
}

LinuxPlatform::LinuxPlatform(std::unique_ptr<Parts> parts) : parts_(std::move(parts)) {
  platform_.accessibility = &parts_->accessibility;
  platform_.workspace = &parts_->backend->workspace();
  platform_.screens = &parts_->backend->screens();
  platform_.input = &parts_->input;
  platform_.queues = &parts_->queues;
  platform_.random = &parts_->random;
  platform_.notifications = &parts_->notifications;
  platform_.menus = &parts_->menus;
}

LinuxPlatform::~LinuxPlatform() = default;

void LinuxPlatform::shortcutMayCome() {
  parts_->openMenus.expect(kOpenListsLimit);
}

bool LinuxPlatform::menuWillClose(bool hasKeyboard) {
  return parts_->openMenus.read(parts_->patience(hasKeyboard), keyboardOf(hasKeyboard));
}

bool LinuxPlatform::isMenuTold() {
  return parts_->openMenus.hasRead();
}

bool LinuxPlatform::isMenuOpen(bool hasKeyboard) {
  return parts_->openMenus.areThere(parts_->patience(hasKeyboard), keyboardOf(hasKeyboard));
}

std::string LinuxPlatform::applicationWithOpenMenu() {
  const auto front = parts_->backend->workspace().frontmostApplication();
  const auto popups = parts_->windows.popupsFrontToBack();
  const bool isOpen = front && std::ranges::any_of(popups, [&](const WindowFacts& popup) {
                        return popup.pid == front->pid && isMenuWindow(popup);
                      });
  return isOpen ? front->name : std::string();
}

Token LinuxPlatform::workWhileWaiting(std::function<void()> work) {
  return parts_->elements.workWhileWaiting(std::move(work));
}

void LinuxPlatform::applicationBecameActive(int32_t pid) {
  parts_->elements.applicationBecameActive(pid);
  parts_->treeMenus.applicationBecameActive(pid);
}

std::vector<DesktopCheck> LinuxPlatform::readingChecks(const RunningApplication& application) {
  const ElementRef element = parts_->elements.application(application.pid);
  const auto snapshot = parts_->elements.take(element, true, {});
  return atspi::readingChecks(application.name, application.pid,
                              snapshot ? std::optional(parts_->elements.report(*snapshot)) : std::nullopt,
                              parts_->elements.adviceForSilent(application.pid));
}

std::string LinuxPlatform::adviceForSilence(int32_t pid) {
  const auto snapshot = parts_->accessibility.lastSnapshotOf(parts_->elements.application(pid));
  const auto report = snapshot ? std::optional(parts_->elements.report(*snapshot)) : std::nullopt;
  for (const DesktopCheck& check : atspi::readingChecks({}, pid, report, parts_->elements.adviceForSilent(pid))) {
    if (!check.remedy.empty()) {
      return check.remedy;
    }
  }
  return {};
}

}  // namespace jumplark
