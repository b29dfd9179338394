#include "backends/linux/windows/TitleBar.h"

#include <gtest/gtest.h>

namespace jumplark {
namespace {

using Slot = TitleBarLayout::Slot;

TEST(TitleBar, readsTheLayoutsOfWindowManagers) {
  const TitleBarLayout usual{{Slot::other}, {Slot::minimise, Slot::maximise, Slot::close}};
  EXPECT_EQ(layoutOfLetters("O|HMC", "CHM", '|'), usual);
  EXPECT_EQ(layoutOfLetters("NLIMC", "CIM", 'L'), usual);
  EXPECT_EQ(layoutOfWords("menu:minimize,maximize,close"), usual);
  EXPECT_EQ(layoutOfWords("close:"), (TitleBarLayout{{Slot::close}, {}}));
  EXPECT_EQ(layoutOfLetters("HMC", "CHM", '|'), std::nullopt);
  EXPECT_EQ(layoutOfWords("close"), std::nullopt);
}

TEST(TitleBar, placesButtonsWhereTheyAreDrawn) {
  const std::vector<WindowWish> all = {WindowWish::minimise, WindowWish::maximise, WindowWish::close};
  const Rect title{100, 50, 300, 24};
  const struct {
    const char* what;
    std::vector<WindowWish> wishes;
    const char* layout;
    std::vector<double> drawn;  ///< left edges of buttons 16 wide
    std::string places;
  } cases[] = {
      {"each on its own", all, "O|HMC", {104, 340, 360, 380}, "minimise 340, maximise 360, close 380, "},
      {"also of a maximised one", {WindowWish::restore}, "O|M", {104, 380}, "restore 380, "},
      {"others between", all, "O|SHMC", {104, 320, 340, 360, 380}, "minimise 340, maximise 360, close 380, "},
      {"on the left", all, "CHM|O", {104, 124, 144, 380}, "close 104, minimise 124, maximise 144, "},
      {"none for what is refused", {WindowWish::close}, "O|HMC", {104, 380}, "close 380, "},
      {"without a place in the layout", all, "|C", {380}, "maximise 336, minimise 358, close 380, "},
      {"none known to be drawn", all, "|HMC", {}, "minimise 334, maximise 356, close 378, "},
  };
  for (const auto& one : cases) {
    std::vector<Rect> drawn;
    for (const double x : one.drawn) {
      drawn.push_back({x, 54, 16, 16});
    }
    std::string places;
    for (const WindowButton& button :
         placeButtons(one.wishes, *layoutOfLetters(one.layout, "CHM", '|'), title, drawn)) {
      constexpr const char* kNames[] = {"close", "minimise", "maximise", "restore"};
      places += kNames[static_cast<int>(button.wish)] + (" " + std::to_string(int(button.place.x))) + ", ";
      EXPECT_TRUE(intersection(button.place, title) == button.place) << one.what;
    }
    EXPECT_EQ(places, one.places) << one.what;
  }
}

}  // namespace
}  // namespace jumplark
