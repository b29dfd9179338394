#pragma once

#include <string>

#include "backends/linux/windows/WindowSystem.h"

/// What KWin runs for this program. The same text serves KWin 5.27 and 6, which name some things differently.
namespace jumplark::kwin {

/// Tells windows, their order, the active one and the outputs to the object of a bus name: all of it at first, then
/// what has changed, once for all changes of a moment. See KWinScene for the words.
std::string watchingScript(const std::string& busName, const std::string& path);

/// Carries a wish out on one window, and ends.
std::string wishScript(WindowId window, WindowWish wish);
/// Gives one window the keyboard, and ends.
std::string activatingScript(WindowId window);

/// The interface of the object, and its only member, which takes a text.
inline constexpr const char* kScriptInterface = "com.brindlefox.jumplark.KWin";
inline constexpr const char* kScriptMember = "Tell";

/// A UUID as KWin writes it, "{01234567-89ab-cdef-0123-456789abcdef}", and back; empty for what is none.
std::string textOf(WindowId window);
WindowId windowIdOf(const std::string& text);

}  // namespace jumplark::kwin
