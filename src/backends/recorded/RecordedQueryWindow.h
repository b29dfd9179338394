#pragma once

#include <string>
#include <utility>
#include <vector>

#include "platform/Queues.h"
#include "platform/Views.h"

namespace jumplark {

/// A query window in memory, with the user in front of it: what the user does (types, presses keys, clicks elsewhere)
/// reaches the delegate in the order in which a window system delivers it. Keys are pressed in vain while the window
/// does not have the keyboard. The main thread only, as every view.
class RecordedQueryWindow : public QueryWindowView {
 public:
  explicit RecordedQueryWindow(Queues& queues, Size size = {400, 50});

  void setDelegate(QueryWindowViewDelegate* delegate) override;
  void setLevel(int level) override;
  Rect frame() const override { return frame_; }
  void setFrameTopLeft(Point topLeft) override;
  void makeKeyAndOrderFront() override;
  /// A window that had the keyboard loses it by going, and its delegate hears of that.
  void orderOut() override;
  bool isVisible() const override { return visible_; }
  std::string text() const override { return text_; }
  void setText(const std::string& text) override;
  bool makeFieldFirstResponder() override;
  bool resignFieldFirstResponder() override;
  void setKeyMonitorInstalled(bool installed) override;
  bool hasMarkedText() const override { return markedText_; }
  void startSpinner() override;
  void setSpinnerOpacity(double opacity, Duration duration) override;
  void setNotice(const std::string& notice) override;
  void setCommands(const CommandRows& commands) override;
  void announceSelection(const std::string& description) override;

  /// The user. One press for each character.
  void typeText(const std::string& text);
  /// One key: shown to the monitor first, then, with Command, offered as a key equivalent, then given to the field,
  /// which edits its text, or to the window where the field does not have the typing. False when the window does not
  /// have the keyboard.
  bool press(const KeyEvent& event);
  bool press(int64_t keyCode, uint64_t flags = 0);
  /// A key that types a character, with modifiers held.
  bool pressCharacter(const std::string& character, uint64_t flags = 0);
  bool pressBackspace();
  /// The user clicks a row of the list of commands, or turns the wheel over it.
  void pressRow(size_t row);
  void scroll(int rows);
  /// The keyboard goes to another window, as after a click elsewhere.
  void resignKey();
  /// Menus have closed since the window took the keyboard.
  void closeMenus();
  /// An input method begins or ends composing.
  void setMarkedText(bool marked) { markedText_ = marked; }

  bool isKey() const { return key_; }
  bool isFieldFirstResponder() const { return fieldFirstResponder_; }
  bool isKeyMonitorInstalled() const { return monitorInstalled_; }
  int level() const { return level_; }
  int timesShown() const { return timesShown_; }
  bool spinnerRuns() const { return spinnerRuns_; }
  double spinnerOpacity() const { return spinnerOpacity_; }
  /// Each change asked for, with its duration.
  const std::vector<std::pair<double, Duration>>& spinnerChanges() const { return spinnerChanges_; }
  const std::string& notice() const { return notice_; }
  const CommandRows& commands() const { return commands_; }
  const std::vector<std::string>& announcements() const { return announcements_; }
  /// How many of the core's calls came on another thread than the main one.
  int callsOffMainThread() const { return callsOffMainThread_; }

 private:
  void checkThread() const;
  void changeText(std::string text);

  Queues& queues_;
  QueryWindowViewDelegate* delegate_ = nullptr;
  Rect frame_;
  std::string text_;
  int level_ = 0;
  int timesShown_ = 0;
  bool visible_ = false;
  bool key_ = false;
  bool fieldFirstResponder_ = false;
  bool monitorInstalled_ = false;
  bool markedText_ = false;
  bool spinnerRuns_ = false;
  double spinnerOpacity_ = 0;
  std::vector<std::pair<double, Duration>> spinnerChanges_;
  std::string notice_;
  CommandRows commands_;
  std::vector<std::string> announcements_;
  mutable int callsOffMainThread_ = 0;
};

}  // namespace jumplark
