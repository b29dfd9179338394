#pragma once

#include "backends/linux/atspi/toolkits/Gtk3.h"

namespace jumplark::atspi {

/// GTK 2, which tells nothing by itself: two modules that a program loads when it starts do it, by the bridge that
/// GTK 3 has built in, and in the same way.
class Gtk2 final : public Gtk3 {
 public:
  static bool draws(const ToolkitFacts& facts) { return Gtk3::draws(facts) && facts.version.starts_with("2"); }

  /// The arrows of spin buttons, which stand one above the other.
  void addParts(Reading& reading) const override;
  /// Which modules are missing, and how to start the program with them.
  std::string adviceForSilent(int32_t pid, const Snapshot* snapshot) const override;
};

}  // namespace jumplark::atspi
