#include "backends/linux/atspi/toolkits/Gtk3.h"

#include "backends/linux/atspi/reading/AccessibleNames.h"

namespace jumplark::atspi {

bool Gtk3::draws(const ToolkitFacts& facts) {
  return (facts.name == "gtk" || facts.name == "GTK" || facts.name == "GAIL") && !facts.version.starts_with("4");
}

bool Gtk3::mayBeCaptioned(const ElementFacts& element, const ElementDraft& elements) const {
  return mayNameAButton(element, elements);
}

void Gtk3::nameControls(ElementDraft& elements) const {
  nameAfterHolders(elements);
}

}  // namespace jumplark::atspi
