// What of AtspiMenus is about menus that are open.
#include <algorithm>
#include <utility>

#include "backends/linux/atspi/element/Roles.h"
#include "backends/linux/atspi/menus/AtspiMenus.h"
#include "backends/linux/atspi/menus/MenuReopener.h"
#include "backends/linux/atspi/menus/OpenMenus.h"

namespace jumplark::atspi {
namespace {

constexpr size_t kMostHolders = 50;
constexpr size_t kMostBars = 32;
constexpr auto kLongestSearch = std::chrono::milliseconds(500);
/// Menus that are opened anew may take two attempts.
constexpr auto kLongestReopening = std::chrono::seconds(2);

}  // namespace

menus::OpenCommands::Told AtspiMenus::readOpen(TimePoint deadline) {
  const auto window = windows_.window(windows_.activeWindow());
  if (!window) {
    return {};
  }
  menus::OpenCommands::Told told{window->pid, readOpen({window->pid, *window, deadline}, openingOf(*window))};
  return told;
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

MenuOpening AtspiMenus::openingOf(const WindowFacts& window) {
  // Who has moved on to the command that he wanted has not left the menu.
  constexpr double kBeside = 30;
  MenuOpening opening;
  const auto pointer = hands_.pointer();
  for (const WindowFacts& popup : windows_.popupsFrontToBack()) {
    if (popup.pid == window.pid || popup.connectionPid == window.connectionPid) {
      const Rect menu = popup.withoutShadow();
      opening.place = {menu.x, menu.y};
      const Rect around{menu.x - kBeside, menu.y - kBeside, menu.width + 2 * kBeside, menu.height + 2 * kBeside};
      opening.isByPointer = opening.isByPointer || (pointer && around.contains(*pointer));
    }
  }
  return opening;
}

std::vector<MenuCommand> AtspiMenus::readOpen(const menus::MenuRequest& request, const MenuOpening& called) {
  const Place place = placeOf(request);
  if (!handleOf(place.application)) {
    return {};
  }
  MenuFacts facts(elements_.connection(), nullptr, request.deadline, [] {});
  OpenMenus::Heads heads{place.application, {}, {}};
  if (place.snapshot) {
    heads.bar = place.snapshot->menuBar;
    for (const ElementTree::Node& node : place.snapshot->tree.nodes()) {
      if (node.facts->role == role::comboBox && heads.holders.size() < kMostHolders) {
        heads.holders.push_back(node.facts->ref);
      }
    }
  } else if (heads.bar = knownBar(request.window.id); !heads.bar && handleOf(place.frame)) {
    heads.bar = findBar(facts, place.frame);
  }
  const SnapshotPointer last = lastSnapshot_(place.application);
  heads.tellsShowing = !last || last->toolkit->tellsShowing();
  auto commands = OpenMenus(facts).read(heads, request, called);
  const bool canPlacesTell = !heads.tellsShowing && last->took < request.deadline - Clock::now();
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
  for (const ElementTree::Node& node : now->tree.nodes()) {
    const ElementFacts& facts = *node.facts;
    const bool opens = role::isOneOf<role::pushButton, role::toggleButton, role::comboBox>(facts.role);
    if (opens && facts.is(state::expanded)) {
      called.holder = facts.ref;
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
      const MenuItemFacts item{facts.ref, facts.role, facts.states, facts.name, {}, false};
      auto [command, handle] = menuCommand({{&item}, {}, false}, request, false);
      handle->opening = called;
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
  return MenuReopener(opener_, hands_, look).choose(command, Clock::now() + kLongestReopening);
}

}  // namespace jumplark::atspi
