#pragma once

#include <vector>

#include "backends/linux/atspi/bus/MethodCall.h"
#include "backends/linux/atspi/element/ElementFacts.h"

namespace jumplark::atspi {

/// The children of a long container that lie within the height of `visible`, in order, with a few on either side: found
/// by looking at some children's places and narrowing down, since naming all of them takes too long. Holds where
/// children follow each other down the page. The first and last few, where menus and dialogs stand, are always there.
/// `visible` is as the application tells places.
std::vector<ElementRef> childrenByPlace(CallRunner& runner, const ElementFacts& container, const Rect& visible,
                                        TimePoint deadline);

}  // namespace jumplark::atspi
