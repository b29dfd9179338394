#pragma once

#include <optional>

#include "platform/Defaults.h"
#include "platform/GlobalShortcuts.h"

namespace jumplark {

/// A shortcut as settings keep it: {"KeyCode": number, "ModifierFlags": number}. None for anything else.
std::optional<Shortcut> shortcutFromRecord(const DefaultsValue& record);
DefaultsValue recordOfShortcut(const Shortcut& shortcut);

}  // namespace jumplark
