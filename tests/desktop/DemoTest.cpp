#include <cstdio>

#include "desktop/toolkits/Toolkits.h"

namespace jumplark::desktop {
namespace {

using ::testing::IsEmpty;

/// What a query does, the part of the window that the one press must hit; no kind: none of its main window's.
struct Act {
  const char* query;
  const char* effect;  ///< the line that the program prints
  const char* kind = "";
  const char* name = "";
};

/// A key after which a part shows or is hidden.
struct Key {
  const char* key;
  const char* part;
  bool shown;
};

struct Page {
  std::string title;
  size_t atLeast;  ///< so many of its things a person could choose
  std::vector<Act> acts;
  std::vector<Key> keys = {};
};

const std::vector<Page>& pages() {
  static const std::vector<Page> kPages = {
      {"Form",
       29,
       {{"ok", "clicked OK", "QPushButton", "OK"},
        {"email", "focused Email", "QLineEdit", "Email"},
        {"wrap", "checked Wrap text true", "QCheckBox", "Wrap text"},
        {"password", "focused Password", "QLineEdit", "Password"},
        {"large", "checked Large true", "QRadioButton", "Large"},
        {"example.org", "focused Email", "QLineEdit", "Email"},
        {"cancel", "clicked Cancel", "QPushButton", "Cancel"},
        {"typeface", "focused Typeface", "QComboBox", "Typeface"},
        {"reload", "triggered Reload", "QToolButton", "Reload"},
        {"country", "opened Country", "QComboBox", "Country"},
        {"brazil", "combo Country Brazil"},
        {"file", "opened File", "menu", "File"},
        {"erase", "opened Confirm", "QPushButton", "Erase disk..."},
        {"keep", "closed Confirm"}}},
      {"Table", 30, {{"value 7", "selected Value 7", "item", "Value 7"}}, {{"Next", "Value 1", false}}},
      {"Tree",
       15,
       {{"vegetables", "selected Vegetables", "item", "Vegetables"}},
       {{"Right", "Leek", true}, {"Left", "Leek", false}}},
      {"List", 18, {{"edinburgh", "selected Edinburgh", "item", "Edinburgh"}}},
      {"Scrolled", 20, {{"entry 3", "clicked Entry 3", "QPushButton", "Entry 3"}}},
  };
  return kPages;
}

/// The role that a part of the window must have; none for parts that nobody chooses.
std::string roleOf(const DemoPart& part) {
  static const std::map<std::string, std::string> kRoles = {
      {"QPushButton", "Button"},       {"QToolButton", "Button"}, {"QCheckBox", "CheckBox"},
      {"QRadioButton", "RadioButton"}, {"QSlider", "Slider"},     {"menu", "MenuBarItem"},
      {"tab", "RadioButton"},          {"item", "Cell"},          {"QComboBox", "PopUpButton"},
      {"QLineEdit", "TextField"}};
  const auto role = kRoles.find(part.kind);
  return role == kRoles.end() ? "" : part.name == "Typeface" ? "ComboBox" : role->second;
}

bool isNear(const PixelRect& a, const PixelRect& b) {
  constexpr int kFrame = 2;  // of a list, around what it shows
  return std::abs(a.x - b.x) <= kFrame && std::abs(a.y - b.y) <= kFrame &&
         std::abs(a.x + a.width - b.x - b.width) <= kFrame && std::abs(a.y + a.height - b.y - b.height) <= kFrame;
}

/// Check boxes and radio buttons say where their box and text are, not the empty space beside them. Items end where
/// their list does.
const Match* findPart(const Matches& matches, const std::string& role, const DemoPart& part) {
  if (part.kind == "item") {
    const Match* match = find(matches, role, part.name);
    return match && isNear(match->rect, part.rect) ? match : nullptr;
  }
  if (part.kind != "QCheckBox" && part.kind != "QRadioButton") {
    const auto isThere = [&](const Match& match) { return match.role == role && match.rect == part.rect; };
    const auto found = std::ranges::find_if(matches, isThere);
    return found == matches.end() ? nullptr : &*found;
  }
  const Match* match = find(matches, role, part.name);
  const bool inside = match && match->rect.x == part.rect.x && part.rect.contains(match->rect.x, match->rect.y) &&
                      match->rect.width <= part.rect.width && match->rect.height <= part.rect.height;
  return inside ? match : nullptr;
}

/// Exactly what shows, with its role, text and place.
void expectExactly(const Matches& matches, const std::vector<DemoPart>& parts, size_t atLeast) {
  // The text of a field is what is typed in it.
  const std::set<std::string> fields = {"TextField", "ComboBox", "PopUpButton", "Slider"};
  std::set<std::string> names;
  size_t expected = 0;
  for (const DemoPart& part : parts) {
    const std::string role = roleOf(part);
    if (part.isShown() && !role.empty() && !part.name.empty() && !part.name.starts_with("qt_")) {
      ++expected;
      names.insert(part.name);
      const Match* match = findPart(matches, role, part);
      EXPECT_TRUE(match && (fields.contains(role) || match->hasText(part.name)))
          << role << " '" << part.name << "' at " << part.rect << " among:" << describe(matches);
    }
  }
  EXPECT_GE(expected, atLeast);
  const std::set<std::string> texts = allTexts(matches);
  for (const DemoPart& part : parts) {
    EXPECT_FALSE(part.isHidden() && !part.name.empty() && !names.contains(part.name) && texts.contains(part.name))
        << part.name << " does not show";
  }
  for (const char* closed : {"New", "Open...", "Save", "report.txt", "Undo", "Zoom In", "About"}) {
    EXPECT_FALSE(texts.contains(closed)) << closed << " is in a closed menu";
  }
}

/// One press, in the part, with no modifier, and what comes of it.
void expectWhatAPersonWouldHaveDone(DemoProgram& demo, const Act& act) {
  SCOPED_TRACE(act.query);
  const DemoPart part = *act.kind == '\0' ? DemoPart() : demo.part(act.name, act.kind);
  const size_t presses = demo.linesBeginning("pressed ").size();
  const size_t before = demo.process().countOfLine(act.effect);
  EXPECT_TRUE(waitUntil([&] { return demo.act(act.query).status == 0; })) << describe(demo.matches());
  EXPECT_TRUE(waitUntil([&] { return demo.process().countOfLine(act.effect) > before; })) << demo.process().out();
  const auto pressed = demo.linesBeginning("pressed ");
  ASSERT_EQ(pressed.size(), presses + 1);
  int x = 0;
  int y = 0;
  int end = 0;
  ASSERT_EQ(std::sscanf(pressed.back().c_str(), "pressed %d,%d%n", &x, &y, &end), 2);
  EXPECT_EQ(pressed.back().size(), static_cast<size_t>(end)) << pressed.back();
  EXPECT_TRUE(*act.kind == '\0' || part.rect.contains(x, y)) << pressed.back() << " and not in " << part.rect;
}

TEST(Demo, holdsExactlyWhatShowsAndActDoesWhatAPersonWouldHaveDone) {
  Desktop desktop;
  DemoProgram demo(desktop);
  // The pointer over the window, so that nearness counts.
  desktop.session.pointTo(240, 260);
  for (const Page& page : pages()) {
    SCOPED_TRACE(page.title);
    const bool isForm = page.title == "Form";
    if (!isForm) {
      const std::string told = "tab " + page.title;
      expectWhatAPersonWouldHaveDone(demo, {page.title.c_str(), told.c_str(), "tab", page.title.c_str()});
    }
    const Matches matches = demo.matches();
    expectExactly(matches, demo.parts(), page.atLeast);
    EXPECT_EQ(find(matches, "Cell", "3") != nullptr, page.title == "Table") << "the headers of rows";
    expectTheSameOffline(demo, {".", "f", ".but"}, isForm ? Names::stay : Names::changeEachTime);
    for (const Act& act : page.acts) {
      expectWhatAPersonWouldHaveDone(demo, act);
      if (act.kind == std::string("menu")) {
        desktop.session.press({"Escape"});
        EXPECT_TRUE(demo.says(std::string("closed ") + act.name));
      }
    }
    for (const Key& key : page.keys) {
      desktop.session.press({key.key});
      EXPECT_TRUE(waitUntil([&] { return demo.part(key.part).isShown() == key.shown; })) << key.key;
      expectExactly(demo.matches(), demo.parts(), page.atLeast);
    }
  }
  EXPECT_THAT(demo.linesBeginning("double-pressed "), IsEmpty());
}

void reachWhatTheToolBarHasNoRoomFor(Desktop& desktop, DemoProgram& demo) {
  const auto showsAll = [&] { return find(demo.matches("tool 20"), "Button", "Tool 20") != nullptr; };
  EXPECT_FALSE(showsAll());
  for (const char* more : {"more", ">>"}) {
    ASSERT_EQ(demo.act(more).status, 0) << more;
    ASSERT_TRUE(waitUntil(showsAll));
    // The tool bar closes when the pointer leaves it.
    desktop.session.pointTo(5, 5);
    ASSERT_TRUE(waitUntil([&] { return !showsAll(); }));
  }
  ASSERT_EQ(demo.act("more").status, 0);
  ASSERT_TRUE(waitUntil(showsAll));
  ASSERT_EQ(demo.act("tool 20").status, 0);
  EXPECT_TRUE(demo.says("triggered Tool 20"));
}

TEST(Demo, offersWhatItHasNoRoomFor) {
  Desktop desktop;
  DemoProgram demo(desktop, "Crowded");
  expectExactly(demo.matches(), demo.parts(), 40);
  reachWhatTheToolBarHasNoRoomFor(desktop, demo);
  const PixelRect fill = demo.part("Fill").rect;
  constexpr int kIntoArrow = 5;
  desktop.session.click(fill.x + fill.width - kIntoArrow, fill.y + fill.height / 2);
  ASSERT_TRUE(demo.says("opened Fill"));
  for (const auto& [query, told] :
       {std::pair("pattern", "triggered Pattern"), {"line", "opened Line"}, {"dashed", "triggered Dashed"}}) {
    ASSERT_TRUE(waitUntil([&, query = query] { return demo.act(query).status == 0; })) << query;
    EXPECT_TRUE(demo.says(told));
  }
}

// Toolkits tell places in units of two pixels then.
TEST(Act, hitsWhatIsShownAtTwiceTheResolution) {
  Desktop desktop(SessionOptions{.width = 2800, .height = 1700});
  for (Program program : {widgetFactory3(), widgetFactory4()}) {
    SCOPED_TRACE(program.busName);
    program.environment["GDK_SCALE"] = "2";
    Application factory(desktop, program);
    factory.matchesWith("RadioButton", "Page 2");
    pointingAtUppermost("page 2", "Page 2")(factory);
    EXPECT_EQ(factory.act("page 2").status, 0);
    factory.matchesWith("StaticText", "Row 1");
  }
}

// A press where a button is said to be does what the button is for.
TEST(Demo, pressesTheWindowsOwnButtonsWhereTheyAreDrawn) {
  for (const WindowManager windowManager : {WindowManager::xfwm4, WindowManager::openbox}) {
    Desktop desktop(windowManager);
    DemoProgram demo(desktop);
    EXPECT_TRUE(desktop.jumplark.match(demo.target(), "maximise").empty());
    const Matches found = desktop.jumplark.match(demo.target(), "maximise", {"--window"});
    ASSERT_EQ(found.size(), 1U);
    const auto isLarge = [&] {
      return desktop.session.hasWindow([](const SessionWindow& window) {
        return window.title == "Demo" && window.rect.width > Desktop::kWidth - 20;
      });
    };
    desktop.session.click(found[0].rect);
    EXPECT_TRUE(waitUntil(isLarge));
    EXPECT_EQ(desktop.jumplark.run("act", demo.target(), {"--window", "restore"}).status, 0);
    EXPECT_TRUE(waitUntil([&] { return !isLarge(); }));
    EXPECT_EQ(desktop.jumplark.run("act", demo.target(), {"--window", "close"}).status, 0);
    EXPECT_TRUE(waitUntil([&] { return !demo.process().running(); }));
  }
}

}  // namespace
}  // namespace jumplark::desktop
