#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

#include "backends/linux/atspi/source/AtspiElementSource.h"
#include "backends/linux/windows/WindowSystem.h"
#include "platform/Geometry.h"
#include "platform/Menus.h"

namespace jumplark::atspi {

/// The hands of a person. Points have a top-left origin.
struct MenuHands {
  std::function<void(Point)> click;
  std::function<void(Point)> clickSecondary;  ///< the button that opens menus
  std::function<void()> typeMenuKey;
  std::function<void()> typeEscape;
  std::function<void(int64_t keyCode)> typeKey = {};
  /// Types Escape for as long as a menu has the keyboard, and only then.
  std::function<void()> closeMenus;
  std::function<std::optional<Point>()> pointer;
};

/// Chooses commands that applications do not carry out themselves: opens the menus one after the other with the
/// pointer.
class MenuOpener {
 public:
  MenuOpener(AtspiElementSource& elements, WindowSystem& windows, MenuHands hands)
      : elements_(elements), windows_(windows), hands_(std::move(hands)) {}

  /// Clicks each element when it shows. When one of them does not come to show until the deadline, or the last one
  /// turns out to be disabled, all that was opened is closed again.
  MenuOutcome choose(const WindowFacts& window, const std::vector<ElementRef>& way, TimePoint deadline);
  /// The same of what is open already, without bringing the window forward.
  MenuOutcome clickThrough(const WindowFacts& window, const std::vector<ElementRef>& way, TimePoint deadline);
  /// Waits until no menu of the window shows, for so long at most; not at all where the window system tells of none.
  void awaitClosed(const WindowFacts& window, std::chrono::milliseconds patience);
  /// Closes what is open over the window, also where that has left the keyboard to others.
  void closeWhatShows(const WindowFacts& window);
  /// False when the window has not got the keyboard until the deadline.
  bool bringForward(const WindowFacts& window, TimePoint deadline);
  /// Where an element is clicked; none for one that does not show.
  std::optional<Point> placeOf(const ElementRef& element);

 private:
  /// What an element says of itself once it shows; null when it does not until the deadline.
  FactsPointer waitUntilItShows(const ElementRef& element, TimePoint deadline);
  /// Takes back clicks on menus that are open now; the last one may have opened none.
  void closeMenus(const WindowFacts& window, size_t clicked, bool haveAllOpened);
  /// How many pop-ups of the application show.
  size_t popupsOf(const WindowFacts& window);

  AtspiElementSource& elements_;
  WindowSystem& windows_;
  const MenuHands hands_;
};

}  // namespace jumplark::atspi
