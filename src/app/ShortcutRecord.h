#pragma once

#include <optional>

#include "platform/Defaults.h"
#include "platform/GlobalShortcuts.h"

namespace jumplark {

/// Whether a combination can be a global shortcut without taking a key from ordinary typing: a function key, or any key
/// with Command, Control or Option.
bool isUsableShortcut(const Shortcut& shortcut);

/// A shortcut as settings keep it: {"KeyCode": number, "ModifierFlags": number}. None for anything else, and for a
/// combination that is not usable.
std::optional<Shortcut> shortcutFromRecord(const DefaultsValue& record);
DefaultsValue recordOfShortcut(const Shortcut& shortcut);

}  // namespace jumplark
