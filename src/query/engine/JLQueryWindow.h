#pragma once

#include <memory>

#include "platform/Views.h"
#include "query/engine/JLQueryField.h"

namespace jumplark {

class JLQueryWindowController;

/// The window into which the user types, one level above the panel; it exists from its making on, hidden. What the
/// user does in it goes to its field and its controller. Main thread only.
class JLQueryWindow : private QueryWindowViewDelegate {
 public:
  JLQueryWindow();
  JLQueryWindow(const JLQueryWindow&) = delete;
  JLQueryWindow& operator=(const JLQueryWindow&) = delete;
  ~JLQueryWindow() override;

  void setWindowController(JLQueryWindowController* controller) { controller_ = controller; }
  QueryWindowView& view() { return *view_; }
  JLQueryField& queryField() { return field_; }
  /// A window without a border takes the keyboard all the same.
  static bool canBecomeKeyWindow() { return true; }

 private:
  void textDidChange(const std::string& text) override;
  bool monitoredKeyDown(const KeyEvent& event) override;
  bool performKeyEquivalent(const KeyEvent& event) override;
  void keyDown(const KeyEvent& event) override;
  void keyUp(const KeyEvent& event) override;
  void didResignKey() override;
  void menusDidClose() override;
  void commandRowPressed(size_t row) override;
  void commandsScrolled(int rows) override;

  std::unique_ptr<QueryWindowView> view_;
  JLQueryField field_;
  JLQueryWindowController* controller_ = nullptr;
};

}  // namespace jumplark
