#include <algorithm>
#include <set>

#include "desktop/DesktopTest.h"

namespace jumplark::desktop {
namespace {

using testing::ElementsAre;
using testing::IsSupersetOf;
using testing::SizeIs;

constexpr const char* kProgram = "gtk4-widget-factory";
const Arguments kFactory = {"--app", "Widget Factory"};

// Waits for the window alone: GTK 4 makes the elements in it when they are first asked for, so that what the tests read
// first is what a person's first activation reads.
void startFactory(PrivateSession& session) {
  startApplication(session, {kProgram}, kProgram, "frame", "GTK Widget Factory");
}

std::vector<AccessibleElement> readAll(PrivateSession& session) {
  return readApplication(session, kProgram, Reading::all);
}

std::vector<PixelRect> rectsOf(const std::vector<AccessibleElement>& elements, const std::string& role,
                               const std::string& name) {
  std::vector<PixelRect> rects;
  for (const AccessibleElement& element : elements) {
    if (element.role == role && element.name == name && element.rect.width > 0 && element.rect.height > 0) {
      rects.push_back(element.rect);
    }
  }
  return rects;
}

std::vector<PixelRect> rectsOf(const std::vector<Match>& matches, const std::string& role, const std::string& text) {
  std::vector<PixelRect> rects;
  for (const Match& match : matches) {
    if (match.role == role && (text.empty() || match.hasText(text))) {
      rects.push_back(match.rect);
    }
  }
  std::sort(rects.begin(), rects.end(),
            [](const PixelRect& a, const PixelRect& b) { return std::pair(a.x, a.y) < std::pair(b.x, b.y); });
  return rects;
}

bool isAccent(uint32_t colour) {
  const int red = static_cast<int>(colour >> 16U & 0xFFU);
  const int blue = static_cast<int>(colour & 0xFFU);
  return blue > 150 && blue - red > 80;
}

// The smallest rectangle that holds every pixel of the accent colour in a part of the screen; empty without one.
PixelRect accentIn(PrivateSession& session, const PixelRect& part) {
  const std::vector<uint32_t> pixels = session.pixels(part);
  PixelRect found{part.x + part.width, part.y + part.height, 0, 0};
  int right = part.x;
  int bottom = part.y;
  for (size_t i = 0; i < pixels.size(); ++i) {
    if (isAccent(pixels[i])) {
      const int x = part.x + static_cast<int>(i) % part.width;
      const int y = part.y + static_cast<int>(i) / part.width;
      found.x = std::min(found.x, x);
      found.y = std::min(found.y, y);
      right = std::max(right, x + 1);
      bottom = std::max(bottom, y + 1);
    }
  }
  found.width = right - found.x;
  found.height = bottom - found.y;
  return found.width > 0 && found.height > 0 ? found : PixelRect{};
}

struct Expected {
  const char* role;
  const char* text;
  size_t count;
};

class Gtk4 : public testing::TestWithParam<WindowManager> {};

TEST_P(Gtk4, showsAtOnceWhatAPersonSees) {
  Desktop desktop(GetParam());
  startFactory(desktop.session);
  const std::vector<Match> first = desktop.jumplark.everything(kFactory);
  const Expected expected[] = {{"RadioButton", "Page 1", 1},
                               {"RadioButton", "Page 2", 1},
                               {"RadioButton", "Page 3", 1},
                               {"RadioButton", "page 2", 3},
                               {"RadioButton", "Beach", 1},
                               {"CheckBox", "checkbutton", 6},
                               {"CheckBox", "radiobutton", 6},
                               {"Button", "togglebutton", 4},
                               {"Button", "Sans Regular 12", 1},
                               {"Button", "Maximize", 1},
                               {"Link", "link button", 1},
                               {"StaticText", "Large Title", 1},
                               {"TextField", "comboboxentry", 2},
                               {"TextField", "entry", 2},
                               {"ComboBox", "comboboxentry", 2},
                               {"PopUpButton", "", 5},
                               {"TextArea", "", 1},
                               {"TextField", "Click icon to change mode", 1}};
  for (const Expected& one : expected) {
    EXPECT_THAT(rectsOf(first, one.role, one.text), SizeIs(one.count)) << one.role << " '" << one.text << "'";
  }
  EXPECT_GE(rectsOf(first, "Slider", "").size(), 5U);
  EXPECT_EQ(rectsOf(first, "StaticText", "togglebutton"), std::vector<PixelRect>{}) << "the button's own text";

  // The second activation reads another way, and must not differ.
  const std::vector<Match> second = desktop.jumplark.everything(kFactory);
  for (const Expected& one : expected) {
    EXPECT_EQ(rectsOf(second, one.role, one.text), rectsOf(first, one.role, one.text)) << one.role << " " << one.text;
  }
}

TEST_P(Gtk4, putsItsRectanglesOnTheRightPixels) {
  Desktop desktop(GetParam());
  startFactory(desktop.session);
  const std::vector<Match> matches = desktop.jumplark.everything(kFactory);
  const auto ticked = std::find_if(matches.begin(), matches.end(), [](const Match& match) {
    return match.role == "CheckBox" && match.hasText("checkbutton") && match.hasText("1");
  });
  ASSERT_NE(ticked, matches.end()) << describe(matches);
  // The box with its tick is a square as high as the element, at its left end.
  const PixelRect rect = ticked->rect;
  const PixelRect around{rect.x - 4, rect.y - 4, 30, rect.height + 8};
  const PixelRect square{rect.x, rect.y, rect.height, rect.height};
  EXPECT_TRUE(waitUntil([&] { return accentIn(desktop.session, around) == square; }))
      << accentIn(desktop.session, around) << " and not " << square;

  // The application tells places in its window: all must be moved alike.
  const std::vector<AccessibleElement> elements = readAll(desktop.session);
  const auto theirs = rectsOf(elements, "check box", "checkbutton");
  const auto ours = rectsOf(matches, "CheckBox", "checkbutton");
  ASSERT_EQ(theirs.size(), ours.size());
  for (size_t i = 0; i < ours.size(); ++i) {
    const PixelRect moved{theirs[i].x + ours[0].x - theirs[0].x, theirs[i].y + ours[0].y - theirs[0].y, theirs[i].width,
                          theirs[i].height};
    EXPECT_EQ(ours[i], moved);
  }
}

TEST_P(Gtk4, showsOnlyThePageThatIsInFront) {
  Desktop desktop(GetParam());
  startFactory(desktop.session);
  const auto texts = [&] { return allTexts(desktop.jumplark.everything(kFactory)); };
  const auto turnTo = [&](const std::string& page, const std::string& shows) {
    // Notebooks further down have a "page 2" too: the one that the pointer is near is meant.
    const auto tabs = rectsOf(desktop.jumplark.match(kFactory, page), "RadioButton", page);
    ASSERT_THAT(tabs, SizeIs(1));
    desktop.session.keys({"mousemove", std::to_string(tabs[0].x), std::to_string(tabs[0].y)});
    ASSERT_EQ(desktop.jumplark.run({"act", kFactory[0], kFactory[1], page}).status, 0);
    ASSERT_TRUE(waitUntil([&] { return texts().count(shows) > 0; })) << page;
  };
  const std::vector<std::string> onFirst = {"checkbutton", "Large Title", "link button"};
  const std::vector<std::string> onSecond = {"Row 1", "Inform", "Expander", "File"};
  const std::vector<std::string> never = {"Get Busy", "Inspector", "Birthdate", "No rows found", "NEWS!"};
  const auto expectOnly = [&](const std::vector<std::string>& shown, const std::vector<std::string>& hidden) {
    const std::set<std::string> all = texts();
    for (const std::string& text : shown) {
      EXPECT_EQ(all.count(text), 1U) << text << " shows";
    }
    for (const std::string& text : hidden) {
      EXPECT_EQ(all.count(text), 0U) << text << " does not show";
    }
  };
  expectOnly(onFirst, onSecond);
  turnTo("Page 2", "Row 1");
  expectOnly(onSecond, onFirst);
  // What has shown once keeps its size and its place.
  turnTo("Page 1", "link button");
  expectOnly(onFirst, onSecond);
  expectOnly({}, never);
}

TEST_P(Gtk4, ticksTheCheckButtonThatWasChosen) {
  Desktop desktop(GetParam());
  startFactory(desktop.session);
  const std::vector<Match> matches = desktop.jumplark.everything(kFactory);
  const auto meant = std::find_if(matches.begin(), matches.end(), [](const Match& match) {
    return match.role == "CheckBox" && match.hasText("checkbutton") && match.hasText("0");
  });
  ASSERT_NE(meant, matches.end()) << describe(matches);
  const PixelRect square{meant->rect.x, meant->rect.y, meant->rect.height, meant->rect.height};
  const auto checked = [&] {
    std::vector<size_t> indexes;
    const auto elements = readAll(desktop.session);
    for (size_t i = 0; i < elements.size(); ++i) {
      if (elements[i].role == "check box" && elements[i].is("checked")) {
        indexes.push_back(i);
      }
    }
    return indexes;
  };
  const std::vector<size_t> before = checked();
  // Of several that fit alike, the one that the pointer is near is meant.
  desktop.session.keys({"mousemove", std::to_string(square.x + 60), std::to_string(square.y + 8)});
  ASSERT_EQ(desktop.jumplark.run({"act", kFactory[0], kFactory[1], "checkbutton"}).status, 0);
  EXPECT_TRUE(waitUntil([&] { return accentIn(desktop.session, square) == square; })) << "the tick is drawn there";
  std::vector<size_t> after;
  EXPECT_TRUE(waitUntil([&] {
    after = checked();
    return after.size() == before.size() + 1;
  })) << "no more than one is ticked";
  EXPECT_THAT(after, IsSupersetOf(before));
}

TEST_P(Gtk4, pressesAToggleButton) {
  Desktop desktop(GetParam());
  startFactory(desktop.session);
  const std::vector<PixelRect> buttons = rectsOf(desktop.jumplark.everything(kFactory), "Button", "togglebutton");
  ASSERT_FALSE(buttons.empty());
  const auto pressed = [&] {
    std::vector<bool> states;
    for (const AccessibleElement& element : readAll(desktop.session)) {
      if (element.role == "push button" && element.name == "togglebutton") {
        states.push_back(element.is("pressed"));
      }
    }
    return states;
  };
  ASSERT_THAT(pressed(), ElementsAre(false, false, true, true));
  desktop.session.keys({"mousemove", std::to_string(buttons[0].x + 10), std::to_string(buttons[0].y + 10)});
  ASSERT_EQ(desktop.jumplark.run({"act", kFactory[0], kFactory[1], "togglebutton"}).status, 0);
  EXPECT_TRUE(waitUntil([&] { return pressed() == std::vector<bool>({true, false, true, true}); }));
}

TEST_P(Gtk4, choosesFromAMenuThatIsOpenInAWindowOfItsOwn) {
  Desktop desktop(GetParam());
  startFactory(desktop.session);
  // The menu button has a picture and no text, and stands above all others without one.
  PixelRect button{0, Desktop::kHeight, 0, 0};
  for (const Match& match : desktop.jumplark.everything(kFactory)) {
    button = match.role == "Button" && match.texts.empty() && match.rect.y < button.y ? match.rect : button;
  }
  desktop.session.keys({"mousemove", std::to_string(button.x + button.width / 2),
                        std::to_string(button.y + button.height / 2), "click", "1"});
  ASSERT_TRUE(waitUntil(
      [&] { return find(desktop.jumplark.everything(kFactory), "MenuItem", "About Widget Factory") != nullptr; }));
  ASSERT_EQ(desktop.jumplark.run({"act", kFactory[0], kFactory[1], "about"}).status, 0);
  EXPECT_TRUE(waitUntil([&] {
    return desktop.session.findWindow([](const SessionWindow& window) { return window.title.starts_with("About"); })
        .has_value();
  }));
}

INSTANTIATE_TEST_SUITE_P(Desktops, Gtk4, testing::Values(WindowManager::xfwm4, WindowManager::xfwm4Compositor),
                         [](const auto& info) { return info.param == WindowManager::xfwm4 ? "plain" : "composited"; });

}  // namespace
}  // namespace jumplark::desktop
