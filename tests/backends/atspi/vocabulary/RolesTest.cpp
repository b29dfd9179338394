#include "backends/atspi/support/VocabularyFixture.h"

namespace jumplark::atspi {
namespace {

class Roles : public AtspiVocabulary {};

struct Case {
  const char* what;  ///< also the element's id
  uint32_t number;
  const char* parent;
  const char* axRole;
  std::initializer_list<int> states = {};
  const char* interface = "Component";
};

const Case kCases[] = {
    {"button with a menu", role::pushButton, "frame", "AXMenuButton", {state::hasPopup}},
    {"toggle with a menu", role::toggleButton, "frame", "AXMenuButton", {state::hasPopup, state::expandable}},
    {"expander", role::toggleButton, "frame", "AXDisclosureTriangle", {state::expandable}},
    {"expandable push button", role::pushButton, "frame", "AXButton", {state::expandable}},
    {"one-line text", role::text, "frame", "AXTextField", {state::singleLine}},
    {"text of several lines", role::text, "frame", "AXTextArea", {state::multiLine}},
    {"entry of several lines", role::entry, "frame", "AXTextArea", {state::multiLine}},
    {"picture", role::icon, "frame", "AXImage"},
    {"entry of an icon view", role::icon, "frame", "AXCell", {state::selectable}},
    {"list item without parts", role::listItem, "frame", "AXCell"},
    {"something unknown that takes focus", role::unknown, "frame", "AXButton", {state::focusable}},
    {"something unknown", role::unknown, "frame", "AXUnknown"},
    {"menu bar", role::menuBar, "frame", "AXMenuBar"},
    {"menu in the bar", role::menu, "menu bar", "AXMenuBarItem"},
    {"menu in a menu", role::menu, "menu in the bar", "AXMenuItem"},
    {"item in a menu", role::menuItem, "menu in the bar", "AXMenuItem"},
    {"window of a menu", role::window, "root", "AXWindow"},
    {"open menu", role::menu, "window of a menu", "AXMenu"},
    {"tree", role::tree, "frame", "AXOutline"},
    {"item with parts", role::treeItem, "tree", "AXRow"},
    {"part of an item", role::label, "item with parts", "AXStaticText"},
    {"label as a node", role::label, "tree", "AXCell", {}, "Action"},
    {"label in a node", role::label, "label as a node", "AXCell", {}, "Action"},
    {"table", role::table, "frame", "AXTable"},
    {"label as a cell", role::label, "table", "AXCell", {}, "TableCell"},
    {"label that can be pressed", role::label, "frame", "AXStaticText", {}, "Action"},
    {"paragraph", role::paragraph, "frame", "AXStaticText", {}, "Text"},
    {"paragraph with parts", role::paragraph, "frame", "AXGroup", {}, "Text"},
    {"part of a paragraph", role::staticText, "paragraph with parts", "AXStaticText"},
    {"status bar of a word", role::statusBar, "frame", "AXStaticText"},
    {"status bar with parts", role::statusBar, "frame", "AXGroup"},
    {"part of a status bar", role::label, "status bar with parts", "AXStaticText"},
    {"group of one", role::panel, "frame", "AXGroup"},
    {"only choice", role::radioButton, "group of one", "AXRadioButton"},
    {"group of two", role::panel, "frame", "AXRadioGroup"},
    {"first choice", role::radioButton, "group of two", "AXRadioButton"},
    {"second choice", role::radioButton, "group of two", "AXRadioButton"},
    {"dialog of its own", role::dialog, "root", "AXWindow", {state::modal}},
    {"dialog in a window", role::dialog, "frame", "AXSheet", {state::modal}},
    {"bar with a question", role::alert, "frame", "AXGroup"},
};

std::string idFor(std::string what) {
  std::ranges::replace_if(
      what, [](char c) { return c == ' ' || c == '-'; }, '_');
  return what;
}

TEST_F(Roles, areOfWhatAPersonDoesWithAnElement) {
  for (const Case& one : kCases) {
    add(idFor(one.parent), idFor(one.what), one.number, one.what).being(one.states).with(one.interface);
  }
  add("frame", "without_size", role::icon).interfaces = {};
  for (const Case& one : kCases) {
    EXPECT_EQ(text(idFor(one.what), "AXRole"), one.axRole) << one.what;
  }
  EXPECT_EQ(text("without_size", "AXRole"), "AXUnknown");
}

TEST_F(Roles, areDockItemsForButtonsOfAPanel) {
  add("root", "strip", role::frame, "Strip", {0, 700, 400, 30});
  add("strip", "box", role::panel);
  add("box", "clock", role::toggleButton);
  add("frame", "close", role::pushButton);
  windows.add(8, getpid(), {0, 700, 400, 30}, WindowType::dock).title = "Strip";
  for (const bool inSnapshot : {false, true}) {
    EXPECT_EQ(text("clock", "AXRole"), "AXDockItem") << inSnapshot;
    EXPECT_EQ(text("close", "AXRole"), "AXButton") << inSnapshot;
    snapshot(false);
  }
}

TEST_F(Roles, tellKindsOfFieldsAndWindowsBySubroles) {
  add("frame", "field", role::entry);
  add("frame", "search", role::entry).attributes["text-input-type"] = "search";
  add("frame", "secret", role::passwordText);
  add("root", "dialog", role::dialog);
  add("frame", "asleep", role::internalFrame);
  const std::pair<const char*, std::string> cases[] = {{"field", kUnsupported},         {"search", "AXSearchField"},
                                                       {"secret", "AXSecureTextField"}, {"dialog", "AXDialog"},
                                                       {"asleep", "AXPageFrame"},       {"frame", "AXStandardWindow"}};
  for (const auto& [id, subrole] : cases) {
    EXPECT_EQ(text(id, "AXSubrole"), subrole) << id;
  }
}

TEST_F(Roles, pressNoCaptionTwiceAndNothingThatOnlyDecorates) {
  add("frame", "caption", role::label, "Name:");
  add("frame", "field", role::entry).labelledBy = {"caption"};
  add("frame", "around", role::label, " Wrap text ");
  add("around", "box", role::checkBox, "Wrap text");
  add("frame", "heading", role::label, "People");
  add("frame", "group", role::panel).labelledBy = {"heading"};
  add("frame", "tip", role::toolTip, "Says more");
  add("frame", "bar", role::menuBar);
  add("bar", "file", role::menu, "File");
  add("bar", "turning", role::menuItem);
  snapshot();
  EXPECT_EQ(text("caption", "AXRole"), "AXCaption");
  EXPECT_EQ(text("around", "AXRole"), "AXCaption");
  EXPECT_EQ(text("caption", "AXValue"), "Name:") << "for whoever looks for the field by it";
  EXPECT_EQ(text("heading", "AXRole"), "AXStaticText");
  EXPECT_EQ(list("frame", "AXVisibleChildren"), "caption field around heading group");
  EXPECT_EQ(list("bar", "AXChildren"), "file turning");
  EXPECT_EQ(text("turning", "AXPosition"), kNoValue);
}

// An application that draws its title bar itself tells the buttons that it has there.
TEST_F(Roles, haveTheWindowsOwnButtonsWhereTheApplicationTellsNone) {
  windows.buttons = {{WindowWish::minimise, {340, 2, 20, 20}}, {WindowWish::close, {370, 2, 20, 20}}};
  add("frame", "close", role::pushButton, "close", {370, 5, 20, 20});
  add("frame", "ok", role::pushButton, "Minimize", {10, 200, 50, 20});
  snapshot();
  std::vector<ElementRef> own = platform.windowButtons(app.root());
  ASSERT_EQ(own.size(), 1U);
  for (const auto& [name, value] : {std::pair("AXRole", "AXWindowButton"), std::pair("AXTitle", "Minimise"),
                                    std::pair("AXDescription", "Minimize")}) {
    EXPECT_EQ(platform.copyAttributeValue(own[0], name).value.description(), value);
  }
  EXPECT_EQ(*platform.copyAttributeValue(own[0], "AXPosition").value.point(), (Point{340, 2}));
  EXPECT_EQ(platform.performAction(own[0], "AXPress"), AccessibilityError::success);
  EXPECT_EQ(windows.requests, (std::vector{std::pair(windows.windows[0].id, WindowWish::minimise)}));
  windows.windows[0].surface = {0, 24, 400, 276};
  snapshot();
  EXPECT_EQ(platform.windowButtons(app.root()).size(), 2U) << "the window system draws the title bar";
}

}  // namespace
}  // namespace jumplark::atspi
