#pragma once

#include "backends/linux/atspi/reading/Toolkit.h"

namespace jumplark::atspi {

/// Firefox and its relatives. They tell nearly everything as AT-SPI has it.
class Gecko final : public Toolkit {
 public:
  static bool draws(const ToolkitFacts& facts) { return facts.name == "Gecko"; }

  bool actsInClosedMenus() const override { return false; }
};

}  // namespace jumplark::atspi
