// What of AtspiMenus is about menus that are open.
#include <algorithm>
#include <iterator>
#include <utility>

#include "backends/linux/atspi/element/Roles.h"
#include "backends/linux/atspi/menus/AtspiMenus.h"
#include "backends/linux/atspi/menus/MenuReopener.h"
#include "backends/linux/windows/MenuWindow.h"

namespace jumplark::atspi {
namespace {

constexpr size_t kMostHolders = 50;
constexpr size_t kMostBars = 32;
constexpr auto kLongestSearch = std::chrono::milliseconds(500);
/// Menus that are opened anew may take two attempts.
constexpr auto kLongestReopening = std::chrono::seconds(2);

MenuItemFacts itemOf(const ElementFacts& facts) {
  return {facts.ref, facts.role, facts.states, facts.name, {}, false};
}

}  // namespace

menus::OpenCommands::Told AtspiMenus::readOpen(TimePoint deadline, bool isKeyboardTaken) {
  const auto window = windows_.window(windows_.activeWindow());
  if (!window) {
    return {};
  }
  const std::vector<WindowFacts> popups = popupsOf(*window);
  if (popups.empty() && !isKeyboardTaken) {
    return {};
  }
  menus::OpenCommands::Told told{window->pid, readOpen({window->pid, *window, deadline}, openingOf(popups)), {}};
  std::ranges::transform(popups, std::back_inserter(told.popups), &WindowFacts::id);
  return told;
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
  heads.tellsShowing = toolkit.tellsShowing();
  heads.actsWhenClosed = toolkit.actsInClosedMenus();
  if (!place.snapshot) {
    heads.bar = knownBar(request.window.id);
    heads.bar = !heads.bar && handleOf(place.frame) ? findBar(facts, place.frame) : heads.bar;
    return heads;
  }
  heads.bar = place.snapshot->menuBar;
  const auto pointer = hands_.pointer();
  for (const ElementTree::Node& node : place.snapshot->tree.nodes()) {
    const ElementFacts& element = *node.facts;
    const bool isBox = element.role == role::comboBox;
    std::vector<ElementRef>& kind = isBox ? heads.holders : heads.openers;
    const bool mayOpen = isBox || (element.is(state::hasPopup) && element.is(state::showing));
    const bool isButton = role::isOneOf<role::pushButton, role::toggleButton>(element.role);
    if (isButton && pointer && element.is(state::showing) && element.extents && element.extents->contains(*pointer)) {
      heads.pointedAt = element.ref;
    }
    if (mayOpen && kind.size() < kMostHolders) {
      kind.push_back(element.ref);
    }
  }
  return heads;
}

std::vector<MenuCommand> AtspiMenus::readOpen(const menus::MenuRequest& request, const MenuOpening& called) {
  const Place place = placeOf(request);
  if (!handleOf(place.application)) {
    return {};
  }
  MenuFacts facts(elements_.connection(), nullptr, request.deadline, [] {});
  OpenMenus::Heads heads = headsOf(facts, request, place);
  auto commands = OpenMenus(facts).read(heads, request, called);
  if (commands.empty() && !heads.popups.empty() && handleOf(place.frame)) {
    Toolkit::Opened found = elements_.toolkitOf(place.application)
                                .findOpen(elements_.connection(), place.frame, place.snapshot.get(), request.deadline);
    if (!found.menus.empty() || !found.boxes.empty()) {
      heads.unlisted = std::move(found.menus);
      heads.holders = std::move(found.boxes);
      commands = OpenMenus(facts).read(heads, request, called);
    }
  }
  const SnapshotPointer last = lastSnapshot_(place.application);
  const bool isInTime = !last || last->took < request.deadline - Clock::now();
  const bool canPlacesTell = !heads.tellsShowing && isInTime;
  return commands.empty() && canPlacesTell ? readPopups(request, place.application, called) : commands;
}

std::vector<MenuCommand> AtspiMenus::readPopups(const menus::MenuRequest& request, const ElementRef& application,
                                                MenuOpening called) {
  std::vector<Rect> popups;
  for (const WindowFacts& popup : windows_.popupsFrontToBack()) {
    if (popup.pid == request.pid) {
      popups.push_back(popup.surface);
    }
  }
  const SnapshotPointer now = popups.empty() ? nullptr : elements_.takeUntil(application, request.deadline);
  std::vector<MenuCommand> commands;
  if (!now) {
    return commands;
  }
  called.together = std::make_shared<std::vector<std::string>>();
  std::optional<MenuItemFacts> title;
  for (const ElementTree::Node& node : now->tree.nodes()) {
    const ElementFacts& facts = *node.facts;
    const bool isOfBar = node.parent != ElementTree::kNone && now->tree[node.parent].facts->role == role::menuBar;
    const bool opens = isOfBar || role::isOneOf<role::pushButton, role::toggleButton, role::comboBox>(facts.role);
    if (opens && facts.is(state::expanded)) {
      called.holder = facts.ref;
      title = isOfBar ? std::optional(itemOf(facts)) : std::nullopt;
    }
  }
  for (const ElementTree::Node& node : now->tree.nodes()) {
    const ElementFacts& facts = *node.facts;
    const auto holds = [&](const Rect& popup) {
      return popup.contains({facts.extents->midX(), facts.extents->midY()});
    };
    const bool isItem = role::isOneOf<role::menuItem, role::checkMenuItem, role::radioMenuItem>(facts.role);
    if (isItem && facts.is(state::showing) && facts.extents && !facts.name.empty() &&
        std::ranges::any_of(popups, holds)) {
      const MenuItemFacts item = itemOf(facts);
      MenuEntry entry{{&item}, {}, false};
      if (title) {
        entry.way.insert(entry.way.begin(), &*title);
      }
      auto [command, handle] = menuCommand(entry, request, false);
      handle->opening = called;
      called.together->push_back(facts.name);
      commands.push_back(std::move(command));
    }
  }
  return commands;
}

MenuOutcome AtspiMenus::reopen(const AtspiMenuHandle& command) {
  const auto look = [this](const AtspiMenuHandle& wanted, TimePoint until) {
    menus::MenuRequest request = wanted.menus;
    request.deadline = until;
    return readOpen(request, *wanted.opening);
  };
  const TimePoint deadline = Clock::now() + kLongestReopening;
  // Where places in pop-ups are told wrong, and items of submenus that another page hides seem to show, a click may hit
  // anything.
  MenuReopener::Act act;
  if (elements_.toolkitOf(elements_.application(command.menus.pid)).placesByPopups()) {
    act = [&](const AtspiMenuHandle& open) { return this->act(open, deadline) == MenuOutcome::done; };
  }
  return MenuReopener(opener_, hands_, look, std::move(act)).choose(command, deadline);
}

}  // namespace jumplark::atspi
