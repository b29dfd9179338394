// What of AtspiMenus is about menus that are open.
#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <utility>

#include "backends/linux/atspi/element/Roles.h"
#include "backends/linux/atspi/menus/AtspiMenus.h"
#include "backends/linux/atspi/menus/MenuReopener.h"
#include "backends/linux/atspi/menus/MenuRoles.h"
#include "backends/linux/atspi/menus/PopoverItems.h"
#include "backends/linux/windows/MenuWindow.h"
#include "platform/Input.h"

namespace jumplark::atspi {
namespace {

constexpr size_t kMostHolders = 50;
constexpr size_t kMostBars = 32;
constexpr auto kLongestSearch = std::chrono::milliseconds(500);
/// Menus that are opened anew may take two attempts.
constexpr auto kLongestReopening = std::chrono::seconds(2);
/// Until the shortcut that was pressed over it closes it.
constexpr auto kStaysOpen = std::chrono::seconds(1);

/// The arrow of the box below which a list shows, by the list's corner: the next one to the right that ends there.
/// Empty where none does.
ElementRef arrowAbove(const Snapshot& snapshot, Point list) {
  constexpr double kGap = 8;
  const ElementFacts* nearest = nullptr;
  for (const ElementTree::Node& node : snapshot.tree.nodes()) {
    const ElementFacts& one = *node.facts;
    if (one.role == role::toggleButton && one.is(state::showing) && one.extents && one.extents->x >= list.x &&
        std::abs(one.extents->maxY() - list.y) <= kGap && (!nearest || one.extents->x < nearest->extents->x)) {
      nearest = &one;
    }
  }
  return nearest ? nearest->ref : ElementRef();
}

/// The button there; empty without one.
ElementRef buttonAt(const Snapshot& snapshot, Point place) {
  ElementRef found;
  for (const ElementTree::Node& node : snapshot.tree.nodes()) {
    const ElementFacts& one = *node.facts;
    const bool isButton = role::isOneOf<role::pushButton, role::toggleButton>(one.role);
    if (isButton && one.is(state::showing) && one.extents && one.extents->contains(place)) {
      found = one.ref;
    }
  }
  return found;
}

}  // namespace

std::optional<WindowFacts> AtspiMenus::windowInFront() {
  if (auto active = windows_.window(windows_.activeWindow())) {
    return active;
  }
  // None is active while something else than a window has the keyboard, or is about to get it.
  for (WindowFacts& window : windows_.windowsFrontToBack()) {
    if (isNormalOrDialog(window) && !window.hidden && !windows_.isOwn(window)) {
      return std::move(window);
    }
  }
  return std::nullopt;
}

menus::OpenCommands::Told AtspiMenus::readOpen(TimePoint deadline, bool isKeyboardTaken) {
  const auto window = windowInFront();
  if (!window) {
    return {};
  }
  const std::vector<WindowFacts> popups = popupsOf(*window);
  if (popups.empty() && !isKeyboardTaken && !mayHaveOpened(*window, deadline)) {
    return {};
  }
  menus::OpenCommands::Told told{
      window->pid, readOpen({window->pid, *window, deadline}, openingOf(popups), Look::first), {}};
  std::ranges::transform(popups, std::back_inserter(told.popups), &WindowFacts::id);
  return told;
}

bool AtspiMenus::mayHaveOpened(const WindowFacts& window, TimePoint deadline) {
  // An X server tells of all pop-ups, a compositor not of those that are parts of a window.
  const ElementRef application = window.knowsItsPlace ? ElementRef() : elements_.knownApplication(window.pid);
  return handleOf(application) &&
         elements_.toolkitOf(application).mayHaveOpened(elements_.connection(), application, deadline);
}

std::vector<WindowFacts> AtspiMenus::popupsOf(const WindowFacts& window) {
  std::vector<WindowFacts> popups = windows_.popupsFrontToBack();
  std::erase_if(popups, [&](const WindowFacts& popup) {
    const bool isOwn = popup.pid == window.pid || popup.connectionPid == window.connectionPid;
    return !isOwn || !isMenuWindow(popup);
  });
  return popups;
}

void AtspiMenus::applicationBecameActive(int32_t pid) {
  const auto window = windows_.window(windows_.activeWindow());
  if (!window || window->pid != pid || knownBar(window->id)) {
    return;
  }
  const Place place = placeOf({pid, *window, {}});
  MenuFacts facts(elements_.connection(), nullptr, Clock::now() + kLongestSearch, [] {});
  const ElementRef bar = handleOf(place.frame) ? findBar(facts, place.frame) : ElementRef();
  if (bar) {
    const std::lock_guard lock(mutex_);
    bars_.emplace_front(window->id, bar);
    bars_.resize(std::min(bars_.size(), kMostBars));
  }
}

ElementRef AtspiMenus::knownBar(WindowId window) {
  const std::lock_guard lock(mutex_);
  const auto found = std::ranges::find(bars_, window, &std::pair<WindowId, ElementRef>::first);
  return found == bars_.end() ? ElementRef() : found->second;
}

MenuOpening AtspiMenus::openingOf(const std::vector<WindowFacts>& popups) {
  // Who has moved on to the command that he wanted has not left the menu.
  constexpr double kBeside = 30;
  MenuOpening opening;
  opening.readAt = Clock::now();
  const auto pointer = hands_.pointer();
  for (const WindowFacts& popup : popups) {
    const Rect menu = popup.withoutShadow();
    opening.place = {menu.x, menu.y};
    const Rect around{menu.x - kBeside, menu.y - kBeside, menu.width + 2 * kBeside, menu.height + 2 * kBeside};
    opening.isByPointer = opening.isByPointer || (pointer && around.contains(*pointer));
  }
  return opening;
}

OpenMenus::Heads AtspiMenus::headsOf(MenuFacts& facts, const menus::MenuRequest& request, const Place& place) {
  OpenMenus::Heads heads{.application = place.application, .window = place.frame};
  for (const WindowFacts& popup : popupsOf(request.window)) {
    heads.popups.push_back(popup.surface);
  }
  const Toolkit& toolkit = elements_.toolkitOf(place.application);
  const auto pointer = hands_.pointer();
  if (heads.popups.empty() && handleOf(place.frame)) {
    heads.boxOf = [this, &toolkit, frame = place.frame, deadline = request.deadline](const ElementRef& list) {
      return toolkit.boxOf(elements_.connection(), frame, list, deadline);
    };
  }
  heads.tellsShowing = toolkit.tellsShowing();
  heads.actsWhenClosed = toolkit.actsInClosedMenus();
  if (!place.snapshot) {
    heads.pointer = pointer;
    heads.bar = knownBar(request.window.id);
    if (handleOf(place.frame)) {
      heads.bar = heads.bar ? heads.bar : findBar(facts, place.frame);
      heads.openers = {toolkit.findOpener(elements_.connection(), place.frame, request.deadline)};
    }
    return heads;
  }
  heads.bar = place.snapshot->menuBar;
  heads.pointedAt = pointer ? buttonAt(*place.snapshot, *pointer) : ElementRef();
  for (const ElementTree::Node& node : place.snapshot->tree.nodes()) {
    const ElementFacts& element = *node.facts;
    const bool isBox = element.role == role::comboBox;
    std::vector<ElementRef>& kind = isBox ? heads.holders : heads.openers;
    const bool mayOpen = isBox || (element.is(state::hasPopup) && element.is(state::showing));
    if (mayOpen && kind.size() < kMostHolders) {
      kind.push_back(element.ref);
    }
  }
  return heads;
}

std::vector<MenuCommand> AtspiMenus::readOpen(const menus::MenuRequest& request, const MenuOpening& called, Look look) {
  const Place place = placeOf(request);
  if (!handleOf(place.application)) {
    return {};
  }
  MenuFacts facts(elements_.connection(), nullptr, request.deadline, [] {});
  OpenMenus::Heads heads = headsOf(facts, request, place);
  auto commands = OpenMenus(facts).read(heads, request, called);
  if (commands.empty() && handleOf(place.frame) &&
      (!heads.popups.empty() || mayHaveOpened(request.window, request.deadline))) {
    Toolkit::Opened found = elements_.toolkitOf(place.application)
                                .findOpen(elements_.connection(), place.frame, place.snapshot.get(), request.deadline);
    if (!found.menus.empty() || !found.boxes.empty()) {
      heads.unlisted = std::move(found.menus);
      heads.holders = std::move(found.boxes);
      commands = OpenMenus(facts).read(heads, request, called);
    }
  }
  if (commands.empty() && heads.tellsShowing && !place.snapshot) {
    // Which boxes there are only a snapshot knows, and the user has not called over this window before.
    if (const SnapshotPointer now = elements_.takeUntil(place.application, request.deadline)) {
      commands =
          OpenMenus(facts).read(headsOf(facts, request, {place.application, now->focusedWindow, now}), request, called);
    }
  }
  return commands.empty() && !heads.tellsShowing ? readPopups(request, place.application, called, look) : commands;
}

SnapshotPointer AtspiMenus::whatShows(const menus::MenuRequest& request, const ElementRef& application, Look look) {
  const SnapshotPointer last = lastSnapshot_(application);
  if (look == Look::first) {
    // With the press of the shortcut a snapshot has begun, which saw what is still open.
    elements_.snapshotsUnderWay().waitForNone(request.deadline);
    SnapshotPointer now = lastSnapshot_(application);
    const std::lock_guard lock(mutex_);
    if (now && now != told_.lock() && !now->popovers.empty() && Clock::now() - now->takenAt < kStaysOpen) {
      told_ = now;
      return now;
    }
  }
  const bool isInTime = !last || last->took < request.deadline - Clock::now();
  return isInTime ? elements_.takeUntil(application, request.deadline) : nullptr;
}

std::vector<MenuCommand> AtspiMenus::readPopups(const menus::MenuRequest& request, const ElementRef& application,
                                                MenuOpening called, Look look) {
  std::vector<Rect> popups;
  for (const WindowFacts& popup : windows_.popupsFrontToBack()) {
    if (popup.pid == request.pid) {
      popups.push_back(popup.surface);
    }
  }
  const bool mayTell = !popups.empty() || !request.window.knowsItsPlace;
  const SnapshotPointer now = mayTell ? whatShows(request, application, look) : nullptr;
  std::vector<MenuCommand> commands;
  if (!now) {
    return commands;
  }
  called.together = std::make_shared<std::vector<std::string>>();
  for (const PopoverItem& found : itemsOfPopovers(*now, popups)) {
    MenuEntry entry{{&found.item}, {}, false};
    if (found.title) {
      entry.way.insert(entry.way.begin(), &*found.title);
    }
    auto [command, handle] = menuCommand(entry, request, false);
    command.isOpen = true;
    handle->opening = called;
    handle->opening->holder = found.holder;
    handle->steps = found.steps;
    handle->place = found.place;
    called.together->push_back(found.item.name);
    commands.push_back(std::move(command));
  }
  return commands;
}

bool AtspiMenus::chooseOpen(const AtspiMenuHandle& command, TimePoint deadline) {
  if (!menu_role::isEntry(command.role)) {
    return act(command, deadline) == MenuOutcome::done;
  }
  // The action of an entry is another than to choose it. A list that opens has the selected one focused.
  if (command.steps) {
    for (int step = 0; step < std::abs(*command.steps); ++step) {
      hands_.typeKey(*command.steps > 0 ? key_code::down : key_code::up);
    }
    hands_.typeKey(key_code::returnKey);
  } else if (command.place) {
    hands_.click({command.place->midX(), command.place->midY()});
  }
  return command.steps || command.place;
}

MenuOutcome AtspiMenus::reopen(const AtspiMenuHandle& command) {
  const auto look = [this](const AtspiMenuHandle& wanted, TimePoint until) {
    menus::MenuRequest request = wanted.menus;
    request.deadline = until;
    return readOpen(request, *wanted.opening, Look::again);
  };
  const TimePoint deadline = Clock::now() + kLongestReopening;
  // Where places in pop-ups are told wrong, and items of submenus that another page hides seem to show, a click may hit
  // anything.
  MenuReopener::Act act;
  if (elements_.toolkitOf(elements_.application(command.menus.pid)).placesByPopups()) {
    act = [&](const AtspiMenuHandle& open) { return chooseOpen(open, deadline); };
  }
  AtspiMenuHandle wanted = command;
  MenuOpening& opening = *wanted.opening;
  const SnapshotPointer last = lastSnapshot_(elements_.application(command.menus.pid));
  if (last && !opening.holder && !opening.box) {
    // By now it is known what there is.
    opening.holder = opening.pressedAt ? buttonAt(*last, *opening.pressedAt) : ElementRef();
    if (!opening.holder && menu_role::isEntry(command.role)) {
      opening.holder = arrowAbove(*last, opening.place);
    }
  }
  return MenuReopener(opener_, hands_, look, std::move(act)).choose(wanted, deadline);
}

}  // namespace jumplark::atspi
