#include "backends/linux/windows/TitleBar.h"

#include <algorithm>

namespace jumplark {
namespace {

using Slot = TitleBarLayout::Slot;

/// Points. Title bars are as high as their buttons and a little more; no button is higher than this.
constexpr double kHighestButton = 32;
constexpr double kMargin = 2;

Slot slotOf(WindowWish wish) {
  switch (wish) {
    case WindowWish::close:
      return Slot::close;
    case WindowWish::minimise:
      return Slot::minimise;
    case WindowWish::maximise:
    case WindowWish::restore:
      break;
  }
  return Slot::maximise;
}

/// From the outer end of one side of the title inwards.
class Side {
 public:
  /// `step` is -1 at the right end.
  Side(const Rect& title, double step) : title_(title), step_(step) {
    size_ = std::min(title.height, kHighestButton) - 2 * kMargin;
    next_ = step > 0 ? title.minX() + kMargin : title.maxX() - kMargin - size_;
  }

  /// Also of more than are drawn.
  Rect place(const std::vector<Rect>& drawn, size_t index) {
    if (index < drawn.size()) {
      const Rect& there = drawn[index];
      next_ = step_ > 0 ? there.maxX() + kMargin : there.minX() - kMargin - size_;
      return there;
    }
    const Rect free{next_, title_.midY() - size_ / 2, size_, size_};
    next_ += step_ * (size_ + kMargin);
    return free;
  }

 private:
  Rect title_;
  double step_;
  double size_ = 0;
  double next_ = 0;
};

}  // namespace

TitleBarLayout usualLayout() {
  return {{}, {Slot::minimise, Slot::maximise, Slot::close}};
}

std::optional<TitleBarLayout> layoutOfLetters(std::string_view text, std::string_view buttons, char title) {
  constexpr Slot kSlots[] = {Slot::close, Slot::minimise, Slot::maximise};
  TitleBarLayout layout;
  bool isRight = false;
  for (const char letter : text) {
    if (letter == title) {
      isRight = true;
      continue;
    }
    const size_t known = buttons.find(letter);
    (isRight ? layout.right : layout.left).push_back(known < std::size(kSlots) ? kSlots[known] : Slot::other);
  }
  return isRight ? std::optional(layout) : std::nullopt;
}

std::optional<TitleBarLayout> layoutOfWords(std::string_view text) {
  const size_t colon = text.find(':');
  if (colon == std::string_view::npos) {
    return std::nullopt;
  }
  const auto slotsOf = [](std::string_view side) {
    std::vector<Slot> slots;
    while (!side.empty()) {
      const std::string_view word = side.substr(0, side.find(','));
      side.remove_prefix(std::min(side.size(), word.size() + 1));
      const bool isKnown = word == "close" || word == "minimize" || word == "maximize";
      slots.push_back(!isKnown             ? Slot::other
                      : word == "close"    ? Slot::close
                      : word == "minimize" ? Slot::minimise
                                           : Slot::maximise);
    }
    return slots;
  };
  return TitleBarLayout{slotsOf(text.substr(0, colon)), slotsOf(text.substr(colon + 1))};
}

std::vector<WindowButton> placeButtons(const std::vector<WindowWish>& wishes, const TitleBarLayout& layout, Rect title,
                                       std::vector<Rect> drawn) {
  std::vector<WindowButton> buttons;
  std::vector<WindowWish> unplaced = wishes;
  std::sort(drawn.begin(), drawn.end(), [](const Rect& a, const Rect& b) { return a.x < b.x; });
  const auto middle = std::find_if(drawn.begin(), drawn.end(), [&](const Rect& r) { return r.midX() > title.midX(); });
  const std::vector<Rect> onLeft(drawn.begin(), middle);
  const std::vector<Rect> onRight(drawn.rbegin(), std::make_reverse_iterator(middle));
  const auto fill = [&](std::vector<Slot> slots, const std::vector<Rect>& there, Side& side) {
    // Of what the window system does not take no button is drawn.
    std::erase_if(slots, [&](Slot slot) {
      return slot != Slot::other &&
             std::none_of(wishes.begin(), wishes.end(), [&](WindowWish wish) { return slotOf(wish) == slot; });
    });
    for (size_t i = 0; i < slots.size(); ++i) {
      const Rect place = side.place(there, i);
      const auto wish =
          std::find_if(unplaced.begin(), unplaced.end(), [&](WindowWish one) { return slots[i] == slotOf(one); });
      if (wish != unplaced.end()) {
        buttons.push_back({*wish, place});
        unplaced.erase(wish);
      }
    }
  };
  Side left(title, 1);
  Side right(title, -1);
  fill(layout.left, onLeft, left);
  fill({layout.right.rbegin(), layout.right.rend()}, onRight, right);
  for (const WindowWish wish : unplaced) {
    buttons.push_back({wish, right.place({}, 0)});
  }
  std::sort(buttons.begin(), buttons.end(),
            [](const WindowButton& a, const WindowButton& b) { return a.place.x < b.place.x; });
  return buttons;
}

}  // namespace jumplark
