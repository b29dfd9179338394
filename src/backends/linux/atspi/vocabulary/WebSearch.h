#pragma once

#include "backends/linux/atspi/vocabulary/Vocabulary.h"

namespace jumplark::atspi {

/// "AXUIElementsForSearchPredicate": the elements of a document of the web that a dictionary asks for, in document
/// order.
///
/// "AXSearchKey" names one kind or a list of kinds ("AXLinkSearchKey"...), "AXVisibleOnly" restricts to what shows
/// inside the document's viewport, "AXResultsLimit" to a number of results. Elements of a nested document are not
/// among the results; "AXFrameSearchKey" gives the nested documents themselves. A text or picture inside a link, a
/// button or a heading that is a result is not a second one: it is the same thing to a person.
///
/// illegalArgument for a parameter that is no such dictionary.
AccessibilityResult<AttributeValue> searchWebArea(const Subject& webArea, const AttributeValue& parameter);

}  // namespace jumplark::atspi
