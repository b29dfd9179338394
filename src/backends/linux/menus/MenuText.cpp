#include "backends/linux/menus/MenuText.h"

#include <xkbcommon/xkbcommon-keysyms.h>
#include <xkbcommon/xkbcommon.h>

#include <algorithm>
#include <cstdint>
#include <utility>

#include "backends/linux/windows/KeyNames.h"
#include "platform/Input.h"
#include "platform/Utf8.h"

namespace jumplark::menus {
namespace {

constexpr size_t kLongestKeyName = 32;    // bytes
constexpr size_t kLongestShortcut = 100;  // bytes

bool isBlankOrControl(char32_t character) {
  return character <= 0x20 || (character >= 0x7F && character <= 0xA0) || character == 0x2028 || character == 0x2029;
}

std::string lowerCase(std::string_view text) {
  std::string lower(text);
  std::ranges::transform(lower, lower.begin(), [](char c) { return c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c; });
  return lower;
}

/// 0 for what is no modifier.
uint64_t modifierOf(std::string_view name) {
  static constexpr std::pair<std::string_view, uint64_t> kModifiers[] = {
      {"primary", modifier_flag::control}, {"control", modifier_flag::control}, {"ctrl", modifier_flag::control},
      {"ctl", modifier_flag::control},     {"shift", modifier_flag::shift},     {"shft", modifier_flag::shift},
      {"alt", modifier_flag::option},      {"mod1", modifier_flag::option},     {"super", modifier_flag::command},
      {"meta", modifier_flag::command},    {"mod4", modifier_flag::command},    {"win", modifier_flag::command}};
  const std::string lower = lowerCase(name);
  const auto* const found = std::ranges::find(kModifiers, lower, &std::pair<std::string_view, uint64_t>::first);
  return found == std::end(kModifiers) ? 0 : found->second;
}

/// The code point of a text of one character; 0 for any other.
uint32_t onlyCharacter(std::string_view text) {
  const Utf8Character first = text.empty() ? Utf8Character() : utf8CharacterAt(text);
  return first.isWellFormed && first.bytes == text.size() ? first.codePoint : 0;
}

xkb_keysym_t symbolOf(std::string_view name) {
  static constexpr std::pair<std::string_view, xkb_keysym_t> kShort[] = {
      {"del", XKB_KEY_Delete},     {"ins", XKB_KEY_Insert},     {"esc", XKB_KEY_Escape},
      {"pgup", XKB_KEY_Prior},     {"pgdown", XKB_KEY_Next},    {"page up", XKB_KEY_Prior},
      {"page down", XKB_KEY_Next}, {"enter", XKB_KEY_KP_Enter}, {"backtab", XKB_KEY_Tab}};
  if (const uint32_t character = onlyCharacter(name)) {
    return xkb_keysym_to_lower(xkb_utf32_to_keysym(character));
  }
  const std::string lower = lowerCase(name.substr(0, kLongestKeyName));
  const auto* const found = std::ranges::find(kShort, lower, &std::pair<std::string_view, xkb_keysym_t>::first);
  return found != std::end(kShort) ? found->second : xkb_keysym_from_name(lower.c_str(), XKB_KEYSYM_CASE_INSENSITIVE);
}

std::string keysOf(uint64_t modifiers, std::string_view key) {
  const xkb_keysym_t symbol = symbolOf(key);
  return symbol == XKB_KEY_NoSymbol ? "" : describeShortcut({keyCodeOf(symbol), modifiers});
}

/// "Ctrl++" is a plus with Control.
std::vector<std::string> partsOfPlus(std::string_view shortcut) {
  std::vector<std::string> parts;
  while (true) {
    const size_t plus = shortcut.find('+', 1);
    parts.emplace_back(shortcut.substr(0, plus));
    if (plus == std::string_view::npos || plus + 1 == shortcut.size()) {
      return parts;
    }
    shortcut.remove_prefix(plus + 1);
  }
}

/// The length of "(_X)" at the start of `text`; 0 when it is not there.
size_t bracketedMnemonic(std::string_view text) {
  const size_t end = text.starts_with("(_") ? text.find(')') : std::string_view::npos;
  return end != std::string_view::npos && onlyCharacter(text.substr(2, end - 2)) != 0 ? end + 1 : 0;
}

}  // namespace

std::string menuTitle(std::string_view told) {
  std::string title;
  size_t characters = 0;
  bool blank = false;
  for (size_t at = 0; at < told.size();) {
    const Utf8Character next = utf8CharacterAt(told, at);
    at += next.bytes;
    if (isBlankOrControl(next.codePoint)) {
      blank = !title.empty();
      continue;
    }
    characters += blank ? 2 : 1;
    if (characters > kLongestTitle) {
      break;
    }
    title += blank ? " " : "";
    blank = false;
    appendUtf8(title, next.codePoint);
  }
  return title;
}

std::string titleWithoutMnemonic(std::string_view told) {
  std::string plain;
  while (!told.empty()) {
    if (const size_t length = bracketedMnemonic(told)) {
      told.remove_prefix(length);
      continue;
    }
    if (told.starts_with('_') && told.size() > 1) {
      told.remove_prefix(1);
    }
    plain += told.front();
    told.remove_prefix(1);
  }
  return menuTitle(plain);
}

std::string keysFromBrackets(std::string_view accelerator) {
  std::vector<std::string> parts;
  while (accelerator.starts_with('<')) {
    const size_t end = accelerator.find('>');
    if (end == std::string_view::npos) {
      return {};
    }
    parts.emplace_back(accelerator.substr(1, end - 1));
    accelerator.remove_prefix(end + 1);
  }
  parts.emplace_back(accelerator);
  return keysFromParts(parts);
}

std::string keysFromParts(const std::vector<std::string>& parts) {
  uint64_t modifiers = 0;
  for (size_t i = 0; i + 1 < parts.size(); ++i) {
    const uint64_t modifier = modifierOf(parts[i]);
    if (modifier == 0) {
      return {};
    }
    modifiers |= modifier;
  }
  return parts.empty() ? "" : keysOf(modifiers, parts.back());
}

std::string keysFromPlus(std::string_view shortcut) {
  constexpr std::string_view kBetween = ", ";
  shortcut = shortcut.substr(0, kLongestShortcut);
  std::string all;
  while (!shortcut.empty()) {
    const size_t end = shortcut.find(kBetween, 1);
    const std::string_view one = shortcut.substr(0, end);
    const std::string keys = keysFromParts(partsOfPlus(one));
    all += (all.empty() ? "" : ", ") + (keys.empty() ? menuTitle(one) : keys);
    shortcut.remove_prefix(end == std::string_view::npos ? shortcut.size() : end + kBetween.size());
  }
  return all;
}

}  // namespace jumplark::menus
