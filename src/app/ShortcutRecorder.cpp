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

ShortcutRecorder::ShortcutRecorder(std::string defaultsKey, Hooks hooks)
    : defaultsKey_(std::move(defaultsKey)), hooks_(std::move(hooks)) {
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
  return model;
}

void ShortcutRecorder::click() {
  if (isRecording_) {
    stop();
    return;
  }
  isRecording_ = true;
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

void ShortcutRecorder::stop() {
  if (!isRecording_) {
    return;
  }
  isRecording_ = false;
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
    Platform::current().input->beep();
  }
}

void ShortcutRecorder::record(const Shortcut& shortcut) {
  GlobalShortcuts& shortcuts = *Platform::current().shortcuts;
  if (shortcut != this->shortcut() && shortcuts.probe(shortcut) == ShortcutState::taken) {
    stop();
    hooks_.refuse(refusalOf(shortcuts.describe(shortcut)));
    return;
  }
  store(shortcut);
  stop();
}

void ShortcutRecorder::store(const std::optional<Shortcut>& shortcut) {
  Defaults& defaults = *Platform::current().defaults;
  defaults.setValue(defaultsKey_, shortcut ? recordOfShortcut(*shortcut) : DefaultsValue());
  defaults.synchronize();
  hooks_.changed();
}

}  // namespace jumplark
