#include "app/JLPreferencesAboutViewController.h"

#include <fmt/format.h>

#include <utility>

#include "app/ProductPages.h"
#include "platform/Platform.h"
#include "platform/SystemFacts.h"
#include "platform/Texts.h"

namespace jumplark {

JLPreferencesAboutViewController::JLPreferencesAboutViewController(std::string homepage)
    : homepage_(std::move(homepage)) {
  if (SystemFacts* const facts = Platform::current().facts) {
    const SystemFacts::Application application = facts->application();
    appVersion_ = application.build;
    shortVersion_ = application.version;
  }
}

void JLPreferencesAboutViewController::loadView(PreferencesWindowView& view) {
  view.setAboutPane({"Jumplark", localizedFormat("Version {} ({})", shortVersion_, appVersion_),
                     localized("Operate any application's interface from the keyboard:\ntype a few letters of what you "
                               "see, and click it."),
                     localized("Free software under the MIT licence."), homepage_});
}

void JLPreferencesAboutViewController::openLink() const {
  if (!homepage_.empty()) {
    openPage(homepage_);
  }
}

}  // namespace jumplark
