#include "backends/linux/atspi/vocabulary/FocusedWindowButtons.h"

#include <algorithm>

#include "backends/linux/atspi/element/Roles.h"
#include "backends/linux/windows/WindowButtons.h"

namespace jumplark::atspi {
namespace {

/// Whether an application that draws its title bar itself tells this button of it.
bool isToldByApplication(const WindowButton& button, const WindowFacts& window, const Snapshot& snapshot) {
  constexpr double kHighestTitleBar = 72;
  constexpr double kBorder = 4;
  if (window.frame.y < window.surface.y) {
    return false;
  }
  const Rect seen = window.visible();
  const Rect title{seen.x, seen.y - kBorder, seen.width, kHighestTitleBar};
  const auto& nodes = snapshot.tree.nodes();
  return std::any_of(nodes.begin(), nodes.end(), [&](const ElementTree::Node& node) {
    const ElementFacts& element = *node.facts;
    return element.role == role::pushButton && element.is(state::showing) && element.extents &&
           intersects(*element.extents, title) && isNameOfWish(element.name, button.wish);
  });
}

}  // namespace

std::vector<ElementRef> focusedWindowButtons(const Vocabulary& vocabulary, const ElementRef& application) {
  const SnapshotPointer known = vocabulary.view.lastOf(application);
  const auto window = known ? vocabulary.frames.windowIn(*known, known->focusedWindow) : std::nullopt;
  std::vector<ElementRef> buttons;
  for (const WindowButton& button : window ? vocabulary.windows.buttonsOf(*window) : std::vector<WindowButton>()) {
    if (!isToldByApplication(button, *window, *known)) {
      buttons.emplace_back(std::make_shared<const WindowButtonHandle>(window->id, button, application));
    }
  }
  return buttons;
}

}  // namespace jumplark::atspi
