#pragma once

#include <string>

/// What the two programs of this folder show, one for each toolkit: more than fits into any window, what keeps
/// changing, and what nobody may read. Both are called with the kind of content, and print "ready" once the window has
/// been drawn.
namespace large {

inline constexpr int kRows = 100'000;
inline constexpr int kColumns = 3;
inline constexpr int kPixelsOfWindow = 600;
/// So often is one button of the changing content replaced by another one, in milliseconds.
inline constexpr int kChangeInterval = 2;
inline constexpr int kChangingButtons = 60;
/// What stands in the password fields; a field that shows its text holds kShownText.
inline constexpr const char* kSecret = "hunter-Zebra-4711";
inline constexpr const char* kShownText = "plain to see";

inline std::string cellText(int row, int column) {
  return std::string(1, static_cast<char>('A' + column)) + " row " + std::to_string(row + 1);
}

inline std::string changingName(int number) {
  return "Button " + std::to_string(number);
}

/// Numbered lines, 5 MB in all.
inline std::string longText() {
  std::string text;
  constexpr size_t kBytes = 5'000'000;
  text.reserve(kBytes + 64);
  for (int line = 1; text.size() < kBytes; ++line) {
    text += "This is line " + std::to_string(line) + " of many.\n";
  }
  return text;
}

}  // namespace large
