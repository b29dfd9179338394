#include "backends/linux/windows/KeyNames.h"

#include <xkbcommon/xkbcommon-keysyms.h>
#include <xkbcommon/xkbcommon.h>

#include <algorithm>
#include <array>
#include <utility>

#include "platform/Input.h"
#include "platform/Texts.h"

namespace jumplark {
namespace {

/// Those that say something else on keyboards of another language.
constexpr std::pair<xkb_keysym_t, const char*> kNamedSymbols[] = {
    {XKB_KEY_Left, textForLater("Left")},     {XKB_KEY_Right, textForLater("Right")},
    {XKB_KEY_Up, textForLater("Up")},         {XKB_KEY_Down, textForLater("Down")},
    {XKB_KEY_Home, textForLater("Home")},     {XKB_KEY_End, textForLater("End")},
    {XKB_KEY_Prior, textForLater("Page Up")}, {XKB_KEY_Next, textForLater("Page Down")},
    {XKB_KEY_Insert, textForLater("Insert")}, {XKB_KEY_Delete, textForLater("Delete")},
    {XKB_KEY_Print, textForLater("Print")},   {XKB_KEY_Pause, textForLater("Pause")},
    {XKB_KEY_Menu, textForLater("Menu")},
};

std::string nameOfSymbol(xkb_keysym_t symbol) {
  const auto* const named = std::ranges::find(kNamedSymbols, symbol, &std::pair<xkb_keysym_t, const char*>::first);
  if (named != std::end(kNamedSymbols)) {
    return localized(named->second);
  }
  constexpr uint32_t firstPrintable = 0x21;
  if (xkb_keysym_to_utf32(symbol) >= firstPrintable) {
    std::array<char, 8> buffer{};
    xkb_keysym_to_utf8(xkb_keysym_to_upper(symbol), buffer.data(), buffer.size());
    return buffer.data();
  }
  std::array<char, 64> buffer{};
  if (xkb_keysym_get_name(symbol, buffer.data(), buffer.size()) <= 0) {
    return "?";
  }
  std::string name = buffer.data();
  std::ranges::replace(name, '_', ' ');
  return name;
}

std::string nameOfKey(int64_t code) {
  switch (code) {
    case key_code::returnKey:
      return localized("Return");
    case key_code::tab:
      return localized("Tab");
    case key_code::space:
      return localized("Space");
    case key_code::backspace:
      return localized("Backspace");
    case key_code::escape:
      return localized("Escape");
    default:
      return code >= key_code::symbolBase ? nameOfSymbol(static_cast<uint32_t>(code - key_code::symbolBase)) : "?";
  }
}

}  // namespace

std::string describeShortcut(const Shortcut& shortcut) {
  constexpr std::pair<uint64_t, const char*> modifiers[] = {{modifier_flag::control, textForLater("Control")},
                                                            {modifier_flag::option, textForLater("Alt")},
                                                            {modifier_flag::command, textForLater("Super")},
                                                            {modifier_flag::shift, textForLater("Shift")}};
  std::string text;
  for (const auto& [flag, name] : modifiers) {
    if ((shortcut.modifierFlags & flag) != 0) {
      text += localized(name);
      text += '+';
    }
  }
  return text + nameOfKey(shortcut.keyCode);
}

int64_t keyCodeOf(uint32_t symbol) {
  switch (symbol) {
    case XKB_KEY_Return:
    case XKB_KEY_KP_Enter:
      return key_code::returnKey;
    case XKB_KEY_Tab:
    case XKB_KEY_ISO_Left_Tab:
      return key_code::tab;
    case XKB_KEY_space:
      return key_code::space;
    case XKB_KEY_BackSpace:
      return key_code::backspace;
    case XKB_KEY_Escape:
      return key_code::escape;
    default:
      return key_code::symbolBase + symbol;
  }
}

uint32_t symbolOf(int64_t keyCode) {
  switch (keyCode) {
    case key_code::returnKey:
      return XKB_KEY_Return;
    case key_code::tab:
      return XKB_KEY_Tab;
    case key_code::space:
      return XKB_KEY_space;
    case key_code::backspace:
      return XKB_KEY_BackSpace;
    case key_code::escape:
      return XKB_KEY_Escape;
    default:
      return keyCode > key_code::symbolBase ? static_cast<uint32_t>(keyCode - key_code::symbolBase) : 0;
  }
}

}  // namespace jumplark
