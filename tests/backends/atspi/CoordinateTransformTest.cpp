#include <gmock/gmock.h>

#include "backends/atspi/SourceFixture.h"

namespace jumplark::atspi {
namespace {

class Places : public SourceFixture {
 protected:
  using SourceFixture::SourceFixture;
  /// The place that a snapshot says, after checking that a later read of the application says the same.
  std::optional<Rect> placeOf(const std::string& id) {
    const FactsPointer known = read(id);
    const auto now = live().facts(app.ref(id), facts::identity | facts::extents);
    EXPECT_TRUE(now.ok());
    EXPECT_EQ(now.ok() ? now.value->extents : std::nullopt, known ? known->extents : std::nullopt);
    return known ? known->extents : std::nullopt;
  }
};

class QtPlaces : public Places {};

TEST_F(QtPlaces, CountInPointsWhateverTheApplicationCountsIn) {
  windows.windows[0].surface = {200, 130, 600, 450};
  windows.windows[0].frame = {195, 100, 610, 485};
  app.add("frame", "ok", element(role::pushButton, "OK", {120, 60, 80, 30}));
  prepare();
  EXPECT_EQ(placeOf("ok"), (Rect{230, 145, 120, 45}));
}

class Gtk3Places : public Places {
 protected:
  Gtk3Places() : Places("gtk", "3.24.38") {}
};

// LibreOffice draws most of its window itself, with widgets of the toolkit's around it and in between.
class OfficePlaces : public Places, public ::testing::WithParamInterface<std::pair<const char*, const char*>> {
 protected:
  OfficePlaces() : Places(GetParam().first, GetParam().second) {
    FakeElement root = element(role::application, "soffice");
    root.states = 0;
    root.children = {"frame"};
    root.interfaces = {"Application"};
    app.set("root", root);
  }
};
INSTANTIATE_TEST_SUITE_P(Toolkits, OfficePlaces,
                         ::testing::Values(std::pair("gtk", "3.24.38"), std::pair("Qt", "5.15.8"),
                                           std::pair("other", "1")));

TEST_P(OfficePlaces, WhatIsDrawnBelowAMenuBarIsNotMovedOntoIt) {
  app.add("frame", "menu_bar", element(role::menuBar, "", {100, 50, 400, 25}));
  app.add("frame", "panel", element(role::panel, "", {100, 75, 400, 275}));
  app.add("panel", "pane", element(role::rootPane, "", {100, 50, 400, 275}));
  app.add("pane", "bold", element(role::toggleButton, "Bold", {110, 52, 30, 30}));
  app.add("pane", "font", element(role::panel, "Font", {150, 52, 90, 30}));
  app.add("font", "native", element(role::panel, "", {150, 77, 90, 30}));
  app.add("native", "entry", element(role::text, "", {150, 77, 60, 30}));
  prepare();
  EXPECT_EQ(placeOf("bold"), (Rect{110, 77, 30, 30}));
  EXPECT_EQ(placeOf("font"), (Rect{150, 77, 90, 30}));
  EXPECT_EQ(placeOf("entry"), (Rect{150, 77, 60, 30}));
  EXPECT_EQ(placeOf("menu_bar"), (Rect{100, 50, 400, 25}));
}

TEST_F(Gtk3Places, WhatIsOpenBelongsToTheWindowInFront) {
  app.add("frame", "box", element(role::comboBox, "Left", {110, 60, 100, 20}));
  app.add("box", "list", element(role::menu, "", {110, 80, 100, 60}));
  app.add("list", "right", element(role::menuItem, "Right", {110, 100, 100, 20}));
  app.add("frame", "closed", element(role::comboBox, "On", {110, 140, 100, 20}));
  app.add("closed", "closed_list", element(role::menu, "", {110, 140, 100, 20}));
  app.add("root", "context", element(role::window, "", {450, 300, 80, 90}));
  app.add("context", "context_menu", element(role::menu, "", {450, 300, 80, 90}));
  app.add("frame", "button", element(role::toggleButton, "Settings", {300, 60, 20, 20}));
  app.add("button", "undock", element(role::menuItem, "Undock", {300, 80, 90, 20}));
  app.add("button", "more", element(role::menu, "More", {300, 100, 90, 20}));
  app.add("button", "dock", element(role::menuItem, "Dock")).states = 0;
  prepare();
  EXPECT_EQ(names(), "box closed closed_list button dock context context_menu list right undock more");
  EXPECT_EQ(read("list")->parent, app.ref("frame"));
  EXPECT_EQ(read("context")->parent, app.ref("frame"));
  EXPECT_EQ(read("closed_list")->parent, app.ref("closed"));
  EXPECT_EQ(read("undock")->parent, app.ref("frame"));
  EXPECT_EQ(read("more")->role, role::menuItem) << "opens a menu, and is none";
}

// A tool item carries the words for the button that it is made of, and a group of them says nothing of its members.
TEST_F(Gtk3Places, WhatHasNoWordsIsCalledAsWhatHoldsItAlone) {
  app.add("frame", "bar", element(role::panel, "Bar", {100, 50, 400, 34}));
  app.add("bar", "item", element(role::panel, "", {110, 50, 30, 34})).description = "Styles (Ctrl+2)";
  app.add("item", "styles", element(role::toggleButton, "", {110, 50, 30, 34}));
  app.add("bar", "font", element(role::panel, "Font Name", {150, 50, 120, 34}));
  app.add("font", "box", element(role::filler, "", {150, 51, 120, 32}));
  app.add("box", "entry", element(role::text, "", {150, 51, 90, 32})).text = "Sans";
  app.add("box", "arrow", element(role::toggleButton, "", {240, 51, 30, 32}));
  app.add("frame", "caption", element(role::label, "Next style:", {100, 310, 90, 34})).labelFor = {"chooser"};
  app.add("frame", "chooser", element(role::filler, "", {200, 310, 200, 34}));
  app.add("chooser", "choose", element(role::toggleButton, "", {200, 310, 200, 34}));
  app.add("bar", "pair", element(role::panel, "Zoom", {280, 50, 60, 34}));
  app.add("pair", "in", element(role::pushButton, "", {280, 50, 30, 34}));
  app.add("pair", "out", element(role::pushButton, "", {310, 50, 30, 34}));
  app.add("frame", "tall", element(role::panel, "Canvas", {100, 100, 400, 200}));
  app.add("tall", "low", element(role::pushButton, "", {100, 100, 400, 30}));
  prepare();
  EXPECT_EQ(read("styles")->description, "Styles (Ctrl+2)");
  EXPECT_EQ(read("entry")->name, "Font Name");
  EXPECT_EQ(read("arrow")->name, "Font Name");
  EXPECT_THAT(read("choose")->labelledBy, ::testing::ElementsAre(app.ref("caption")));
  for (const char* id : {"in", "out", "low"}) {
    EXPECT_EQ(read(id)->name, "") << id;
  }
}

class SwingPlaces : public Places {
 protected:
  SwingPlaces() : Places("J2SE-access-bridge", "1.0") {
    app.set("frame", element(role::frame, "Window", {-1, -1, -1, -1}));
    app.add("frame", "tabs", element(role::pageTabList, "", {110, 60, 380, 280}));
    app.add("tabs", "tab", element(role::pageTab, "Second", {300, 60, 60, 20}));
  }
  /// What tells its place as if the page lay in the tab.
  void addPage(const FakeElement& content) {
    app.add("tab", "page", element(role::scrollPane, "", {302, 84, 376, 254}));
    app.add("page", "content", content);
  }
};

TEST_F(SwingPlaces, OfATablePageWhatShowsIsReadFromItsFirstColumnOn) {
  FakeElement table = element(role::table, "", {112, 84, 376, 10000});
  table.interfaces = {"Component", "Table"};
  table.columns = 2;
  addPage(table);
  app.add("page", "header", element(role::label, "Word", {112, 70, 180, 0}));
  app.add("page", "blank", element(role::label, "", {112, 70, 180, 0}));
  for (int i = 0; i < 1000; ++i) {
    const int row = i / 2;
    FakeElement cell = element(role::label, "cell", {112.0 + i % 2 * 180, 84.0 + row * 20, 180, 20});
    app.add("content", "cell" + std::to_string(i), cell);
  }
  prepare();
  EXPECT_EQ(placeOf("page"), (Rect{112, 84, 376, 254}));
  EXPECT_EQ(placeOf("cell2"), (Rect{112, 104, 180, 20}));
  EXPECT_TRUE(read("content")->childrenAreVisibleOnly);
  EXPECT_FALSE(read("cell100"));
  EXPECT_EQ(placeOf("header"), (Rect{112, 70, 180, 14}));
  EXPECT_EQ(read("blank")->extents, std::nullopt);
}

TEST_F(SwingPlaces, OfALongListWithSeveralColumnsAllThatShowAreRead) {
  FakeElement list = element(role::list, "", {112, 84, 376, 1000});
  list.columns = 4;
  list.columnWidth = 94;
  addPage(list);
  for (int i = 0; i < 200; ++i) {
    const int row = i / 4;
    app.add("content", "entry" + std::to_string(i),
            element(role::label, "entry", {112.0 + i % 4 * 94, 84.0 + row * 20, 94, 20}));
  }
  prepare();
  const auto& shown = read("content")->children;
  ASSERT_EQ(shown.size(), 52U) << "thirteen rows begin above the edge of the page";
  EXPECT_EQ(shown.back(), app.ref("entry51"));
}

TEST_F(SwingPlaces, EntriesOfATreeStandBelowTheTree) {
  addPage(element(role::tree, "", {112, 84, 376, 254}));
  app.add("content", "all", element(role::label, "All", {112, 84, 40, 20}));
  app.add("all", "fruit", element(role::label, "Fruit", {132, 104, 40, 20}));
  app.add("fruit", "apple", element(role::label, "Apple", {152, 124, 40, 20}));
  app.add("all", "stone", element(role::label, "Stone", {132, 144, 40, 20}));
  prepare();
  EXPECT_EQ(names(), "tabs tab page content all fruit apple stone");
  EXPECT_EQ(read("apple")->parent, app.ref("content"));
  EXPECT_TRUE(read("all")->children.empty());
}

TEST_F(SwingPlaces, ADialogIsWhereItsWindowIsNotWhereItSaysItIs) {
  app.add("root", "dialog", element(role::dialog, "Window", {220, 110, 300, 200}));
  app.remove("frame");
  app.add("dialog", "pane", element(role::rootPane, "", {105, 55, 290, 240}));
  app.add("pane", "yes", element(role::pushButton, "Yes", {130, 70, 60, 30}));
  app.add("pane", "count", element(role::spinButton, "", {200, 70, 60, 30}));
  app.add("count", "field", element(role::text, "", {200, 70, 40, 30}));
  prepare();
  EXPECT_EQ(read("dialog")->extents, (Rect{105, 55, 290, 240})) << "as far as it is filled";
  EXPECT_EQ(placeOf("yes"), (Rect{130, 70, 60, 30}));
  EXPECT_EQ(names(), "dialog pane yes count") << "a counter and its field are one";
}

}  // namespace
}  // namespace jumplark::atspi
