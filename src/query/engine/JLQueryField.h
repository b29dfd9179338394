#pragma once

#include <string>
#include <vector>

#include "platform/Views.h"
#include "streams/Property.h"

namespace jumplark {

/// Whoever the query field tells of its keys and asks for completions.
class JLQueryFieldDelegate {
 public:
  virtual ~JLQueryFieldDelegate() = default;
  virtual void keyDown(const KeyEvent& event) = 0;
  virtual std::vector<std::string> completionsForPartialWord(const std::string& word) = 0;
};

/// The text field of the query window. While it is the first responder, every key press of this program is shown to its
/// delegate before the field edits its text; one with Control alone never reaches the text. Main thread only.
class JLQueryField {
 public:
  /// The view outlives the field.
  explicit JLQueryField(QueryWindowView& view) : view_(view) {}
  JLQueryField(const JLQueryField&) = delete;
  JLQueryField& operator=(const JLQueryField&) = delete;
  ~JLQueryField();

  void setDelegate(JLQueryFieldDelegate* delegate) { delegate_ = delegate; }

  bool becomeFirstResponder();
  bool resignFirstResponder();
  /// Passes Command-Return on to the delegate, which has seen it from the monitor already and so gets it twice.
  bool performKeyEquivalent(const KeyEvent& event);
  /// What the monitor does with a key press; true keeps it from the text.
  bool monitoredKeyDown(const KeyEvent& event);

  Observable<std::string> text() const { return text_.observe(); }
  void setText(const std::string& text) { view_.setText(text); }
  /// Tells the observers of the text.
  void textDidChange(const std::string& text) { text_.set(text); }

 private:
  QueryWindowView& view_;
  JLQueryFieldDelegate* delegate_ = nullptr;
  Property<std::string> text_;
};

}  // namespace jumplark
