#pragma once

#include <string>
#include <string_view>
#include <vector>

/// How titles and keys of menus are written, whatever the toolkit wrote.
namespace jumplark::menus {

/// Longer titles are cut, in characters.
inline constexpr size_t kLongestTitle = 200;

/// A title on one line: control characters and blanks become one blank, those at its ends go.
std::string menuTitle(std::string_view told);
/// The same of a title in which underscores mark mnemonics: "_Open", "Save__All", "Open (_O)".
std::string titleWithoutMnemonic(std::string_view told);

/// Keys as the user's shortcuts are written, from "<Primary><Shift>n"; empty when that names no key.
std::string keysFromBrackets(std::string_view accelerator);
/// The same from "Ctrl+Shift+N", also several with commas between; what names no key stays as it is.
std::string keysFromPlus(std::string_view shortcut);
/// The same from {"Control", "Shift", "n"}; empty when these name no key.
std::string keysFromParts(const std::vector<std::string>& parts);

}  // namespace jumplark::menus
