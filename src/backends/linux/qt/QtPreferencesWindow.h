#pragma once

#include <QPointer>
#include <QWidget>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/AppViews.h"

class QStackedWidget;
class QToolButton;

namespace jumplark {

class AboutPane;
class AdvancedPane;
class AlertDialog;
class GeneralPane;
class HelpPane;
class KeyTranslator;
class TaskQueue;
class UsagePane;

/// The preferences: an ordinary window with a row of buttons above the chosen pane. Escape and Control+W close it. A
/// message over it has the keyboard until it is answered.
class QtPreferencesWindow final : public PreferencesWindowView {
 public:
  struct Context {
    const KeyTranslator& keys;
    TaskQueue& mainQueue;
    std::function<void(QWidget& window)> bringToFront;
  };
  QtPreferencesWindow(Context context, const std::string& title,
                      const std::vector<std::optional<PaneDescription>>& panes);
  ~QtPreferencesWindow() override;
  QtPreferencesWindow(const QtPreferencesWindow&) = delete;
  QtPreferencesWindow& operator=(const QtPreferencesWindow&) = delete;

  void setDelegate(PreferencesViewDelegate* delegate) override { delegate_ = delegate; }
  void makeKeyAndOrderFront() override;
  void close() override { window_->close(); }
  bool isVisible() const override { return window_->isVisible(); }
  void selectPane(const std::string& identifier) override;
  void showSheet(const Alert& alert, std::function<void(int button)> chosen) override;
  void setGeneralPane(const GeneralPaneModel& model) override;
  void setAdvancedPane(const AdvancedPaneModel& model) override;
  void setUsagePane(const UsagePaneModel& model) override;
  void setHelpPane(const HelpPaneModel& model) override;
  void setAboutPane(const AboutPaneModel& model) override;

 private:
  class Window;
  struct Entry {
    std::string identifier;
    QToolButton* button;
    QWidget* pane;
  };

  struct Sheet {
    Alert alert;
    std::function<void(int button)> chosen;
  };

  QWidget* makePane(const std::string& identifier);
  QWidget* makeToolbar(const std::vector<std::optional<PaneDescription>>& panes);
  void tell(const std::function<void(PreferencesViewDelegate&)>& call) const;
  void windowShown();
  void windowHidden();
  void showNextSheet();
  void sheetAnswered(int button);
  void endSheets();

  Context context_;
  PreferencesViewDelegate* delegate_ = nullptr;
  std::string selected_;
  bool placed_ = false;   ///< later it stays where the user puts it
  std::string appeared_;  ///< the pane in view; empty for none
  std::vector<Entry> entries_;
  std::deque<Sheet> sheets_;  ///< the first one is the dialog, where there is one
  QPointer<AlertDialog> sheet_;
  QPointer<GeneralPane> general_;
  QPointer<AdvancedPane> advanced_;
  QPointer<UsagePane> usage_;
  QPointer<HelpPane> help_;
  QPointer<AboutPane> about_;
  QStackedWidget* stack_ = nullptr;
  std::unique_ptr<QWidget> window_;
  std::shared_ptr<QtPreferencesWindow*> self_;  ///< for answers that come after the end
};

}  // namespace jumplark
