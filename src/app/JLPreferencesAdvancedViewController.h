#pragma once

#include <cstddef>
#include <string>

#include "app/JLPreferencesPane.h"
#include "app/ProductAddresses.h"
#include "input/ZMOForceKeyboardLayoutController.h"
#include "platform/Token.h"

namespace jumplark {

/// The keyboard layout of the query window, and the usage metrics with a link to the page that explains them.
class JLPreferencesAdvancedViewController final : public JLPreferencesPane {
 public:
  /// An empty collector address stands for none.
  JLPreferencesAdvancedViewController(ProductAddresses addresses, bool hasCollector);
  ~JLPreferencesAdvancedViewController() override;

  std::string identifier() const override { return textForLater("Advanced"); }
  PaneImage toolbarItemImage() const override { return PaneImage::advanced; }
  void loadView(PreferencesWindowView& view) override;
  /// Asks the session for its layouts anew.
  void viewWillAppear() override;

  /// By its place in the list; the first one stands for no layout.
  void chooseLayout(size_t index);
  void setMetricsEnabled(bool enabled);
  void openMetricsLink();

 private:
  void show();
  size_t selectedLayout() const;

  const ProductAddresses addresses_;
  const bool hasCollector_;
  PreferencesWindowView* view_ = nullptr;
  ZMOForceKeyboardLayoutController layouts_;
  Token layout_;
  Token metrics_;
};

}  // namespace jumplark
