#include "query/engine/JLQueryField.h"

#include "platform/Input.h"

namespace jumplark {
namespace {

/// The field whose monitor is installed; one in the process.
JLQueryField* monitoringField = nullptr;

}  // namespace

JLQueryField::~JLQueryField() {
  if (monitoringField == this) {
    view_.setKeyMonitorInstalled(false);
    monitoringField = nullptr;
  }
}

bool JLQueryField::becomeFirstResponder() {
  if (!view_.makeFieldFirstResponder()) {
    return false;
  }
  if (monitoringField == nullptr) {
    monitoringField = this;
    view_.setKeyMonitorInstalled(true);
  }
  return true;
}

bool JLQueryField::resignFirstResponder() {
  if (!view_.resignFieldFirstResponder()) {
    return false;
  }
  if (monitoringField == this) {
    view_.setKeyMonitorInstalled(false);
    monitoringField = nullptr;
  }
  return true;
}

bool JLQueryField::performKeyEquivalent(const KeyEvent& event) {
  if ((event.flags & modifier_flag::command) == 0 || event.keyCode != key_code::returnKey) {
    return false;
  }
  if (delegate_ != nullptr) {
    delegate_->keyDown(event);
  }
  return true;
}

bool JLQueryField::monitoredKeyDown(const KeyEvent& event) {
  if (delegate_ != nullptr) {
    delegate_->keyDown(event);
  }
  return (event.flags & modifier_flag::deviceIndependentMask) == modifier_flag::control;
}

}  // namespace jumplark
