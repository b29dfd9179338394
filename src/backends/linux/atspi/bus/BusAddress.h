#pragma once

#include <string>

#include "backends/linux/atspi/bus/MethodCall.h"

namespace jumplark::atspi {

/// Where the accessibility bus is, or one sentence that tells a person what to do about its absence.
struct BusAddress {
  std::string address;  ///< empty when there is none
  std::string advice;   ///< empty when there is an address
};

/// Asks the session bus for the accessibility bus, and switches accessibility on (org.a11y.Status.IsEnabled), which is
/// left on: applications that start while it is off never offer their tree. The screen reader's switch is not touched.
/// Blocks up to the deadline. `sessionAddress` may be empty for the one of the environment.
BusAddress findAccessibilityBus(const std::string& sessionAddress, TimePoint deadline);

}  // namespace jumplark::atspi
