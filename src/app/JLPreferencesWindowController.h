#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app/JLPreferencesAboutViewController.h"
#include "app/JLPreferencesAdvancedViewController.h"
#include "app/JLPreferencesGeneralViewController.h"
#include "app/JLPreferencesHelpViewController.h"
#include "app/JLPreferencesUsageViewController.h"
#include "app/ProductAddresses.h"
#include "platform/AppViews.h"

namespace jumplark {

/// The preferences window and its panes. Main thread only.
class JLPreferencesWindowController final : private PreferencesViewDelegate {
 public:
  struct Context {
    ProductAddresses addresses;
    bool hasCollector = false;
    std::function<Token()> suspendShortcut;
  };

  explicit JLPreferencesWindowController(const Context& context);
  ~JLPreferencesWindowController() override;

  /// False when the window could not be made; then nothing below may be called.
  bool isLoaded() const { return view_ != nullptr; }
  PreferencesWindowView& window() const { return *view_; }
  void showWindow();
  void close() { view_->close(); }
  /// Selects the first pane of this identifier; nothing for an unknown one.
  void selectPane(const std::string& identifier);

 private:
  std::vector<std::optional<PaneDescription>> descriptions() const;
  JLPreferencesPane* paneWithIdentifier(const std::string& identifier) const;

  void paneWillAppear(const std::string& identifier) override;
  void paneDidDisappear(const std::string& identifier) override;
  void recorderClicked() override;
  void recorderClearClicked() override;
  void recorderResetClicked() override;
  void recorderKeyDown(const KeyEvent& event) override;
  void recorderLostKeyboard() override;
  void showIconToggled(bool on) override { general_.setShowsMenuBarIcon(on); }
  void launchAtLoginToggled(bool on) override { general_.setLaunchAtLogin(on); }
  void staysOpenToggled(bool on) override { general_.setStaysOpen(on); }
  void updatesToggled(bool on) override { general_.setLooksForUpdates(on); }
  void layoutChosen(size_t index) override { advanced_.chooseLayout(index); }
  void metricsToggled(bool on) override { advanced_.setMetricsEnabled(on); }
  void metricsLinkClicked() override { advanced_.openMetricsLink(); }
  void helpButtonClicked(size_t index) override { help_.pressButton(index); }
  void healthRequested() override { help_.checkHealth(); }
  void aboutLinkClicked() override { about_.openLink(); }
  void allHealthToggled(bool on) override { help_.setShowsAll(on); }

  std::unique_ptr<PreferencesWindowView> view_;
  JLPreferencesGeneralViewController general_;
  JLPreferencesAdvancedViewController advanced_;
  JLPreferencesUsageViewController usage_;
  JLPreferencesHelpViewController help_;
  JLPreferencesAboutViewController about_;
  /// In the toolbar's order; a null entry is the space that takes what room is left.
  std::vector<JLPreferencesPane*> panes_;
};

}  // namespace jumplark
