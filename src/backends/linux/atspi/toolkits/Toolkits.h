#pragma once

#include <memory>
#include <string>
#include <vector>

#include "backends/linux/atspi/reading/Toolkit.h"

namespace jumplark::atspi {

/// All toolkits that are read in a way of their own, and AT-SPI's word for any other. Calls may come from any thread.
class Toolkits {
 public:
  Toolkits();
  const Toolkit& of(const ToolkitFacts& facts) const;
  /// See Toolkit::adviceForSilent(); of whichever toolkit the process uses.
  std::string adviceForSilent(int32_t pid, const Snapshot* snapshot) const;

 private:
  std::vector<std::unique_ptr<const Toolkit>> toolkits_;  ///< in the order of the table
};

}  // namespace jumplark::atspi
