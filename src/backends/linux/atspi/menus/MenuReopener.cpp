#include "backends/linux/atspi/menus/MenuReopener.h"

#include <algorithm>
#include <thread>

namespace jumplark::atspi {
namespace {

constexpr auto kBetweenLooks = std::chrono::milliseconds(15);
/// For a menu to open. On a busy machine they take their time.
constexpr auto kPatience = std::chrono::milliseconds(800);

}  // namespace

MenuOutcome MenuReopener::choose(const AtspiMenuHandle& command, TimePoint deadline) {
  if (!opener_.bringForward(command.menus.window, deadline)) {
    return MenuOutcome::failed;
  }
  const bool byPointer = command.opening->isByPointer;
  for (const bool pointer : {byPointer, !byPointer}) {
    if (!open(command, pointer)) {
      continue;
    }
    if (const auto now = waitFor(command, std::min(deadline, Clock::now() + kPatience))) {
      std::vector<ElementRef> way = now->way;
      std::erase(way, now->opening->holder);
      const MenuOutcome outcome = opener_.clickThrough(command.menus.window, way, deadline);
      hands_.closeMenus();
      return outcome;
    }
    hands_.closeMenus();
  }
  return MenuOutcome::gone;
}

bool MenuReopener::open(const AtspiMenuHandle& command, bool byPointer) {
  const MenuOpening& opening = *command.opening;
  if (opening.holder) {
    // The box is clicked the first time only.
    const auto place = byPointer == opening.isByPointer ? opener_.placeOf(opening.holder) : std::nullopt;
    if (place) {
      hands_.click(*place);
    }
    return place.has_value();
  }
  byPointer ? hands_.clickSecondary(opening.place) : hands_.typeMenuKey();
  return true;
}

std::shared_ptr<const AtspiMenuHandle> MenuReopener::waitFor(const AtspiMenuHandle& command, TimePoint deadline) {
  do {
    for (const MenuCommand& open : look_(command, deadline)) {
      auto handle = std::dynamic_pointer_cast<const AtspiMenuHandle>(open.handle);
      if (handle && handle->names == command.names && handle->role == command.role) {
        return handle;
      }
    }
    std::this_thread::sleep_for(kBetweenLooks);
  } while (Clock::now() < deadline);
  return nullptr;
}

}  // namespace jumplark::atspi
