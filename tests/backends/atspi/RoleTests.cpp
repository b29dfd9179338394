#include "VocabularyFixture.h"

namespace jumplark::atspi {
namespace {

struct RoleCase {
  const char* what;
  uint32_t number;
  std::initializer_list<int> states;
  const char* axRole;
};

const RoleCase kRolesByThemselves[] = {
    {"button with a menu", role::pushButton, {state::hasPopup}, "AXMenuButton"},
    {"toggle with a menu wins over expandable",
     role::toggleButton,
     {state::hasPopup, state::expandable},
     "AXMenuButton"},
    {"expander", role::toggleButton, {state::expandable}, "AXDisclosureTriangle"},
    {"expandable push button", role::pushButton, {state::expandable}, "AXButton"},
    {"check menu item", role::checkMenuItem, {}, "AXCheckBox"},
    {"switch", role::switchRole, {}, "AXCheckBox"},
    {"page tab", role::pageTab, {}, "AXRadioButton"},
    {"one-line text", role::text, {state::singleLine}, "AXTextField"},
    {"text of several lines", role::text, {state::multiLine}, "AXTextArea"},
    {"entry of several lines", role::entry, {state::multiLine}, "AXTextArea"},
    {"terminal", role::terminal, {}, "AXTextArea"},
    {"picture", role::icon, {}, "AXImage"},
    {"entry of an icon view", role::icon, {state::selectable}, "AXCell"},
    {"list item without parts", role::listItem, {}, "AXCell"},
    {"something unknown that takes focus", role::unknown, {state::focusable}, "AXButton"},
    {"something unknown", role::unknown, {}, "AXUnknown"},
};

TEST_F(AtspiVocabulary, GivesEachKindOfElementTheRoleOfWhatAPersonDoesWithIt) {
  int number = 0;
  for (const auto& one : kRolesByThemselves) {
    const std::string id = "e" + std::to_string(number++);
    FakeSource::set(source.add(id, one.number, "win"), one.states);
    EXPECT_EQ(text(id, "AXRole"), one.axRole) << one.what;
  }
}

TEST_F(AtspiVocabulary, TellsPicturesWithoutASizeFromPictures) {
  source.add("empty", role::icon, "win", std::nullopt);
  EXPECT_EQ(text("empty", "AXRole"), "AXUnknown");
}

TEST_F(AtspiVocabulary, MakesRowsOfItemsWithParts) {
  source.add("item", role::treeItem, "win");
  source.add("part", role::label, "item");
  EXPECT_EQ(text("item", "AXRole"), "AXRow");
}

TEST_F(AtspiVocabulary, MakesCellsOfLabelsThatAreEntries) {
  source.add("tree", role::tree, "win");
  source.add("node", role::label, "tree").interfaces |= interface_bit::action;
  source.add("leaf", role::label, "node").interfaces |= interface_bit::action;
  source.add("table", role::table, "win");
  source.add("cell", role::label, "table").interfaces |= interface_bit::tableCell;
  source.add("caption", role::label, "win").interfaces |= interface_bit::action;
  for (const char* id : {"node", "leaf", "cell"}) {
    EXPECT_EQ(text(id, "AXRole"), "AXCell") << id;
  }
  EXPECT_EQ(text("caption", "AXRole"), "AXStaticText");
}

TEST_F(AtspiVocabulary, ReadsParagraphsAsTextOnlyWhenNothingStandsInThem) {
  source.add("plain", role::paragraph, "win").interfaces |= interface_bit::text;
  source.add("rich", role::paragraph, "win").interfaces |= interface_bit::text;
  source.add("run", role::staticText, "rich");
  EXPECT_EQ(text("plain", "AXRole"), "AXStaticText");
  EXPECT_EQ(text("rich", "AXRole"), "AXGroup");
}

TEST_F(AtspiVocabulary, TellsEntriesOfTheMenuBarFromOtherMenusAndItems) {
  source.add("bar", role::menuBar, "win");
  source.add("file", role::menu, "bar");
  source.add("recent", role::menu, "file");
  source.add("quit", role::menuItem, "file");
  source.add("context", role::window, "app");
  source.add("opened", role::menu, "context");
  EXPECT_EQ(text("bar", "AXRole"), "AXMenuBar");
  EXPECT_EQ(text("file", "AXRole"), "AXMenuBarItem");
  EXPECT_EQ(text("recent", "AXRole"), "AXMenuItem");
  EXPECT_EQ(text("quit", "AXRole"), "AXMenuItem");
  EXPECT_EQ(text("opened", "AXRole"), "AXMenu");
}

TEST_F(AtspiVocabulary, MakesARadioGroupOfTwoRadioButtons) {
  source.add("one", role::panel, "win");
  source.add("r1", role::radioButton, "one");
  source.add("caption", role::label, "one");
  EXPECT_EQ(text("one", "AXRole"), "AXGroup");
  source.add("r2", role::radioButton, "one");
  EXPECT_EQ(text("one", "AXRole"), "AXRadioGroup");
}

TEST_F(AtspiVocabulary, CallsOnlyModalDialogsInsideAWindowSheets) {
  FakeSource::set(source.add("own", role::dialog, "app"), {state::modal});
  FakeSource::set(source.add("sheet", role::dialog, "win"), {state::modal});
  source.add("bar", role::alert, "win");
  EXPECT_EQ(text("own", "AXRole"), "AXWindow");
  EXPECT_EQ(text("own", "AXSubrole"), "AXDialog");
  EXPECT_EQ(text("sheet", "AXRole"), "AXSheet");
  EXPECT_EQ(text("bar", "AXRole"), "AXGroup");
  EXPECT_EQ(text("win", "AXSubrole"), "AXStandardWindow");
}

TEST_F(AtspiVocabulary, CallsButtonsOfAPanelDockItems) {
  source.add("panel", role::application, "");
  source.add("strip", role::frame, "panel", Rect{0, 700, 400, 30});
  source.add("box", role::panel, "strip");
  source.add("clock", role::toggleButton, "box");
  source.add("settings", role::dialog, "panel");
  source.add("close", role::pushButton, "settings");
  source.processes[20] = source.ref("panel");
  source.framesOnScreen.push_back({source.ref("strip"), 2, WindowType::dock});
  windows.add(2, 20, {0, 700, 400, 30}, WindowType::dock);
  EXPECT_EQ(text("clock", "AXRole"), "AXDockItem");
  EXPECT_EQ(text("close", "AXRole"), "AXButton");
}

TEST_F(AtspiVocabulary, KnowsSearchAndPasswordFieldsBySubrole) {
  source.add("field", role::entry, "win");
  source.add("search", role::entry, "win").attributes["text-input-type"] = "search";
  source.add("secret", role::passwordText, "win");
  EXPECT_EQ(text("field", "AXSubrole"), kUnsupported);
  EXPECT_EQ(text("search", "AXSubrole"), "AXSearchField");
  EXPECT_EQ(text("secret", "AXSubrole"), "AXSecureTextField");
}

}  // namespace
}  // namespace jumplark::atspi
