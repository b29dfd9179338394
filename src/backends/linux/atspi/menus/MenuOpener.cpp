#include "backends/linux/atspi/menus/MenuOpener.h"

#include <algorithm>
#include <thread>

#include "backends/linux/atspi/element/Roles.h"
#include "backends/linux/menus/MenuSource.h"
#include "backends/linux/windows/MenuWindow.h"

namespace jumplark::atspi {
namespace {

constexpr auto kBetweenLooks = std::chrono::milliseconds(15);
/// For a menu to close.
constexpr auto kLevelPatience = std::chrono::milliseconds(200);

}  // namespace

MenuOutcome MenuOpener::choose(const WindowFacts& window, const std::vector<ElementRef>& way, TimePoint deadline) {
  bringForward(window, deadline);
  return clickThrough(window, way, deadline);
}

bool MenuOpener::bringForward(const WindowFacts& window, TimePoint deadline) {
  windows_.requestActive(window.id, true);
  while (windows_.activeWindow() != window.id) {
    if (Clock::now() >= deadline) {
      return false;
    }
    std::this_thread::sleep_for(kBetweenLooks);
  }
  return true;
}

std::optional<Point> MenuOpener::placeOf(const ElementRef& element) {
  // Of a box with a field the arrow at its end opens the list.
  constexpr double kIntoArrow = 12;
  const auto read = elements_.read({element}, facts::identity | facts::extents, {}).front();
  if (!read.ok() || !read.value->extents || !read.value->is(state::showing)) {
    return std::nullopt;
  }
  const Rect& place = *read.value->extents;
  const bool isBox = read.value->role == role::comboBox && place.width > 2 * kIntoArrow;
  return Point{isBox ? place.maxX() - kIntoArrow : place.midX(), place.midY()};
}

MenuOutcome MenuOpener::clickThrough(const WindowFacts& window, const std::vector<ElementRef>& way,
                                     TimePoint deadline) {
  size_t clicked = 0;
  MenuOutcome outcome = MenuOutcome::done;
  for (const ElementRef& element : way) {
    const FactsPointer shown = waitUntilItShows(element, deadline);
    const bool isEnabled = shown && (shown->is(state::enabled) || shown->is(state::sensitive));
    if (!isEnabled) {
      outcome = shown ? MenuOutcome::disabled : MenuOutcome::failed;
      closeMenus(window, clicked, shown != nullptr);
      break;
    }
    hands_.click({shown->extents->x + shown->extents->width / 2, shown->extents->y + shown->extents->height / 2});
    ++clicked;
  }
  return outcome;
}

void MenuOpener::awaitClosed(const WindowFacts& window, std::chrono::milliseconds patience) {
  for (const TimePoint deadline = Clock::now() + patience; popupsOf(window) > 0 && Clock::now() < deadline;) {
    std::this_thread::sleep_for(kBetweenLooks);
  }
}

void MenuOpener::closeWhatShows(const WindowFacts& window) {
  hands_.closeMenus();
  // What had the keyboard goes from the screen a moment after it has given that back.
  awaitClosed(window, kLevelPatience);
  if (const size_t left = popupsOf(window); left > 0) {
    closeMenus(window, left, true);
  }
}

void MenuOpener::closeMenus(const WindowFacts& window, size_t clicked, bool haveAllOpened) {
  size_t open = popupsOf(window);
  if (open == 0) {
    // Menus inside the window. The last click may have opened nothing, and Escape would then go to the window.
    for (size_t i = haveAllOpened ? 0 : 1; i < clicked; ++i) {
      hands_.typeEscape();
    }
    return;
  }
  for (size_t i = 0; i < clicked && open > 0; ++i) {
    hands_.typeEscape();
    const TimePoint patience = Clock::now() + kLevelPatience;
    size_t left = popupsOf(window);
    while (left >= open && Clock::now() < patience) {
      std::this_thread::sleep_for(kBetweenLooks);
      left = popupsOf(window);
    }
    open = left;
  }
}

FactsPointer MenuOpener::waitUntilItShows(const ElementRef& element, TimePoint deadline) {
  while (true) {
    const auto read = elements_.read({element}, facts::identity | facts::extents, {}).front();
    if (read.ok() && read.value->is(state::showing) && read.value->extents) {
      return read.value;
    }
    if (Clock::now() >= deadline) {
      return nullptr;
    }
    std::this_thread::sleep_for(kBetweenLooks);
  }
}

size_t MenuOpener::popupsOf(const WindowFacts& window) {
  const auto popups = windows_.popupsFrontToBack();
  return static_cast<size_t>(std::ranges::count_if(popups, [&](const WindowFacts& popup) {
    return (popup.pid == window.pid || popup.connectionPid == window.connectionPid) && isMenuWindow(popup);
  }));
}

}  // namespace jumplark::atspi
