#include "app/HealthSummary.h"

#include "platform/Texts.h"

namespace jumplark {

std::string healthSummary(size_t failures, size_t warnings) {
  if (failures > 0) {
    return failures == 1 ? localized("One thing keeps Jumplark from working here.")
                         : localizedFormat("{} things keep Jumplark from working here.", failures);
  }
  if (warnings > 0) {
    return warnings == 1 ? localized("Jumplark works here. One thing could be better.")
                         : localizedFormat("Jumplark works here. {} things could be better.", warnings);
  }
  return localized("All is well: Jumplark has all that it needs here.");
}

}  // namespace jumplark
