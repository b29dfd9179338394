#pragma once

#include <vector>

#include "backends/linux/atspi/element/ElementDraft.h"
#include "backends/linux/atspi/element/Parts.h"
#include "backends/linux/atspi/reading/CoordinateTransform.h"

namespace jumplark::atspi {

class Toolkit;

/// All that has been read of an application, while it is put right.
struct Reading {
  ElementDraft& elements;
  CoordinateTransform& transform;
  std::vector<ElementRef> roots;  ///< frames and open menus that were read whole
  ElementRef focusedWindow;
  std::vector<ElementRef> openPopups;      ///< of the roots
  std::vector<WindowFacts> popupWindows;   ///< where the toolkit wants to know them
  bool isLost = false;                     ///< the application does not know where its windows are
  std::vector<OpenPopover> popovers = {};  ///< that a correction has found
};

/// Adds a part of an element as the last child of the focused window, as much of it as shows; nothing where its middle
/// does not.
void addPart(Reading& reading, const ElementFacts& owner, const Part& part);
void addPart(Reading& reading, const ElementFacts& owner, ElementFacts part);

/// Makes of what an application said what a person sees, step by step; toolkits say what there is to do in each.
void putRight(const Toolkit& toolkit, Reading& reading);

}  // namespace jumplark::atspi
