#include "app/JLPreferencesAboutViewController.h"

#include <fmt/format.h>

#include "platform/Platform.h"
#include "platform/SystemFacts.h"
#include "platform/Texts.h"

namespace jumplark {

JLPreferencesAboutViewController::JLPreferencesAboutViewController() {
  if (SystemFacts* const facts = Platform::current().facts) {
    const SystemFacts::Application application = facts->application();
    appVersion_ = application.build;
    shortVersion_ = application.version;
  }
}

void JLPreferencesAboutViewController::loadView(PreferencesWindowView& view) {
  view.setAboutPane({"Jumplark", localizedFormat("Version {} ({})", shortVersion_, appVersion_),
                     localized("Operate any application's interface from the keyboard:\ntype a few letters of what you "
                               "see, and click it.")});
}

}  // namespace jumplark
