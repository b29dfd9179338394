#pragma once

#include "backends/linux/atspi/bus/MethodCall.h"
#include "backends/linux/atspi/element/ElementFacts.h"
#include "backends/linux/atspi/reading/WalkSteps.h"

namespace jumplark::atspi {

/// Browsers begin to tell of a page when somebody asks for the first time, and until then it is empty.
constexpr auto kLongestFilling = std::chrono::milliseconds(900);

/// Waits until an empty page holds something; false when it does not until the deadline. A page that has stayed empty
/// is remembered with its application.
bool fills(CallRunner& runner, const ElementFacts& page, const WalkPlan& plan, TimePoint deadline);
/// Has stayed empty before.
bool isKnownToBeBlank(const ElementRef& page, const WalkPlan& plan);

}  // namespace jumplark::atspi
