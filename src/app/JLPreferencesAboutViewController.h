#pragma once

#include <string>

#include "app/JLPreferencesPane.h"

namespace jumplark {

/// Which version this is.
class JLPreferencesAboutViewController final : public JLPreferencesPane {
 public:
  JLPreferencesAboutViewController();

  std::string identifier() const override { return textForLater("About"); }
  PaneImage toolbarItemImage() const override { return PaneImage::application; }
  void loadView(PreferencesWindowView& view) override;

  /// The build, and the version as people write it; read once.
  const std::string& appVersion() const { return appVersion_; }
  const std::string& shortVersion() const { return shortVersion_; }

 private:
  std::string appVersion_;
  std::string shortVersion_;
};

}  // namespace jumplark
