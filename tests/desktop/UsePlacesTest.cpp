#include "desktop/Use.h"

namespace jumplark::desktop {
namespace {

/// The best match is framed where the element is, and Return clicks there. The demonstration program tells its places
/// without a scale.
void expectFramedAndClicked(Use& use, int scale = 1) {
  PixelRect apply = use.demo.part("Apply").rect;
  for (int* number : {&apply.x, &apply.y, &apply.width, &apply.height}) {
    *number *= scale;
  }
  const uint32_t plain = boxPixel(use.session(), apply);
  use.program.open();
  use.program.query("apply");
  EXPECT_TRUE(use.boxed(apply, kSelectedColor, plain));
  use.close("Return");
  EXPECT_TRUE(use.demo.says("clicked Apply")) << use.demo.process().out();
}

TEST(UsePlaces, worksOnTheSecondMonitor) {
  // xfwm4 confines all windows to the first one where a monitor has no output, as a virtual screen's second has none.
  Use use(SessionOptions{.windowManager = WindowManager::openbox,
                         .width = 1800,
                         .height = 900,
                         .monitors = {{0, 0, 800, 600}, {800, 0, 1000, 900}}});
  use.session().keys({"search", "--onlyvisible", "--class", "demo-qt6", "windowmove", "850", "100"});
  ASSERT_TRUE(waitUntil([&] { return use.demo.part("Apply").rect.x > 800; }));
  expectFramedAndClicked(use);
  use.program.open();
  const auto window = use.program.queryWindow();
  ASSERT_TRUE(window);
  EXPECT_GE(window->rect.x, 800);
  EXPECT_LE(window->rect.y + window->rect.height, 900);
}

TEST(UsePlaces, worksAtTwiceTheScale) {
  Use use(SessionOptions{.width = 1800, .height = 1400}, {"sh", "-c", "echo Xft.dpi: 192 | xrdb -merge"});
  expectFramedAndClicked(use, 2);
}

TEST(UsePlaces, clicksIntoAMaximisedWindowAndOverAnOpenMenu) {
  Use use;
  const int height = use.session().waitForWindowTitled("Demo").rect.height;
  use.session().keys({"mousemove", "200", "15", "click", "--repeat", "2", "--delay", "60", "1"});
  ASSERT_TRUE(waitUntil([&] { return use.session().waitForWindowTitled("Demo").rect.height > height; }));
  use.session().click(use.demo.part("File").rect);
  ASSERT_TRUE(use.demo.says("opened File"));
  expectFramedAndClicked(use);
}

TEST(UsePlaces, clicksWhatLiesUnderTheQueryWindow) {
  Use use(WindowManager::openbox);
  use.session().keys({"search", "--onlyvisible", "--class", "demo-qt6", "windowmove", "0", "455"});
  ASSERT_TRUE(waitUntil([&] { return use.demo.part("Apply").rect.y > 800; }));
  const PixelRect apply = use.demo.part("Apply").rect;
  use.program.open();
  const auto window = use.program.queryWindow();
  ASSERT_TRUE(window && window->rect.contains(apply.x + apply.width / 2, apply.y + apply.height / 2)) << apply;
  EXPECT_LE(window->rect.y + window->rect.height, Desktop::kHeight);
  use.program.query("apply");
  use.program.key("Return");
  EXPECT_TRUE(use.demo.says("clicked Apply")) << use.demo.process().out();
}

/// The X keycode of a letter of a keyboard, whatever its layout.
std::string keycodeOf(char letter) {
  constexpr std::string_view kKeysFrom24 = "QWERTYUIOP    ASDFGHJKL     ZXCVBNM";
  const size_t at = kKeysFrom24.find(letter);
  EXPECT_NE(at, std::string_view::npos) << letter << " is no label";
  return std::to_string(24 + at);
}

TEST(UsePlaces, typesAndSelectsByLabelInEachLayoutThoughItChangesWhileItIsOpen) {
  Use use;
  const PixelRect ok = use.demo.part("OK").rect;
  const uint32_t plain = boxPixel(use.session(), ok);
  size_t times = 0;
  for (const auto& [layout, text] : {std::pair("us", "yz"), {"de", "yz"}, {"ru", "ня"}}) {
    SCOPED_TRACE(layout);
    use.program.open();
    use.session().run({"setxkbmap", layout});
    use.program.query(text);
    use.close("Escape");

    use.program.open();
    use.program.query(".");
    const Matches matches = use.demo.matches();
    const Match* wanted = find(matches, "Button", "OK");
    ASSERT_TRUE(wanted) << describe(matches);
    // A label means nothing before it is on the screen.
    ASSERT_TRUE(use.boxed(ok, wanted == matches.data() ? kSelectedColor : kMatchColor, plain));
    for (const char letter : wanted->label) {
      use.session().press({"ctrl+" + keycodeOf(letter)});
    }
    EXPECT_TRUE(use.boxed(ok, kSelectedColor, plain)) << wanted->label;
    use.close("Return");
    ++times;
    EXPECT_TRUE(waitUntil([&] { return use.demo.process().countOfLine("clicked OK") == times; })) << wanted->label;
    EXPECT_TRUE(use.program.waitUntilReturnIsForOthers());
  }
  // The space bar changes places with a key that had no use.
  use.session().run({"xmodmap", "-e", "keycode 65 = F13", "-e", "keycode 248 = space"});
  use.program.open();
  use.close("Escape");
}

}  // namespace
}  // namespace jumplark::desktop
