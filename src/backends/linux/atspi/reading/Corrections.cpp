#include "backends/linux/atspi/reading/Corrections.h"

#include <algorithm>
#include <array>
#include <utility>

#include "backends/linux/atspi/element/Clip.h"
#include "backends/linux/atspi/element/EmbeddedObjects.h"
#include "backends/linux/atspi/element/FactsWorthReading.h"
#include "backends/linux/atspi/element/Roles.h"
#include "backends/linux/atspi/reading/AccessibleNames.h"
#include "backends/linux/atspi/reading/Popups.h"
#include "backends/linux/atspi/reading/Toolkit.h"
#include "platform/Utf8.h"

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
  for (const auto& [ref, element] : reading.elements) {
    if (!(element->bars == Size())) {
      reading.transform.bars.emplace(ref, element->bars);
    }
  }
  toolkit.correctPlaces(reading);
}

void reparentParts(const Toolkit& toolkit, Reading& reading) {
  toolkit.reparent(reading.elements);
}

void name(const Toolkit& toolkit, Reading& reading) {
  toolkit.nameControls(reading.elements);
  nameAfterPictures(reading.elements);
}

/// Of a page: it holds the box that is ticked, which is called as it says.
bool isLabelAround(const ElementFacts& label, const ElementFacts& control) {
  const std::string words = isBlank(label.name) ? withoutObjects(label.shortText) : label.name;
  return label.role == role::label && role::isOneOf<role::checkBox, role::radioButton>(control.role) &&
         !isBlank(control.name) && trimmed(words) == trimmed(control.name);
}

void markCaptions(const Toolkit&, Reading& reading) {
  for (const auto& [ref, element] : reading.elements) {
    if (!element->is(state::showing) || !element->extents) {
      continue;
    }
    if (ElementFacts* above = reading.elements.find(element->parent); above && isLabelAround(*above, *element)) {
      above->isCaption = true;
    }
    for (const ElementRef& label : mayBeLabelledByAnother(*element) ? element->labelledBy : std::vector<ElementRef>()) {
      ElementFacts* caption = reading.elements.find(label);
      if (caption && (caption->role == role::label || caption->role == role::staticText)) {
        caption->isCaption = true;
      }
    }
  }
}

/// What nobody presses, whatever its role: tool tips, and what stands in a menu bar without a word, such as the mark at
/// its end that turns while the program is busy.
void hideDecorations(const Toolkit&, Reading& reading) {
  for (const auto& [ref, element] : reading.elements) {
    const ElementFacts* above = reading.elements.find(element->parent);
    const bool isMark = above && above->role == role::menuBar && element->has(facts::texts) && !hasWords(*element);
    if (element->role == role::toolTip || isMark) {
      element->hide();
    }
  }
}

void hideOccluded(const Toolkit& toolkit, Reading& reading) {
  toolkit.hideOccluded(reading.elements);
}

/// Of what lies in texts.
void addLinks(Reading& reading) {
  std::vector<ElementFacts> links;
  for (const auto& [ref, element] : reading.elements) {
    const AtspiHandle* handle = element->role == role::link ? handleOf(ref) : nullptr;
    if (handle && element->extents && ownerOf(*handle)) {
      links.push_back(*element);
    }
  }
  std::ranges::sort(links, {}, [](const ElementFacts& link) { return std::pair(link.extents->y, link.extents->x); });
  for (const ElementFacts& link : links) {
    ElementFacts& text = *reading.elements.find(link.parent);
    std::erase(text.children, link.ref);
    reading.elements.remove(ElementRef(link.ref));
    addPart(reading, text, link);
  }
}

void addParts(const Toolkit& toolkit, Reading& reading) {
  addLinks(reading);
  toolkit.addParts(reading);
}

void reparentOpenPopups(const Toolkit&, Reading& reading) {
  reparentPopups(reading.focusedWindow, reading.openPopups, reading.elements);
}

}  // namespace

void addPart(Reading& reading, const ElementFacts& owner, const Part& part) {
  addPart(reading, owner, factsOf(part, *handleOf(owner.ref), owner.ref));
}

void addPart(Reading& reading, const ElementFacts& owner, ElementFacts part) {
  ElementFacts* window = reading.elements.find(reading.focusedWindow);
  Rect seen = *part.extents;
  const ElementFacts* inside = &owner;
  for (const ElementFacts* above = reading.elements.find(owner.parent); above && !isMenuLike(*above);
       above = reading.elements.find(above->parent)) {
    seen = clips(*above, *inside) ? intersection(seen, *above->extents) : seen;
    inside = above;
  }
  if (!window || !seen.contains({part.extents->midX(), part.extents->midY()})) {
    return;
  }
  part.extents = seen;
  part.parent = window->ref;
  window->children.push_back(part.ref);
  reading.elements.add(std::move(part));
}

void putRight(const Toolkit& toolkit, Reading& reading) {
  static constexpr std::array<void (*)(const Toolkit&, Reading&), 9> kOrder{
      scale,               // the window's scale; what follows compares places with those of windows
      place,               // what the application tells wrongly beyond that, by what stands around it in its own tree
      reparentParts,       // only then: places are wrong by where an element stands in the application's own tree
      name,                // needs places and holders as they are to be
      markCaptions,        // once all controls have theirs
      hideDecorations,     // before what lies below them is asked for
      hideOccluded,        // needs the final places; names do not matter to it
      addParts,            // of what is not occluded; they lie on their elements, open menus lie on them
      reparentOpenPopups,  // last: below the window nothing around an open menu clips, names or hides it any more
  };
  for (const auto step : kOrder) {
    step(toolkit, reading);
  }
}

}  // namespace jumplark::atspi
