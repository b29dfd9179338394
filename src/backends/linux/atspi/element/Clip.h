#pragma once

#include "backends/linux/atspi/element/ElementFacts.h"

/// What is to be seen of elements that stand in one another. Points of the screen, top-left origin.
namespace jumplark::atspi {

/// What is around an element leaves so much of it to see; infinite where nothing clips.
struct Clip {
  Rect around = Rect::infinite();
  Rect document = Rect::infinite();  ///< the part that shows of the document it stands in
};

/// The clip of a child, from that of its parent. What a menu or a combo box opens lies in a window of its own, and
/// nothing clips what stands beside its parent; an application clips nothing.
Clip clipInside(const ElementFacts& parent, const Clip& ofParent, const ElementFacts& child);

/// Whether the parent's edges hide what reaches beyond them of the child.
bool clips(const ElementFacts& parent, const ElementFacts& child);

/// What is to be seen of an element: null when nothing. An open menu lies in a window of its own.
Rect visibleRect(const ElementFacts& element, const Clip& clip);

/// Whether so much of a thing is in sight that a person can tell it and press it: a tenth of what could show of it in
/// `around`, and 8 by 8 points, or all there is of one that is smaller.
bool isEnoughInSight(const Rect& place, const Rect& around);

bool hasArea(const ElementFacts& element);
/// A menu, an entry of one, or a combo box.
bool isMenuLike(const ElementFacts& element);
/// A tab holds the page that it shows, an expander what it discloses.
bool hasContentBeside(const ElementFacts& element);
/// True for content that lies beside such a holder, not inside its narrow rectangle.
bool isBeside(const ElementFacts& content, const ElementFacts& holder);

}  // namespace jumplark::atspi
