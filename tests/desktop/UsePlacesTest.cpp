#include <fstream>
#include <map>

#include "backends/linux/x11/X11Connection.h"
#include "backends/linux/x11/X11InputSources.h"
#include "desktop/Use.h"

namespace jumplark::desktop {
namespace {

/// The best match is framed where the element is, and Return clicks there.
void expectFramedAndClicked(Use& use, const std::string& query, const std::string& name, int scale = 1) {
  PixelRect part = use.partNamed(name);
  for (int* number : {&part.x, &part.y, &part.width, &part.height}) {
    *number *= scale;
  }
  const uint32_t plain = boxPixel(use.session(), part);
  use.program.open();
  use.program.type(query);
  EXPECT_TRUE(use.program.waitForQuery(query));
  EXPECT_TRUE(waitUntil([&] { return similar(boxPixel(use.session(), part), tinted(kSelectedColor, plain)); }))
      << std::hex << boxPixel(use.session(), part) << " on " << plain << " in " << part;
  use.program.key("Return");
  EXPECT_TRUE(use.demo.process().waitForLine("clicked " + name)) << use.demo.process().out();
  EXPECT_TRUE(use.program.waitUntilClosed());
  EXPECT_TRUE(waitUntil([&] { return use.demoIsActive(); }));
}

TEST(UsePlaces, worksOnTheSecondMonitor) {
  // xfwm4 confines all windows to the first one where a monitor has no output, as a virtual screen's second has none.
  Use use(SessionOptions{.windowManager = WindowManager::openbox,
                         .width = 1800,
                         .height = 900,
                         .monitors = {{0, 0, 800, 600}, {800, 0, 1000, 900}}});
  use.session().keys({"search", "--class", "demo-qt6", "windowmove", "850", "100"});
  ASSERT_TRUE(waitUntil([&] { return use.partNamed("Apply").x > 800; }));
  expectFramedAndClicked(use, "apply", "Apply");
  use.program.open();
  const auto window = use.program.queryWindow();
  ASSERT_TRUE(window);
  EXPECT_GE(window->rect.x, 800);
  EXPECT_LE(window->rect.y + window->rect.height, 900);
}

TEST(UsePlaces, worksAtTwiceTheScale) {
  Use use(SessionOptions{.width = 1800, .height = 1400}, {}, [](PrivateSession& session) {
    const std::string resources = session.folder() + "/resources";
    std::ofstream(resources) << "Xft.dpi: 192\n";
    session.run({"xrdb", "-merge", resources});
  });
  // The demonstration program tells its places without the scale.
  expectFramedAndClicked(use, "apply", "Apply", 2);
}

TEST(UsePlaces, clicksIntoAMaximisedWindow) {
  Use use;
  const int height = use.session().waitForWindowTitled("Demo").rect.height;
  use.session().keys({"mousemove", "200", "15", "click", "--repeat", "2", "--delay", "60", "1"});
  ASSERT_TRUE(waitUntil([&] { return use.session().waitForWindowTitled("Demo").rect.height > height; }));
  expectFramedAndClicked(use, "apply", "Apply");
}

TEST(UsePlaces, clicksWhatLiesUnderTheQueryWindow) {
  Use use(WindowManager::openbox);
  use.session().keys({"search", "--onlyvisible", "--class", "demo-qt6", "windowmove", "0", "455"});
  ASSERT_TRUE(waitUntil([&] { return use.partNamed("Apply").y > 800; }));
  const PixelRect part = use.partNamed("Apply");
  use.program.open();
  const auto window = use.program.queryWindow();
  ASSERT_TRUE(window && window->rect.contains(part.x + part.width / 2, part.y + part.height / 2)) << part;
  EXPECT_LE(window->rect.y + window->rect.height, Desktop::kHeight);
  use.program.type("apply");
  EXPECT_TRUE(use.program.waitForQuery("apply"));
  use.program.key("Return");
  EXPECT_TRUE(use.demo.process().waitForLine("clicked Apply")) << use.demo.process().out();
}

TEST(UsePlaces, opensOverAnOpenMenu) {
  Use use;
  const PixelRect menu = use.partNamed("File");
  use.session().keys({"mousemove", std::to_string(menu.x + 10), std::to_string(menu.y + 10), "click", "1"});
  ASSERT_TRUE(use.demo.process().waitForLine("menu-opened File"));
  expectFramedAndClicked(use, "apply", "Apply");
}

TEST(UsePlaces, clicksElementAfterElementInModalMode) {
  Use use(SessionOptions{.width = Desktop::kWidth, .height = Desktop::kHeight}, {{"ModalModeEnabled", true}});
  use.program.open();
  for (const char* name : {"Apply", "Cancel"}) {
    use.program.type(name);
    EXPECT_TRUE(use.program.waitForQuery(name));
    use.program.key("Return");
    EXPECT_TRUE(use.demo.process().waitForLine(std::string("clicked ") + name));
    EXPECT_TRUE(use.program.waitForQuery("")) << "not opened again";
    EXPECT_TRUE(use.program.waitUntilOpen());
    EXPECT_TRUE(use.program.waitUntilReturnIsForOthers());
  }
  use.program.key("Escape");
  EXPECT_TRUE(use.program.waitUntilClosed());
  EXPECT_TRUE(waitUntil([&] { return use.demoIsActive(); }));
}

/// The X keycodes of the letters of a keyboard, whatever its layout.
const std::map<char, int> kKeycodes = {{'A', 38}, {'B', 56}, {'C', 54}, {'D', 40}, {'E', 26}, {'F', 41}, {'G', 42},
                                       {'H', 43}, {'I', 31}, {'J', 44}, {'K', 45}, {'L', 46}, {'M', 58}, {'N', 57},
                                       {'O', 32}, {'P', 33}, {'Q', 24}, {'R', 27}, {'S', 39}, {'T', 28}, {'U', 30},
                                       {'V', 55}, {'W', 25}, {'X', 53}, {'Y', 29}, {'Z', 52}};

class UseWithLayout : public testing::TestWithParam<const char*> {};
INSTANTIATE_TEST_SUITE_P(Layouts, UseWithLayout, testing::Values("us", "de", "ru"),
                         [](const auto& info) { return std::string(info.param); });

TEST_P(UseWithLayout, opensTypesAndSelectsByLabel) {
  Use use;
  use.session().run({"setxkbmap", GetParam()});
  EXPECT_TRUE(waitUntil([&] {
    use.program.key(RunningProgram::kShortcut);
    return use.program.waitUntilOpen(Milliseconds(500));
  }));
  use.program.type(".");
  EXPECT_TRUE(use.program.waitForQuery("."));
  const std::vector<Match> matches = use.desktop.jumplark.match(kDemo, ".");
  const Match* wanted = find(matches, "Button", "OK");
  ASSERT_TRUE(wanted) << describe(matches);
  ASSERT_TRUE(kKeycodes.contains(wanted->label[0])) << wanted->label;
  const uint32_t plain = boxPixel(use.session(), use.partNamed("OK"));
  for (const char letter : wanted->label) {
    use.session().keys({"key", "ctrl+" + std::to_string(kKeycodes.at(letter))});
  }
  EXPECT_TRUE(waitUntil([&] { return boxPixel(use.session(), use.partNamed("OK")) != plain; })) << wanted->label;
  use.program.key("Return");
  EXPECT_TRUE(use.demo.process().waitForLine("clicked OK")) << wanted->label << use.demo.process().out();
}

TEST(UsePlaces, switchesToTheForcedLayoutAndBack) {
  const auto addLayout = [](PrivateSession& session) { session.run({"setxkbmap", "us,ru"}); };
  Use use(SessionOptions{.width = Desktop::kWidth, .height = Desktop::kHeight}, {{"ForceKeyboardLayout", "us"}},
          addLayout);
  const auto environment = use.session().adoptEnvironment();
  X11InputSources sources(X11Connection::open().connection);
  const auto current = [&] { return sources.currentKeyboardLayout().value_or(InputSource{"none", ""}).identifier; };
  ASSERT_TRUE(sources.select("ru"));
  // Not by keys: who sends them here switches layouts around each, back to the one that there was before it.
  const auto toggle = [&] { EXPECT_EQ(use.session().run({JUMPLARK_PROGRAM, "activate"}).status, 0); };
  toggle();
  EXPECT_TRUE(use.program.waitUntilOpen());
  EXPECT_TRUE(waitUntil([&] { return current() == "us"; })) << current();
  toggle();
  EXPECT_TRUE(use.program.waitUntilClosed());
  EXPECT_TRUE(waitUntil([&] { return current() == "ru"; })) << current();
}

}  // namespace
}  // namespace jumplark::desktop
