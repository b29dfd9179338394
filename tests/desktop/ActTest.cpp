#include <algorithm>
#include <cstdio>
#include <optional>

#include "desktop/DesktopTest.h"

namespace jumplark::desktop {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

Finished act(Desktop& desktop, const std::string& application, const std::string& query) {
  return desktop.jumplark.run({"act", "--app", application, query});
}

struct DemoAct {
  const char* page;
  const char* query;
  const char* effect;  ///< the line that the program prints
  const char* kind;    ///< of the part that the press must hit; null when nothing may be pressed
  const char* name;
};

std::string describe(const DemoAct& demoAct) {
  return std::string(demoAct.page) + ": act '" + demoAct.query + "'";
}

// One press, in the part, with no modifier; or none at all.
void expectPress(DemoProgram& demo, const std::vector<DemoPart>& parts, const DemoAct& demoAct) {
  const std::vector<std::string> presses = demo.linesBeginning("pressed ");
  EXPECT_THAT(demo.linesBeginning("double-pressed "), IsEmpty());
  if (!demoAct.kind) {
    EXPECT_THAT(presses, IsEmpty());
    return;
  }
  ASSERT_THAT(presses, SizeIs(1));
  int x = 0;
  int y = 0;
  int end = 0;
  ASSERT_EQ(std::sscanf(presses[0].c_str(), "pressed %d,%d%n", &x, &y, &end), 2) << presses[0];
  EXPECT_EQ(presses[0].size(), static_cast<size_t>(end)) << presses[0];
  const auto part = std::find_if(parts.begin(), parts.end(), [&](const DemoPart& candidate) {
    return candidate.kind == demoAct.kind && candidate.name == demoAct.name;
  });
  ASSERT_NE(part, parts.end()) << "the window has no such part";
  EXPECT_TRUE(part->rect.contains(x, y)) << presses[0];
}

TEST(Act, doesWhatAPersonWouldHaveDoneWithThePointer) {
  const DemoAct cases[] = {
      {"Form", "ok", "clicked OK", "QPushButton", "OK"},
      {"Form", "cancel", "clicked Cancel", "QPushButton", "Cancel"},
      {"Form", "wrap", "checked Wrap text true", "QCheckBox", "Wrap text"},
      {"Form", "large", "checked Large true", "QRadioButton", "Large"},
      {"Form", "email", "focused Email", "QLineEdit", "Email"},
      {"Form", "password", "focused Password", "QLineEdit", "Password"},
      {"Form", "example.org", "focused Email", "QLineEdit", "Email"},
      {"Form", "country", "list-opened Country", "QComboBox", "Country"},
      {"Form", "typeface", "focused Typeface", "QComboBox", "Typeface"},
      {"Form", "volume", "focused Volume", nullptr, nullptr},
      {"Form", ".slider", "focused Volume", nullptr, nullptr},
      {"Form", "reload", "triggered Reload", "QToolButton", "Reload"},
      {"Form", "file", "menu-opened File", "menu", "File"},
      {"Form", "view", "menu-opened View", "menu", "View"},
      {"Form", "scrolled", "tab Scrolled", "tab", "Scrolled"},
      {"Table", "value 7", "selected row 7", "item", "Value 7"},
      {"Tree", "vegetables", "selected Vegetables", "item", "Vegetables"},
      {"List", "edinburgh", "chosen Edinburgh", "item", "Edinburgh"},
      {"Scrolled", "entry 3", "clicked Entry 3", "QPushButton", "Entry 3"},
  };
  Desktop desktop;
  for (const DemoAct& demoAct : cases) {
    SCOPED_TRACE(describe(demoAct));
    DemoProgram demo(desktop.session, demoAct.page);
    const std::vector<DemoPart> parts = demo.parts();
    const Finished finished = act(desktop, DemoProgram::kName, demoAct.query);
    EXPECT_EQ(finished.status, 0) << finished.err;
    EXPECT_TRUE(demo.process().waitForLine(demoAct.effect)) << finished.out << "the program said:\n"
                                                            << demo.process().out();
    expectPress(demo, parts, demoAct);
  }
}

TEST(Act, reachesADialogThatIsInFront) {
  Desktop desktop;
  DemoProgram demo(desktop.session);
  ASSERT_EQ(act(desktop, DemoProgram::kName, "erase").status, 0);
  ASSERT_TRUE(demo.process().waitForLine("dialog-opened Confirm"));
  desktop.session.waitForWindowTitled("Confirm");
  ASSERT_TRUE(waitUntil([&] { return find(desktop.jumplark.match(kDemo, "keep"), "Button", "Keep it"); }));
  ASSERT_EQ(act(desktop, DemoProgram::kName, "keep").status, 0);
  EXPECT_TRUE(demo.process().waitForLine("clicked Keep it"));
  EXPECT_TRUE(demo.process().waitForLine("dialog-closed Confirm"));
}

TEST(Act, bringsACoveredWindowForward) {
  Desktop desktop;
  DemoProgram demo(desktop.session);
  Process& cover = desktop.session.start({"xmessage", "-title", "Cover", "-geometry", "900x800+0+0", "in the way"});
  const SessionWindow window = desktop.session.waitForWindowTitled("Cover");
  ASSERT_TRUE(desktop.session.activate(window.id));
  const Finished finished = act(desktop, DemoProgram::kName, "apply");
  EXPECT_EQ(finished.status, 0) << finished.err;
  EXPECT_TRUE(demo.process().waitForLine("clicked Apply"));
  EXPECT_TRUE(cover.running());
}

TEST(Act, isNotColouredByModifiersThatAreHeld) {
  Desktop desktop;
  DemoProgram demo(desktop.session);
  desktop.session.keys({"keydown", "Shift_L", "keydown", "Control_L", "keydown", "Super_L"});
  const Finished finished = act(desktop, DemoProgram::kName, "ok");
  desktop.session.keys({"keyup", "Shift_L", "keyup", "Control_L", "keyup", "Super_L"});
  EXPECT_EQ(finished.status, 0) << finished.err;
  ASSERT_TRUE(demo.process().waitForLine("clicked OK"));
  const std::vector<std::string> presses = demo.linesBeginning("pressed ");
  ASSERT_THAT(presses, SizeIs(1));
  EXPECT_EQ(presses[0].find("modifiers"), std::string::npos) << presses[0];
}

TEST(Act, leavesTheApplicationAloneWhenItShouldNotClick) {
  Desktop desktop;
  DemoProgram demo(desktop.session);
  const Finished nothing = act(desktop, DemoProgram::kName, "zzqqxx");
  EXPECT_EQ(nothing.status, 1);
  EXPECT_FALSE(nothing.err.empty());
  const Finished dry = desktop.jumplark.run({"act", "--dry-run", "--app", DemoProgram::kName, "ok"});
  EXPECT_EQ(dry.status, 0) << dry.err;
  EXPECT_NE(dry.out.find("OK"), std::string::npos) << dry.out;
  // A real press comes after anything that the two before might have sent.
  ASSERT_EQ(act(desktop, DemoProgram::kName, "cancel").status, 0);
  ASSERT_TRUE(demo.process().waitForLine("clicked Cancel"));
  EXPECT_THAT(demo.linesBeginning("pressed "), SizeIs(1));
  EXPECT_THAT(demo.linesBeginning("clicked "), ElementsAre("clicked Cancel"));
}

TEST(Act, worksUnderEveryWindowManager) {
  for (const auto manager : {WindowManager::xfwm4Compositor, WindowManager::openbox, WindowManager::openboxPicom}) {
    SCOPED_TRACE(static_cast<int>(manager));
    Desktop desktop(manager);
    DemoProgram demo(desktop.session);
    const std::vector<DemoPart> parts = demo.parts();
    ASSERT_EQ(act(desktop, DemoProgram::kName, "apply").status, 0);
    EXPECT_TRUE(demo.process().waitForLine("clicked Apply"));
    expectPress(demo, parts, {"Form", "apply", "clicked Apply", "QPushButton", "Apply"});
  }
}

TEST(Act, findsTheRightPixelsOnASecondMonitor) {
  constexpr int kPrimaryHeight = 700;
  PrivateSession session({.windowManager = WindowManager::openbox,
                          .width = 1800,
                          .height = 900,
                          .monitors = {{0, 0, 900, kPrimaryHeight}, {900, 0, 900, 900}}});
  Jumplark jumplark(session, kPrimaryHeight);
  DemoProgram demo(session);
  const SessionWindow window = session.waitForWindowTitled("Demo");
  session.keys({"windowmove", std::to_string(window.id), "950", "150"});
  ASSERT_TRUE(waitUntil([&] { return session.waitForWindowTitled("Demo").rect.x >= 900; }));
  const std::vector<DemoPart> parts = demo.parts();
  const auto part = std::find_if(parts.begin(), parts.end(), [](const DemoPart& candidate) {
    return candidate.kind == "QPushButton" && candidate.name == "Apply";
  });
  ASSERT_NE(part, parts.end());
  const std::vector<Match> matches = jumplark.match(kDemo, "apply");
  EXPECT_TRUE(findAt(matches, "Button", part->rect)) << describe(matches);
  EXPECT_EQ(jumplark.run({"act", "--app", DemoProgram::kName, "apply"}).status, 0);
  EXPECT_TRUE(demo.process().waitForLine("clicked Apply"));
  expectPress(demo, parts, {"Form", "apply", "clicked Apply", "QPushButton", "Apply"});
}

TEST(Act, enters79IntoKcalc) {
  Desktop desktop;
  startKcalc(desktop.session);
  const auto shows = [&](const std::string& number) {
    return findElement(readApplication(desktop.session, "kcalc"), "frame", number).has_value();
  };
  ASSERT_TRUE(waitUntil([&] { return shows("0"); }));
  ASSERT_EQ(act(desktop, "kcalc", "7").status, 0);
  EXPECT_TRUE(waitUntil([&] { return shows("7"); }));
  ASSERT_EQ(act(desktop, "kcalc", "9").status, 0);
  EXPECT_TRUE(waitUntil([&] { return shows("79"); }));
}

TEST(Act, ticksOneCheckBoxOfTheWidgetFactory) {
  Desktop desktop;
  startWidgetFactory(desktop.session);
  const auto before = readApplication(desktop.session, "gtk3-widget-factory");
  // Of several that fit alike, the one that the pointer is on is meant.
  // The application lists them from below; the lower one shows a line that a tick does not change.
  const auto meant = std::find_if(before.rbegin(), before.rend(), [](const AccessibleElement& element) {
    return element.role == "check box" && element.is("sensitive") && !element.is("checked");
  });
  ASSERT_NE(meant, before.rend());
  desktop.session.keys({"mousemove", std::to_string(meant->rect.x + 40), std::to_string(meant->rect.y + 10)});
  const std::vector<Match> matches = desktop.jumplark.match({"--app", kWidgetFactory}, "checkbutton");
  ASSERT_FALSE(matches.empty());
  const PixelRect rect = matches[0].rect;
  ASSERT_EQ(rect, meant->rect) << describe(matches);
  const std::vector<uint32_t> pixels = desktop.session.pixels(rect);

  ASSERT_EQ(act(desktop, kWidgetFactory, "checkbutton").status, 0);
  std::vector<PixelRect> changed;
  EXPECT_TRUE(waitUntil([&] {
    changed.clear();
    const auto after = readApplication(desktop.session, "gtk3-widget-factory");
    for (size_t i = 0; i < std::min(before.size(), after.size()); ++i) {
      if (after[i].role == "check box" && after[i].is("checked") != before[i].is("checked")) {
        changed.push_back(after[i].rect);
      }
    }
    return !changed.empty();
  }));
  EXPECT_THAT(changed, ElementsAre(rect)) << "and only the one that was chosen";
  EXPECT_TRUE(waitUntil([&] { return desktop.session.pixels(rect) != pixels; })) << "the tick is drawn there";
}

TEST(Act, turnsThePageOfTheWidgetFactoryAndOpensAList) {
  Desktop desktop;
  startWidgetFactory(desktop.session);
  const auto popups = [&] {
    const auto windows = desktop.session.windows();
    return std::count_if(windows.begin(), windows.end(),
                         [](const SessionWindow& window) { return window.overrideRedirect && window.rect.width > 20; });
  };
  const auto before = popups();
  ASSERT_EQ(act(desktop, kWidgetFactory, "Middle").status, 0);
  EXPECT_TRUE(waitUntil([&] { return popups() == before + 1; }));
  desktop.session.keys({"key", "Escape"});
  ASSERT_TRUE(waitUntil([&] { return popups() == before; }));

  // Notebooks further down have a 'page 2' too.
  desktop.session.keys({"mousemove", "560", "30"});
  ASSERT_EQ(act(desktop, kWidgetFactory, "Page 2").status, 0);
  EXPECT_TRUE(waitUntil([&] {
    const auto page = findElement(readApplication(desktop.session, "gtk3-widget-factory"), "radio button", "Page 2");
    return page && page->is("checked");
  }));
}

TEST(Act, choosesFromTheOpenListOfAGtkProgram) {
  Desktop desktop;
  startWidgetFactory(desktop.session);
  const std::vector<Match> before = desktop.jumplark.everything({"--app", kWidgetFactory});
  // The lower one is not sensitive.
  const Match* box = nullptr;
  for (const Match& match : before) {
    box = match.role == "ComboBox" && (!box || match.rect.y < box->rect.y) ? &match : box;
  }
  ASSERT_TRUE(box) << describe(before);
  constexpr int kIntoArrow = 18;
  desktop.session.keys({"mousemove", std::to_string(box->rect.x + box->rect.width - kIntoArrow),
                        std::to_string(box->rect.y + box->rect.height / 2), "click", "1"});
  ASSERT_TRUE(waitUntil([&] {
    return find(desktop.jumplark.match({"--app", kWidgetFactory}, "mickey"), "MenuItem", "Mickey Mouse") != nullptr;
  }));
  ASSERT_EQ(act(desktop, kWidgetFactory, "mickey").status, 0);
  EXPECT_TRUE(waitUntil([&] {
    const auto elements = readApplication(desktop.session, "gtk3-widget-factory");
    return std::any_of(elements.begin(), elements.end(),
                       [](const AccessibleElement& element) { return element.text == "Mickey Mouse"; });
  }));
}

TEST(Act, choosesFromTheOpenListOfAQtProgram) {
  Desktop desktop;
  DemoProgram demo(desktop.session);
  ASSERT_EQ(act(desktop, DemoProgram::kName, "country").status, 0);
  ASSERT_TRUE(demo.process().waitForLine("list-opened Country"));
  ASSERT_TRUE(waitUntil([&] { return find(desktop.jumplark.match(kDemo, "brazil"), "Cell", "Brazil") != nullptr; }));
  ASSERT_EQ(act(desktop, DemoProgram::kName, "brazil").status, 0);
  EXPECT_TRUE(demo.process().waitForLine("combo Country Brazil"));
}

TEST(Act, reachesWhatAQtProgramHasNoRoomFor) {
  Desktop desktop;
  DemoProgram demo(desktop.session, "Crowded");
  const auto found = [&](const std::string& query, const std::string& role, const std::string& text) {
    const std::vector<Match> matches = desktop.jumplark.match(kDemo, query);
    const Match* match = find(matches, role, text);
    return match ? std::optional(match->rect) : std::nullopt;
  };
  const auto showsAll = [&] { return found("posterise", "Button", "Posterise").has_value(); };
  EXPECT_FALSE(showsAll());
  for (const char* more : {"more", ">>"}) {
    ASSERT_EQ(act(desktop, DemoProgram::kName, more).status, 0) << more;
    ASSERT_TRUE(waitUntil(showsAll));
    // The tool bar closes when the pointer leaves it.
    desktop.session.keys({"mousemove", "5", "5"});
    ASSERT_TRUE(waitUntil([&] { return !showsAll(); }));
  }
  ASSERT_EQ(act(desktop, DemoProgram::kName, "more").status, 0);
  ASSERT_TRUE(waitUntil(showsAll));
  ASSERT_EQ(act(desktop, DemoProgram::kName, "posterise").status, 0);
  EXPECT_TRUE(demo.process().waitForLine("triggered Posterise"));

  const std::optional<PixelRect> fill = found("fill", "Button", "Fill");
  ASSERT_TRUE(fill);
  constexpr int kIntoArrow = 5;
  desktop.session.keys({"mousemove", std::to_string(fill->x + fill->width - kIntoArrow),
                        std::to_string(fill->y + fill->height / 2), "click", "1"});
  ASSERT_TRUE(demo.process().waitForLine("menu-opened Fill"));
  ASSERT_EQ(act(desktop, DemoProgram::kName, "pattern").status, 0);
  EXPECT_TRUE(demo.process().waitForLine("triggered Pattern"));
  ASSERT_EQ(act(desktop, DemoProgram::kName, "line").status, 0);
  ASSERT_TRUE(demo.process().waitForLine("menu-opened Line"));
  ASSERT_EQ(act(desktop, DemoProgram::kName, "dashed").status, 0);
  EXPECT_TRUE(demo.process().waitForLine("triggered Dashed"));

  // Rows scrolled below the header show as little as those above it.
  const std::vector<Match> matches = desktop.jumplark.everything(kDemo);
  for (const DemoPart& part : demo.parts()) {
    if (part.kind == "item" && part.name.starts_with("Layer")) {
      EXPECT_EQ(find(matches, "Cell", part.name) != nullptr, part.shown) << part.name;
    }
  }
}

TEST(Act, opensAndClosesAnExpander) {
  Desktop desktop;
  desktop.session.start({"gtk3-demo", "--run", "expander"});
  const auto isOpen = [&] {
    const auto arrow = findElement(readApplication(desktop.session, "gtk3-demo"), "toggle button", "Details:");
    return arrow && arrow->is("expanded");
  };
  const auto showsDetails = [&] {
    const auto matches = desktop.jumplark.everything({"--app", "gtk3-demo"});
    return std::any_of(matches.begin(), matches.end(), [](const Match& match) { return match.role == "TextArea"; });
  };
  ASSERT_TRUE(waitUntil([&] {
    return findElement(readApplication(desktop.session, "gtk3-demo"), "toggle button", "Details:").has_value();
  }));
  for (const bool open : {true, false}) {
    ASSERT_EQ(act(desktop, "gtk3-demo", "details").status, 0);
    EXPECT_TRUE(waitUntil([&] { return isOpen() == open && showsDetails() == open; })) << open;
  }
}

// Toolkits tell places in units of two pixels then.
TEST(Act, hitsWhatIsShownAtTwiceTheResolution) {
  constexpr int kWidth = 2800;
  constexpr int kHeight = 1700;
  PrivateSession session({.width = kWidth, .height = kHeight});
  Jumplark jumplark(session, kHeight);
  Process& demo = session.start({JUMPLARK_DEMO_QT6}, {{"QT_SCALE_FACTOR", "2"}});
  ASSERT_TRUE(demo.waitForLine("ready"));
  ASSERT_TRUE(session.activate(session.waitForWindowOf(demo.pid()).id));
  ASSERT_TRUE(waitUntil([&] { return !readApplication(session, DemoProgram::kName).empty(); }));
  EXPECT_EQ(jumplark.run({"act", "--app", DemoProgram::kName, "apply"}).status, 0);
  EXPECT_TRUE(demo.waitForLine("clicked Apply"));

  for (const std::string program : {"gtk3-widget-factory", "gtk4-widget-factory"}) {
    SCOPED_TRACE(program);
    Process& factory = session.start({program}, {{"GDK_SCALE", "2"}});
    const SessionWindow window = session.waitForWindowOf(factory.pid());
    ASSERT_TRUE(session.activate(window.id));
    const Arguments target = {"--pid", std::to_string(factory.pid())};
    ASSERT_TRUE(waitUntil([&] { return !readApplication(session, program, Reading::all).empty(); }));
    ASSERT_TRUE(waitUntil([&] { return find(jumplark.everything(target), "RadioButton", "Page 2") != nullptr; }));
    // Notebooks further down have a 'page 2' too.
    session.keys(
        {"mousemove", std::to_string(window.rect.x + window.rect.width / 2), std::to_string(window.rect.y + 60)});
    EXPECT_EQ(jumplark.run({"act", target[0], target[1], "Page 2"}).status, 0);
    EXPECT_TRUE(waitUntil([&] { return find(jumplark.everything(target), "StaticText", "Row 1") != nullptr; }));
  }
}

TEST(Act, opensAMenuOfMousepad) {
  Desktop desktop;
  startMousepad(desktop.session, writeLongText(desktop.session));
  const auto showsAnItem = [&] {
    const auto elements = readApplication(desktop.session, "mousepad");
    return std::any_of(elements.begin(), elements.end(), [](const AccessibleElement& element) {
      return element.role == "menu item" && element.name.starts_with("Find Next");
    });
  };
  ASSERT_FALSE(showsAnItem());
  ASSERT_EQ(act(desktop, "mousepad", "search").status, 0);
  EXPECT_TRUE(waitUntil(showsAnItem));
}

}  // namespace
}  // namespace jumplark::desktop
