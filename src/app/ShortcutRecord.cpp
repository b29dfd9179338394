#include "app/ShortcutRecord.h"

#include <cstdint>

#include "platform/Input.h"

namespace jumplark {
namespace {

constexpr const char* kKeyCode = "KeyCode";
constexpr const char* kModifierFlags = "ModifierFlags";
/// Virtual key codes and symbols have 31 bits at most, modifier flags 32.
constexpr uint64_t kLargestKeyCode = 0x7FFFFFFF;
constexpr int64_t kFirstFunctionKey = key_code::symbolBase + 0xFFBE;
constexpr int64_t kLastFunctionKey = kFirstFunctionKey + 34;
constexpr uint64_t kModifiers =
    modifier_flag::shift | modifier_flag::control | modifier_flag::option | modifier_flag::command;

std::optional<uint64_t> unsignedMember(const DefaultsValue& record, const char* name, uint64_t largest) {
  const auto found = record.find(name);
  const bool isNatural = found != record.end() && found->is_number_integer() &&
                         (found->is_number_unsigned() || found->get<int64_t>() >= 0);
  if (!isNatural) {
    return std::nullopt;
  }
  const uint64_t number = found->get<uint64_t>();
  return number <= largest ? std::optional(number) : std::nullopt;
}

}  // namespace

bool isUsableShortcut(const Shortcut& shortcut) {
  const bool isFunctionKey = shortcut.keyCode >= kFirstFunctionKey && shortcut.keyCode <= kLastFunctionKey;
  return isFunctionKey ||
         (shortcut.modifierFlags & (modifier_flag::command | modifier_flag::control | modifier_flag::option)) != 0;
}

std::optional<Shortcut> shortcutFromRecord(const DefaultsValue& record) {
  if (!record.is_object()) {
    return std::nullopt;
  }
  const auto keyCode = unsignedMember(record, kKeyCode, kLargestKeyCode);
  const auto flags = unsignedMember(record, kModifierFlags, UINT32_MAX);
  if (!keyCode || !flags) {
    return std::nullopt;
  }
  const Shortcut shortcut{static_cast<int64_t>(*keyCode), *flags & kModifiers};
  return isUsableShortcut(shortcut) ? std::optional(shortcut) : std::nullopt;
}

DefaultsValue recordOfShortcut(const Shortcut& shortcut) {
  return {{kKeyCode, static_cast<uint64_t>(shortcut.keyCode)}, {kModifierFlags, shortcut.modifierFlags}};
}

}  // namespace jumplark
