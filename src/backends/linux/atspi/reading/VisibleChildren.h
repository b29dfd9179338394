#pragma once

#include <vector>

#include "backends/linux/atspi/bus/MethodCall.h"
#include "backends/linux/atspi/reading/Toolkit.h"

namespace jumplark::atspi {

/// The children of a large container that show, found by asking what lies at some points of it: for a table the cells
/// of the rows between the first and the last one hit, with the column headers before them; for any other container the
/// children in between. Asking for all children costs a large table's application more than a second. Where a toolkit
/// is slow at that, the first children of what is not a table are read one by one.
///
/// `visible` is what shows of the container, in the coordinates that its toolkit takes. Empty when nothing was hit.
std::vector<ElementRef> visibleChildren(CallRunner& runner, const ElementFacts& container, const Toolkit& toolkit,
                                        const Rect& visible, TimePoint deadline);

/// The children `index` to `index + count - 1`, one by one; those that cannot be read are left out.
std::vector<ElementRef> childrenOneByOne(CallRunner& runner, const AtspiHandle& container, int64_t index, int64_t count,
                                         TimePoint deadline);

}  // namespace jumplark::atspi
