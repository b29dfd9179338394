#include "app/ShortcutRecorder.h"

#include <fmt/format.h>

#include <utility>

#include "app/ShortcutRecord.h"
#include "platform/Input.h"
#include "platform/Platform.h"
#include "platform/Texts.h"

namespace jumplark {
namespace {

constexpr int64_t kDeleteKey = key_code::symbolBase + 0xFFFF;
constexpr uint64_t kModifiers =
    modifier_flag::shift | modifier_flag::control | modifier_flag::option | modifier_flag::command;

Alert refusalOf(const std::string& combination) {
  return {localizedFormat("The key combination {} cannot be used", combination),
          localized(
              "This combination cannot be used because it is already used by a system-wide keyboard shortcut.\nIf you "
              "really want to use this key combination, most shortcuts can be changed in the Keyboard & Mouse panel in "
              "System Preferences."),
          {localized("OK")}};
}

}  // namespace

ShortcutRecorder::ShortcutRecorder(std::string defaultsKey, const Shortcut& standard, Hooks hooks)
    : defaultsKey_(std::move(defaultsKey)), standard_(standard), hooks_(std::move(hooks)) {
  observation_ =
      Platform::current().defaults->observe(defaultsKey_, [this](const DefaultsValue&) { hooks_.changed(); });
}

ShortcutRecorder::~ShortcutRecorder() = default;

std::optional<Shortcut> ShortcutRecorder::shortcut() const {
  return shortcutFromRecord(Platform::current().defaults->value(defaultsKey_));
}

RecorderModel ShortcutRecorder::model() const {
  const std::optional<Shortcut> current = shortcut();
  RecorderModel model;
  model.isRecording = isRecording_;
  model.hint = hint_;
  if (isRecording_) {
    model.text = current ? localized("Type New Shortcut") : localized("Type Shortcut");
    model.toolTip = model.text;
    model.canClear = true;
    model.clearToolTip = current ? localized("Use Old Shortcut") : localized("Cancel");
    return model;
  }
  model.text = current ? Platform::current().shortcuts->describe(*current) : localized("Record Shortcut");
  model.toolTip = localized("Click to record new shortcut");
  model.canClear = current.has_value();
  model.clearToolTip = localized("Delete shortcut");
  if (current != standard_) {
    model.resetTitle = localizedFormat("Use {}", Platform::current().shortcuts->describe(standard_));
  }
  return model;
}

void ShortcutRecorder::click() {
  if (isRecording_) {
    stop();
    return;
  }
  isRecording_ = true;
  hint_.clear();
  suspension_ = hooks_.suspendShortcut();
  hooks_.changed();
}

void ShortcutRecorder::clear() {
  if (isRecording_) {
    stop();
  } else {
    store(std::nullopt);
  }
}

void ShortcutRecorder::reset() {
  stop();
  record(standard_);
}

void ShortcutRecorder::stop() {
  if (!isRecording_) {
    return;
  }
  isRecording_ = false;
  hint_.clear();
  suspension_.reset();
  hooks_.changed();
}

void ShortcutRecorder::keyDown(const KeyEvent& event) {
  if (!isRecording_ || event.isRepeat) {
    return;
  }
  const Shortcut pressed{event.keyCode, event.flags & kModifiers};
  if (pressed.modifierFlags == 0 && pressed.keyCode == key_code::escape) {
    stop();
  } else if (pressed.modifierFlags == 0 && (pressed.keyCode == key_code::backspace || pressed.keyCode == kDeleteKey)) {
    store(std::nullopt);
    stop();
  } else if (isUsableShortcut(pressed)) {
    record(pressed);
  } else {
    refuse(localizedFormat("{} would be taken from every other program. Hold Control, Alt or Super as well.",
                           Platform::current().shortcuts->describe(pressed)));
  }
}

void ShortcutRecorder::refuse(const std::string& reason) {
  hint_ = reason;
  Platform::current().input->beep();
  hooks_.changed();
}

void ShortcutRecorder::record(const Shortcut& shortcut) {
  GlobalShortcuts& shortcuts = *Platform::current().shortcuts;
  const ShortcutState state = shortcut == this->shortcut() ? ShortcutState::registered : shortcuts.probe(shortcut);
  const std::string name = shortcuts.describe(shortcut);
  if (state == ShortcutState::noSuchKey) {
    refuse(localizedFormat("This keyboard has no such key now, so {} cannot open Jumplark.", name));
    return;
  }
  if (state == ShortcutState::taken) {
    stop();
    hooks_.refuse(refusalOf(name));
    return;
  }
  store(shortcut);
  stop();
}

void ShortcutRecorder::store(const std::optional<Shortcut>& shortcut) {
  hint_.clear();
  Defaults& defaults = *Platform::current().defaults;
  defaults.setValue(defaultsKey_, shortcut ? recordOfShortcut(*shortcut) : DefaultsValue());
  defaults.synchronize();
  hooks_.changed();
}

}  // namespace jumplark
