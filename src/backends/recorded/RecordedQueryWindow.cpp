#include "backends/recorded/RecordedQueryWindow.h"

#include "platform/Input.h"
#include "platform/Utf8.h"

namespace jumplark {
namespace {

std::string withoutLastCharacter(std::string text) {
  size_t last = 0;
  for (size_t i = 0; i < text.size(); i += utf8CharacterAt(text, i).bytes) {
    last = i;
  }
  text.resize(last);
  return text;
}

bool typesText(const KeyEvent& event) {
  constexpr uint64_t kCommands = modifier_flag::command | modifier_flag::control;
  return (event.flags & kCommands) == 0 && !event.characters.empty() &&
         static_cast<unsigned char>(event.characters.front()) >= 0x20;
}

}  // namespace

RecordedQueryWindow::RecordedQueryWindow(Queues& queues, Size size)
    : queues_(queues), frame_{0, 0, size.width, size.height} {}

void RecordedQueryWindow::checkThread() const {
  callsOffMainThread_ += queues_.mainQueue().isCurrent() ? 0 : 1;
}

void RecordedQueryWindow::setDelegate(QueryWindowViewDelegate* delegate) {
  delegate_ = delegate;
}

void RecordedQueryWindow::setLevel(int level) {
  level_ = level;
}

void RecordedQueryWindow::setFrameTopLeft(Point topLeft) {
  checkThread();
  frame_.x = topLeft.x;
  frame_.y = topLeft.y - frame_.height;
}

void RecordedQueryWindow::makeKeyAndOrderFront() {
  checkThread();
  visible_ = true;
  key_ = true;
  ++timesShown_;
}

void RecordedQueryWindow::orderOut() {
  checkThread();
  visible_ = false;
  resignKey();
}

void RecordedQueryWindow::setText(const std::string& text) {
  checkThread();
  changeText(text);
}

void RecordedQueryWindow::changeText(std::string text) {
  if (text_ != text) {
    text_ = std::move(text);
    if (delegate_ != nullptr) {
      delegate_->textDidChange(text_);
    }
  }
}

bool RecordedQueryWindow::makeFieldFirstResponder() {
  checkThread();
  fieldFirstResponder_ = true;
  return true;
}

bool RecordedQueryWindow::resignFieldFirstResponder() {
  checkThread();
  fieldFirstResponder_ = false;
  return true;
}

void RecordedQueryWindow::setKeyMonitorInstalled(bool installed) {
  checkThread();
  monitorInstalled_ = installed;
}

void RecordedQueryWindow::startSpinner() {
  spinnerRuns_ = true;
}

void RecordedQueryWindow::setSpinnerOpacity(double opacity, Duration duration) {
  checkThread();
  spinnerOpacity_ = opacity;
  spinnerChanges_.emplace_back(opacity, duration);
}

void RecordedQueryWindow::setNotice(const std::string& notice) {
  checkThread();
  notice_ = notice;
}

void RecordedQueryWindow::setCommands(const CommandRows& commands) {
  checkThread();
  commands_ = commands;
}

void RecordedQueryWindow::announceSelection(const std::string& description) {
  checkThread();
  announcements_.push_back(description);
}

void RecordedQueryWindow::typeText(const std::string& text) {
  for (size_t i = 0; i < text.size();) {
    const size_t length = utf8CharacterAt(text, i).bytes;
    pressCharacter(text.substr(i, length));
    i += length;
  }
}

bool RecordedQueryWindow::press(const KeyEvent& event) {
  if (!key_ || delegate_ == nullptr) {
    return false;
  }
  if (monitorInstalled_ && delegate_->monitoredKeyDown(event)) {
    return true;
  }
  if ((event.flags & modifier_flag::command) != 0 && delegate_->performKeyEquivalent(event)) {
    return true;
  }
  if (!key_) {
    return true;  // what the key did has put the window away
  }
  if (!fieldFirstResponder_) {
    delegate_->keyDown(event);
  } else if (event.keyCode == key_code::backspace) {
    changeText(withoutLastCharacter(text_));
  } else if (typesText(event)) {
    changeText(text_ + event.characters);
  }
  return true;
}

bool RecordedQueryWindow::press(int64_t keyCode, uint64_t flags) {
  return press(KeyEvent{keyCode, flags, {}, {}, false});
}

bool RecordedQueryWindow::pressCharacter(const std::string& character, uint64_t flags) {
  const int64_t symbol = character.empty() ? 0 : static_cast<unsigned char>(character.front());
  return press(KeyEvent{key_code::symbolBase + symbol, flags, character, character, false});
}

bool RecordedQueryWindow::pressBackspace() {
  return press(key_code::backspace);
}

void RecordedQueryWindow::pressRow(size_t row) {
  if (delegate_ != nullptr && row < commands_.rows.size()) {
    delegate_->commandRowPressed(row);
  }
}

void RecordedQueryWindow::scroll(int rows) {
  if (delegate_ != nullptr) {
    delegate_->commandsScrolled(rows);
  }
}

void RecordedQueryWindow::closeMenus() {
  if (delegate_ != nullptr) {
    delegate_->menusDidClose();
  }
}

void RecordedQueryWindow::resignKey() {
  if (key_) {
    key_ = false;
    if (delegate_ != nullptr) {
      delegate_->didResignKey();
    }
  }
}

}  // namespace jumplark
