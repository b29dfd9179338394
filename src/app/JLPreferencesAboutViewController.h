#pragma once

#include <string>

#include "app/JLPreferencesPane.h"

namespace jumplark {

/// Which version this is, under which licence, and where more is to be read.
class JLPreferencesAboutViewController final : public JLPreferencesPane {
 public:
  /// An empty address stands for no page.
  explicit JLPreferencesAboutViewController(std::string homepage);

  std::string identifier() const override { return textForLater("About"); }
  PaneImage toolbarItemImage() const override { return PaneImage::application; }
  void loadView(PreferencesWindowView& view) override;

  void openLink() const;

  /// The build, and the version as people write it; read once.
  const std::string& appVersion() const { return appVersion_; }
  const std::string& shortVersion() const { return shortVersion_; }

 private:
  const std::string homepage_;
  std::string appVersion_;
  std::string shortVersion_;
};

}  // namespace jumplark
