#pragma once

#include <memory>
#include <string>

#include "app/JLPreferencesPane.h"
#include "platform/Token.h"

namespace jumplark {

/// The usage counters, which move while the pane shows.
class JLPreferencesUsageViewController final : public JLPreferencesPane {
 public:
  JLPreferencesUsageViewController();
  ~JLPreferencesUsageViewController() override;

  std::string identifier() const override { return textForLater("Usage"); }
  PaneImage toolbarItemImage() const override { return PaneImage::info; }
  void loadView(PreferencesWindowView& view) override { view_ = &view; }
  /// Binds the pane to the shared tracker until viewDidDisappear().
  void viewWillAppear() override;
  void viewDidDisappear() override;

 private:
  void show();

  PreferencesWindowView* view_ = nullptr;
  std::shared_ptr<JLPreferencesUsageViewController*> self_;  ///< null while the pane does not show
  Token changes_;
};

}  // namespace jumplark
