#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "app/JLPreferencesPane.h"
#include "app/ProductAddresses.h"

namespace jumplark {

class TaskQueue;

/// Buttons that lead to pages, where there are such, and how the desktop stands with all that the program needs.
class JLPreferencesHelpViewController final : public JLPreferencesPane {
 public:
  explicit JLPreferencesHelpViewController(ProductAddresses addresses);
  ~JLPreferencesHelpViewController() override;

  std::string identifier() const override { return textForLater("Help"); }
  PaneImage toolbarItemImage() const override { return PaneImage::caution; }
  void loadView(PreferencesWindowView& view) override { view_ = &view; }
  void viewWillAppear() override;

  void openDocumentation();
  void openSupportPage();
  void openTweetCompose();
  void openURL(const std::string& url);
  /// The effects of the buttons that show, in their order.
  void pressButton(size_t index);
  /// Looks at the desktop, in the background; one look at a time.
  void checkHealth();
  /// Also what is well, or only what is not.
  void setShowsAll(bool all);

 private:
  void show();

  const ProductAddresses addresses_;
  PreferencesWindowView* view_ = nullptr;
  HelpPaneModel model_;  ///< its findings are chosen when it is shown
  std::vector<HelpPaneModel::Finding> findings_;
  std::vector<void (JLPreferencesHelpViewController::*)()> effects_;  ///< of the model's buttons
  std::shared_ptr<JLPreferencesHelpViewController*> self_;            ///< for what comes after the end
  std::shared_ptr<TaskQueue> queue_;
};

}  // namespace jumplark
