#include "app/ProductPages.h"

#include "platform/DesktopServices.h"
#include "platform/Platform.h"

namespace jumplark {

bool openGettingStarted(const ProductAddresses& addresses, const std::string& anchor) {
  DesktopServices& desktop = *Platform::current().desktop;
  if (addresses.gettingStarted.empty()) {
    const std::string installed = desktop.installedDocumentation();
    return !installed.empty() && desktop.openURL(installed);
  }
  return desktop.openURL(anchor.empty() ? addresses.gettingStarted : addresses.gettingStarted + "#" + anchor);
}

bool hasGettingStarted(const ProductAddresses& addresses) {
  return !addresses.gettingStarted.empty() || !Platform::current().desktop->installedDocumentation().empty();
}

}  // namespace jumplark
