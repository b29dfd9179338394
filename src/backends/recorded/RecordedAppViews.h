#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/AppViews.h"

namespace jumplark {

class Queues;

/// The preferences window of a recorded desktop. What it shows is open to tests, which also play the user. Main thread
/// only.
class RecordedPreferencesWindow final : public PreferencesWindowView {
 public:
  RecordedPreferencesWindow(Queues& queues, std::string title, std::vector<std::optional<PaneDescription>> panes);

  void setDelegate(PreferencesViewDelegate* delegate) override { delegate_ = delegate; }
  void makeKeyAndOrderFront() override;
  void close() override;
  bool isVisible() const override { return isVisible_; }
  void selectPane(const std::string& identifier) override;
  void showSheet(const Alert& alert, std::function<void(int button)> chosen) override;
  void setGeneralPane(const GeneralPaneModel& model) override { general = model; }
  void setAdvancedPane(const AdvancedPaneModel& model) override { advanced = model; }
  void setUsagePane(const UsagePaneModel& model) override { usage = model; }
  void setHelpPane(const HelpPaneModel& model) override { help = model; }
  void setAboutPane(const AboutPaneModel& model) override { about = model; }

  /// The user's side. Null while there is none.
  PreferencesViewDelegate* delegate() const { return delegate_; }
  const std::string& title() const { return title_; }
  const std::vector<std::optional<PaneDescription>>& panes() const { return panes_; }
  const std::string& selectedPane() const { return selected_; }
  /// The messages that nobody has answered, in the order of showing.
  const std::vector<Alert>& sheets() const { return sheets_; }
  /// The user presses a button of the oldest message.
  void answerSheet(int button);

  GeneralPaneModel general;
  AdvancedPaneModel advanced;
  UsagePaneModel usage;
  HelpPaneModel help;
  AboutPaneModel about;

 private:
  Queues& queues_;
  std::string title_;
  std::vector<std::optional<PaneDescription>> panes_;
  std::string selected_;
  bool isVisible_ = false;
  PreferencesViewDelegate* delegate_ = nullptr;
  std::vector<Alert> sheets_;
  std::vector<std::function<void(int)>> chosen_;
};

/// Icon and preferences of a recorded desktop. Main thread only.
class RecordedAppViews final : public AppViews {
 public:
  explicit RecordedAppViews(Queues& queues) : queues_(queues) {}

  std::unique_ptr<StatusItemView> makeStatusItem(const StatusItem& item) override;
  bool hasStatusBar() override { return statusBar; }
  std::unique_ptr<PreferencesWindowView> makePreferencesWindow(
      const std::string& title, const std::vector<std::optional<PaneDescription>>& panes) override;

  std::unique_ptr<UpdateWindowView> makeUpdateWindow(UpdateWindowCallbacks callbacks) override;

  std::unique_ptr<CrashWindowView> makeCrashWindow(CrashWindowCallbacks callbacks) override;

  struct ShownItem {
    StatusItem item;
    std::string menuTitle;
    std::vector<MenuEntry> menu;
  };
  /// The icons that are shown now.
  const std::vector<std::shared_ptr<ShownItem>>& statusItems() const { return *items_; }
  /// The user chooses an entry of the one icon's menu; false when there is no such entry.
  bool choose(const std::string& title);
  /// The window that was made last; null before. It belongs to whoever asked for it and goes with it.
  RecordedPreferencesWindow* preferences() const { return preferences_; }

  struct ShownUpdate {
    UpdateWindowModel model;
    int timesShown = 0;
    bool tookKeyboard = false;  ///< at the last time
    UpdateWindowCallbacks callbacks;
  };
  /// The window about a new version; null while there is none.
  std::shared_ptr<ShownUpdate> update() const { return update_.lock(); }
  /// The user presses one of its buttons, or closes it (-1). The caller hears of it on the main queue.
  void answerUpdate(int button);

  struct ShownCrash {
    CrashWindowModel model;
    bool isShown = false;
    CrashWindowCallbacks callbacks;  ///< a test calls them as the user would
  };
  /// The window about a crash; null while there is none.
  std::shared_ptr<ShownCrash> crash() const { return crash_.lock(); }

  bool statusBar = true;   ///< whether this desktop has one
  bool isComplete = true;  ///< false: no preferences window can be made
  int preferencesMade = 0;

 private:
  Queues& queues_;
  std::shared_ptr<std::vector<std::shared_ptr<ShownItem>>> items_ =
      std::make_shared<std::vector<std::shared_ptr<ShownItem>>>();
  RecordedPreferencesWindow* preferences_ = nullptr;
  std::weak_ptr<ShownUpdate> update_;
  std::weak_ptr<ShownCrash> crash_;
};

}  // namespace jumplark
