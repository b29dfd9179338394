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
  uint32_t interfaces = 0;
};

const Case kCases[] = {
    {"button with a menu", role::pushButton, "win", "AXMenuButton", {state::hasPopup}},
    {"toggle with a menu", role::toggleButton, "win", "AXMenuButton", {state::hasPopup, state::expandable}},
    {"expander", role::toggleButton, "win", "AXDisclosureTriangle", {state::expandable}},
    {"expandable push button", role::pushButton, "win", "AXButton", {state::expandable}},
    {"check menu item", role::checkMenuItem, "win", "AXCheckBox"},
    {"switch", role::switchRole, "win", "AXCheckBox"},
    {"page tab", role::pageTab, "win", "AXRadioButton"},
    {"one-line text", role::text, "win", "AXTextField", {state::singleLine}},
    {"text of several lines", role::text, "win", "AXTextArea", {state::multiLine}},
    {"entry of several lines", role::entry, "win", "AXTextArea", {state::multiLine}},
    {"terminal", role::terminal, "win", "AXTextArea"},
    {"picture", role::icon, "win", "AXImage"},
    {"entry of an icon view", role::icon, "win", "AXCell", {state::selectable}},
    {"list item without parts", role::listItem, "win", "AXCell"},
    {"something unknown that takes focus", role::unknown, "win", "AXButton", {state::focusable}},
    {"something unknown", role::unknown, "win", "AXUnknown"},
    {"menu bar", role::menuBar, "win", "AXMenuBar"},
    {"menu in the bar", role::menu, "menu bar", "AXMenuBarItem"},
    {"menu in a menu", role::menu, "menu in the bar", "AXMenuItem"},
    {"item in a menu", role::menuItem, "menu in the bar", "AXMenuItem"},
    {"window of a menu", role::window, "app", "AXWindow"},
    {"open menu", role::menu, "window of a menu", "AXMenu"},
    {"tree", role::tree, "win", "AXOutline"},
    {"item with parts", role::treeItem, "tree", "AXRow"},
    {"part of an item", role::label, "item with parts", "AXStaticText"},
    {"label as a node", role::label, "tree", "AXCell", {}, interface_bit::action},
    {"label in a node", role::label, "label as a node", "AXCell", {}, interface_bit::action},
    {"table", role::table, "win", "AXTable"},
    {"label as a cell", role::label, "table", "AXCell", {}, interface_bit::tableCell},
    {"label that can be pressed", role::label, "win", "AXStaticText", {}, interface_bit::action},
    {"paragraph", role::paragraph, "win", "AXStaticText", {}, interface_bit::text},
    {"paragraph with parts", role::paragraph, "win", "AXGroup", {}, interface_bit::text},
    {"part of a paragraph", role::staticText, "paragraph with parts", "AXStaticText"},
    {"group of one", role::panel, "win", "AXGroup"},
    {"only choice", role::radioButton, "group of one", "AXRadioButton"},
    {"group of two", role::panel, "win", "AXRadioGroup"},
    {"first choice", role::radioButton, "group of two", "AXRadioButton"},
    {"second choice", role::radioButton, "group of two", "AXRadioButton"},
    {"dialog of its own", role::dialog, "app", "AXWindow", {state::modal}},
    {"dialog in a window", role::dialog, "win", "AXSheet", {state::modal}},
    {"bar with a question", role::alert, "win", "AXGroup"},
};

TEST_F(Roles, areOfWhatAPersonDoesWithAnElement) {
  for (const Case& one : kCases) {
    FakeSource::set(source.add(one.what, one.number, one.parent), one.states);
    source.at(one.what).interfaces |= one.interfaces;
  }
  source.add("picture without a size", role::icon, "win", std::nullopt);
  for (const Case& one : kCases) {
    EXPECT_EQ(text(one.what, "AXRole"), one.axRole) << one.what;
  }
  EXPECT_EQ(text("picture without a size", "AXRole"), "AXUnknown");
}

TEST_F(Roles, areDockItemsForButtonsOfAPanel) {
  source.add("panel", role::application, "");
  source.add("strip", role::frame, "panel", Rect{0, 700, 400, 30});
  source.add("box", role::panel, "strip");
  source.add("clock", role::toggleButton, "box");
  source.add("settings", role::dialog, "panel");
  source.add("close", role::pushButton, "settings");
  source.processes[20] = source.ref("panel");
  source.framesOnScreen.push_back({source.ref("strip"), 2, WindowType::dock});
  windows.add(2, 20, {0, 700, 400, 30}, WindowType::dock);
  for (const bool inSnapshot : {false, true}) {
    EXPECT_EQ(text("clock", "AXRole"), "AXDockItem") << inSnapshot;
    EXPECT_EQ(text("close", "AXRole"), "AXButton") << inSnapshot;
    platform.prepareSnapshot(source.ref("panel"), false);
  }
}

TEST_F(Roles, tellKindsOfFieldsAndWindowsBySubroles) {
  source.add("field", role::entry, "win");
  source.add("search", role::entry, "win").attributes["text-input-type"] = "search";
  source.add("secret", role::passwordText, "win");
  source.add("dialog", role::dialog, "app");
  const std::pair<const char*, std::string> cases[] = {{"field", kUnsupported},
                                                       {"search", "AXSearchField"},
                                                       {"secret", "AXSecureTextField"},
                                                       {"dialog", "AXDialog"},
                                                       {"win", "AXStandardWindow"}};
  for (const auto& [id, subrole] : cases) {
    EXPECT_EQ(text(id, "AXSubrole"), subrole) << id;
  }
}

}  // namespace
}  // namespace jumplark::atspi
