#pragma once

#include "backends/linux/atspi/vocabulary/AttributeMap.h"

/// The single values behind the table of attributes, where a value takes more than looking at one fact.
namespace jumplark::atspi {

/// A text, or noValue when it is empty or blank.
AttributeAnswer textOrNone(const std::string& text);
AttributeAnswer elementOrNone(const ElementRef& element);

/// "AXTitle": the name, else the name of what labels the element.
AttributeAnswer titleOf(const Subject& subject);
AttributeAnswer titleElementOf(const Subject& subject);
AttributeAnswer descriptionOf(const Subject& subject);
AttributeAnswer placeholderOf(const Subject& subject);
AttributeAnswer roleDescriptionOf(const Subject& subject);

/// "AXValue" and whether elements of the subject's kind have one. A password's is never read.
bool hasValue(const Subject& subject);
AttributeAnswer valueOf(const Subject& subject);

/// Where the element is, points of the screen with a top-left origin; a window's comes from the window system. Of a
/// thing of which only a part is in sight that part.
std::optional<Rect> placeOf(const Subject& subject);

}  // namespace jumplark::atspi
