#include "query/engine/JLQueryWindow.h"

#include "platform/Platform.h"
#include "query/engine/JLQueryWindowController.h"

namespace jumplark {

JLQueryWindow::JLQueryWindow() : view_(Platform::current().views->makeQueryWindow()), field_(*view_) {
  view_->setLevel(window_level::dock + 1);
  view_->setDelegate(this);
}

JLQueryWindow::~JLQueryWindow() {
  view_->setDelegate(nullptr);
}

void JLQueryWindow::textDidChange(const std::string& text) {
  field_.textDidChange(text);
}

bool JLQueryWindow::monitoredKeyDown(const KeyEvent& event) {
  return field_.monitoredKeyDown(event);
}

bool JLQueryWindow::performKeyEquivalent(const KeyEvent& event) {
  return field_.performKeyEquivalent(event);
}

void JLQueryWindow::keyDown(const KeyEvent& event) {
  if (controller_ != nullptr) {
    controller_->keyDown(event);
  }
}

void JLQueryWindow::keyUp(const KeyEvent& event) {
  if (controller_ != nullptr) {
    controller_->keyUp(event);
  }
}

void JLQueryWindow::didResignKey() {
  if (controller_ != nullptr) {
    controller_->windowDidResignKey();
  }
}

void JLQueryWindow::menusDidClose() {
  if (controller_ != nullptr) {
    controller_->windowClosedMenus();
  }
}

void JLQueryWindow::commandRowPressed(size_t row) {
  if (controller_ != nullptr) {
    controller_->commandRowPressed(row);
  }
}

void JLQueryWindow::commandsScrolled(int rows) {
  if (controller_ != nullptr) {
    controller_->commandsScrolled(rows);
  }
}

}  // namespace jumplark
