#include "backends/linux/atspi/menus/MenuReopener.h"

#include <algorithm>
#include <thread>

#include "backends/linux/atspi/menus/MenuRoles.h"

namespace jumplark::atspi {
namespace {

constexpr auto kBetweenLooks = std::chrono::milliseconds(15);
/// For a menu to open. On a busy machine they take their time.
constexpr auto kPatience = std::chrono::milliseconds(800);
/// Buttons may take a click that soon after the end of their menu for the one that has ended it: Chromium's for 100 ms.
constexpr auto kUntilClickable = std::chrono::milliseconds(250);
/// For a menu to close after a click.
constexpr auto kUntilClosed = std::chrono::milliseconds(500);

/// What is clicked once whatever holds the menus has opened them.
std::vector<ElementRef> wayInside(const AtspiMenuHandle& command) {
  std::vector<ElementRef> way = command.way;
  std::erase(way, command.opening->holder);
  return way;
}

}  // namespace

MenuOutcome MenuReopener::choose(const AtspiMenuHandle& command, TimePoint deadline) {
  if (!opener_.bringForward(command.menus.window, deadline)) {
    return MenuOutcome::failed;
  }
  std::this_thread::sleep_until(std::min(deadline, command.opening->readAt + kUntilClickable));
  const bool byPointer = command.opening->isByPointer;
  for (const bool pointer : {byPointer, !byPointer}) {
    if (!open(command, pointer)) {
      continue;
    }
    if (const auto now = waitFor(command, std::min(deadline, Clock::now() + kPatience))) {
      if (act_ && act_(*now)) {
        return MenuOutcome::done;
      }
      std::vector<ElementRef> way = wayInside(*now);
      way.erase(way.begin(), way.begin() + static_cast<std::ptrdiff_t>(std::min(alreadyOpen_, way.size() - 1)));
      const MenuOutcome outcome = opener_.clickThrough(command.menus.window, way, deadline);
      // They close by themselves, and one that is closed before it has heard of the click chooses nothing.
      opener_.awaitClosed(command.menus.window, kUntilClosed);
      hands_.closeMenus();
      return outcome;
    }
    opener_.closeWhatShows(command.menus.window);
  }
  return MenuOutcome::gone;
}

bool MenuReopener::open(const AtspiMenuHandle& command, bool byPointer) {
  const MenuOpening& opening = *command.opening;
  if (opening.holder || opening.box) {
    // The box is clicked the first time only.
    const bool isFirst = byPointer == opening.isByPointer;
    const auto place = !isFirst ? std::nullopt : opening.box ? opening.box : opener_.placeOf(opening.holder);
    if (place) {
      hands_.click(*place);
    }
    return place.has_value();
  }
  if (menu_role::isEntry(command.role)) {
    return false;  // a list is no menu of anything
  }
  byPointer ? hands_.clickSecondary(opening.place) : hands_.typeMenuKey();
  return true;
}

std::shared_ptr<const AtspiMenuHandle> MenuReopener::waitFor(const AtspiMenuHandle& command, TimePoint deadline) {
  alreadyOpen_ = 0;
  turned_ = {command.names.back()};
  do {
    std::shared_ptr<const AtspiMenuHandle> leads;
    const std::vector<MenuCommand> shown = look_(command, deadline);
    for (const MenuCommand& open : shown) {
      auto handle = std::dynamic_pointer_cast<const AtspiMenuHandle>(open.handle);
      if (handle && handle->names == command.names && handle->role == command.role) {
        return handle;
      }
      const bool isOnWay = handle && handle->names.size() < command.names.size() &&
                           std::equal(handle->names.begin(), handle->names.end(), command.names.begin());
      leads = isOnWay && wayInside(*handle).size() > alreadyOpen_ ? handle : leads;
    }
    // Some fill a submenu when it opens. Until then its title looks like a command, or is an element that stays.
    const std::vector<ElementRef> way = wayInside(leads ? *leads : command);
    const bool isStaying = !leads && alreadyOpen_ + 1 < way.size() && opener_.placeOf(way[alreadyOpen_]);
    if (leads || isStaying) {
      opener_.clickThrough(command.menus.window, {leads ? way.back() : way[alreadyOpen_]}, deadline);
      alreadyOpen_ = leads ? way.size() : alreadyOpen_ + 1;
    }
    turnPage(command, shown);
    std::this_thread::sleep_for(kBetweenLooks);
  } while (Clock::now() < deadline);
  return nullptr;
}

// The page of a submenu begins with the way back, which has the submenu's name.
void MenuReopener::turnPage(const AtspiMenuHandle& command, const std::vector<MenuCommand>& open) {
  const auto& together = command.opening->together;
  for (const MenuCommand& one : open) {
    const auto* handle = dynamic_cast<const AtspiMenuHandle*>(one.handle.get());
    const bool mayLead =
        handle && act_ && together && std::ranges::find(*together, handle->names.back()) != together->end();
    if (mayLead && turned_.insert(handle->names.back()).second) {
      act_(*handle);
      return;
    }
  }
}

}  // namespace jumplark::atspi
