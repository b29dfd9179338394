#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "backends/linux/windows/WindowSystem.h"

/// Where a window system draws the buttons of a title bar that it draws itself.
namespace jumplark {

/// What stands on a title bar from left to right, on both sides of the title.
struct TitleBarLayout {
  enum class Slot { close, minimise, maximise, other };
  std::vector<Slot> left;
  std::vector<Slot> right;
  bool operator==(const TitleBarLayout&) const = default;
};

/// The usual one: minimise, maximise and close on the right.
TitleBarLayout usualLayout();

/// A letter for each button: `buttons` gives those to close, minimise and maximise, in this order, `title` the letter
/// of the title. None without a title.
std::optional<TitleBarLayout> layoutOfLetters(std::string_view text, std::string_view buttons, char title);
/// "menu:minimize,maximize,close"; what a word is not known for counts as something else. None without a colon.
std::optional<TitleBarLayout> layoutOfWords(std::string_view text);

/// Places a button for each wish. `title` is the rectangle of the title bar, or, where the window system draws none,
/// the upper edge of the window; `drawn` are the buttons that are known to be drawn on it, whatever they are for. The
/// outermost ones of both sides are the layout's; a wish that has no place in the layout comes next to the right ones.
std::vector<WindowButton> placeButtons(const std::vector<WindowWish>& wishes, const TitleBarLayout& layout, Rect title,
                                       std::vector<Rect> drawn);

}  // namespace jumplark
