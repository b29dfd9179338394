#include "backends/linux/atspi/reading/Corrections.h"

#include <array>

#include "backends/linux/atspi/reading/Popups.h"
#include "backends/linux/atspi/reading/Toolkit.h"

namespace jumplark::atspi {
namespace {

void scale(const Toolkit& toolkit, Reading& reading) {
  CoordinateTransform& transform = reading.transform;
  if (transform.placement.isIdentity()) {
    return;
  }
  for (auto& [ref, element] : reading.elements) {
    if (toolkit.tellsScreenPlace(*element, reading.elements)) {
      transform.onScreen.insert(ref);
    } else if (element->extents) {
      element->extents = transform.placement.toScreen(*element->extents);
    }
  }
}

void place(const Toolkit& toolkit, Reading& reading) {
  toolkit.correctPlaces(reading);
}

void reparentParts(const Toolkit& toolkit, Reading& reading) {
  toolkit.reparent(reading.elements);
}

void name(const Toolkit& toolkit, Reading& reading) {
  toolkit.nameControls(reading.elements);
}

void hideOccluded(const Toolkit& toolkit, Reading& reading) {
  toolkit.hideOccluded(reading.elements);
}

void reparentOpenPopups(const Toolkit&, Reading& reading) {
  reparentPopups(reading.focusedWindow, reading.openPopups, reading.elements);
}

}  // namespace

void putRight(const Toolkit& toolkit, Reading& reading) {
  static constexpr std::array<void (*)(const Toolkit&, Reading&), 6> kOrder{
      scale,               // the window's scale; what follows compares places with those of windows
      place,               // what the application tells wrongly beyond that, by what stands around it in its own tree
      reparentParts,       // only then: places are wrong by where an element stands in the application's own tree
      name,                // needs places and holders as they are to be
      hideOccluded,        // needs the final places; names do not matter to it
      reparentOpenPopups,  // last: below the window nothing around an open menu clips, names or hides it any more
  };
  for (const auto step : kOrder) {
    step(toolkit, reading);
  }
}

}  // namespace jumplark::atspi
