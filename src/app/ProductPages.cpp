#include "app/ProductPages.h"

#include <utility>

#include "platform/DesktopServices.h"
#include "platform/Platform.h"
#include "platform/Texts.h"
#include "platform/Views.h"

namespace jumplark {
namespace {

Alert noBrowser(const std::string& address) {
  return {localized("Jumplark could not open the page"),
          localizedFormat("No program on this desktop shows it. Open this in a web browser:\n\n{}", address),
          {localized("OK")}};
}

Alert noGuide() {
  return {localized("The guide is not there"),
          localized("It comes with Jumplark, but was not installed on this machine.\n\nThe command \"man jumplark\" "
                    "tells how Jumplark is used, and \"jumplark doctor\" what this desktop lacks."),
          {localized("OK")}};
}

void showMessage(const Alert& message, std::function<void()> next) {
  Platform::current().views->showAlert(message, [next = std::move(next)](int /*button*/) {
    if (next) {
      next();
    }
  });
}

}  // namespace

void openPage(const std::string& address, std::function<void()> next) {
  Platform::current().desktop->openURL(address, [address, next = std::move(next)](bool opened) mutable {
    if (!opened) {
      showMessage(noBrowser(address), std::move(next));
    } else if (next) {
      next();
    }
  });
}

void openGettingStarted(const ProductAddresses& addresses, const std::string& anchor, std::function<void()> next) {
  if (!addresses.gettingStarted.empty()) {
    openPage(anchor.empty() ? addresses.gettingStarted : addresses.gettingStarted + "#" + anchor, std::move(next));
    return;
  }
  // Without an anchor: what opens files takes it for a part of the name.
  const std::string installed = Platform::current().desktop->installedDocumentation();
  installed.empty() ? showMessage(noGuide(), std::move(next)) : openPage(installed, std::move(next));
}

bool hasGettingStarted(const ProductAddresses& addresses) {
  return !addresses.gettingStarted.empty() || !Platform::current().desktop->installedDocumentation().empty();
}

}  // namespace jumplark
