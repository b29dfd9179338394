#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/Token.h"
#include "query/engine/JLQueryWindow.h"
#include "streams/Property.h"

namespace jumplark {

class JLElement;

/// What the query window's controller tells, on the main thread.
struct QueryWindowEvents {
  /// A key went down; before the field gets it, where the field has the keyboard.
  std::function<void(const KeyEvent& event)> keyDown;
  /// Another window has the keyboard.
  std::function<void()> didResignKey;
  /// Menus that were open over the target have gone, so that what it shows is another than a moment ago.
  std::function<void()> menusDidClose;
  /// A row of the list of commands was clicked; counted from 0 among those that show.
  std::function<void(size_t row)> commandRowPressed;
  /// Later rows are wanted (earlier ones, for a negative number).
  std::function<void(int rows)> commandsScrolled;
};

/// Shows, places and hides the query window, shows that matches are being looked for once that has taken 0.1 s since
/// the window was shown, and passes every key press on. The window is shown while `targetApp` is an element, and
/// follows it at once. Main thread only, but for `isWorking`, which may be set on any.
class JLQueryWindowController : public JLQueryFieldDelegate {
 public:
  explicit JLQueryWindowController(QueryWindowEvents events);
  JLQueryWindowController(const JLQueryWindowController&) = delete;
  JLQueryWindowController& operator=(const JLQueryWindowController&) = delete;
  ~JLQueryWindowController() override;

  Property<std::shared_ptr<JLElement>>& targetApp() { return targetApp_; }
  Property<bool>& isWorking() { return isWorking_; }
  /// What is typed: the current text first.
  Observable<std::string> text() { return window_.queryField().text(); }
  bool hasMarkedText() { return window_.view().hasMarkedText(); }
  bool isWindowVisible() { return window_.view().isVisible(); }

  /// Places the window over the focused window of an application, of which nothing is asked, and displays it.
  void displayWindowOverApplication(int32_t pid);
  /// Shows the window in front, with the keyboard in its field.
  void displayWindow();
  /// Hides the window and empties its field.
  void hideWindow();
  void makeWindowKey();

  /// A text that tells why there is nothing to choose; empty removes it.
  void setNotice(const std::string& notice);
  /// The list of commands, or a text instead of it; it takes the place of the notice. None brings the notice back.
  void setCommands(const std::optional<CommandRows>& commands, const std::string& insteadOfThem = {});
  /// What a screen reader says of the selected match; the same text is not said twice in a row.
  void announceSelection(const std::string& description);

  void keyDown(const KeyEvent& event) override;
  void keyUp(const KeyEvent& event);
  void windowDidResignKey();
  void windowClosedMenus();
  void commandRowPressed(size_t row);
  void commandsScrolled(int rows);
  /// None, ever.
  std::vector<std::string> completionsForPartialWord(const std::string& word) override;

 private:
  void windowDidLoad();
  void targetAppChanged(const std::shared_ptr<JLElement>& target);

  const QueryWindowEvents events_;
  JLQueryWindow window_;
  Property<std::shared_ptr<JLElement>> targetApp_;
  Property<bool> isWorking_{false};
  Property<bool> isShown_{false};
  std::string announced_;
  std::string notice_;
  bool listsCommands_ = false;
  std::vector<Token> observations_;
};

}  // namespace jumplark
