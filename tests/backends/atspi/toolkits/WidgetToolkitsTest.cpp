#include <gmock/gmock.h>

#include "backends/atspi/support/SourceFixture.h"

namespace jumplark::atspi {
namespace {

class Gtk3 : public SourceFixture {
 protected:
  Gtk3() : SourceFixture("gtk", "3.24.38") {}
};

// As it tells them of a window whose shadow begins 26 and 23 points before it, and whose title bar is 47 high.
TEST_F(Gtk3, countsInOpenMenusFromBelowTheTitleBarWhereItIsLost) {
  WindowFacts& window = windows.windows.front();
  window.surface = window.frame = {92, 84, 1415, 732};
  window.knowsItsPlace = false;
  app.at("frame").rect = {0, 0, 1467, 784};
  add("frame", "title", role::panel, "", {26, 23, 1415, 47});
  add("frame", "body", role::filler, "", {26, 70, 1415, 685});
  add("body", "box", role::comboBox, "Andrea", {419, 256, 157, 34});
  add("root", "popup", role::window, "", {393, 186, 169, 140}).children = {"list"};
  add("box", "list", role::menu, "", {399, 191, 157, 128});
  add("list", "andrea", role::menuItem, "Andrea", {399, 195, 157, 30});
  prepare();
  const Rect shown{485, 321, 157, 30};
  EXPECT_EQ(read("box")->extents, (Rect{485, 317, 157, 34}));
  EXPECT_EQ(read("andrea")->extents, shown);
  EXPECT_EQ(live().get(app.ref("andrea"), facts::extents)->extents, shown);
}

// A tool item carries the words for the button that it is made of, and a group of them says nothing of its members.
TEST_F(Gtk3, callsWhatHasNoWordsAsWhatHoldsItAlone) {
  add("frame", "bar", role::panel, "Bar", {100, 50, 400, 34});
  add("bar", "item", role::panel, "", {110, 50, 30, 34}).description = "Styles (Ctrl+2)";
  add("item", "styles", role::toggleButton, "", {110, 50, 30, 34});
  add("bar", "font", role::panel, "Font Name", {150, 50, 120, 34});
  add("font", "box", role::filler, "", {150, 51, 120, 32});
  add("box", "entry", role::text, "", {150, 51, 90, 32}).text = "Sans";
  add("box", "arrow", role::toggleButton, "", {240, 51, 30, 32});
  add("frame", "caption", role::label, "Next style:", {100, 310, 90, 34}).labelFor = {"chooser"};
  add("frame", "chooser", role::filler, "", {200, 310, 200, 34});
  add("chooser", "choose", role::toggleButton, "", {200, 310, 200, 34});
  add("bar", "pair", role::panel, "Zoom", {280, 50, 60, 34});
  add("pair", "in", role::pushButton, "", {280, 50, 30, 34});
  add("pair", "out", role::pushButton, "", {310, 50, 30, 34});
  add("frame", "tall", role::panel, "Canvas", {100, 100, 400, 200});
  add("tall", "low", role::pushButton, "", {100, 100, 400, 30});
  prepare();
  EXPECT_EQ(read("styles")->description, "Styles (Ctrl+2)");
  EXPECT_EQ(read("entry")->name, "Font Name");
  EXPECT_EQ(read("arrow")->name, "Font Name");
  EXPECT_THAT(read("choose")->labelledBy, ::testing::ElementsAre(app.ref("caption")));
  for (const char* id : {"in", "out", "low"}) {
    EXPECT_EQ(read(id)->name, "") << id;
  }
}

// A column that draws several things is a cell of cells, and a box to tick is only told by what can be done with it.
TEST_F(Gtk3, leavesOfARowWhatHasWordsOrCanBeTicked) {
  add("frame", "places", role::table, "", {110, 60, 200, 60});
  const struct {
    const char* id;
    const char* parent;
    const char* name;
    double y;
    std::vector<std::string> interfaces;
    std::vector<std::string> actions{"expand", "edit", "activate"};
  } cells[] = {
      {"column", "places", "", 60, {}},         {"icon", "column", "", 60, {"Image"}},
      {"home", "column", "home", 60, {"Text"}}, {"empty", "places", "", 60, {"Text"}},
      {"drawn", "places", "", 60, {}},          {"box", "places", "", 60, {}, {"tick", "expand", "edit", "go"}},
      {"alone", "places", "", 80, {"Image"}}};
  for (const auto& one : cells) {
    FakeElement& cell = add(one.parent, one.id, role::tableCell, one.name, {110, one.y, 100, 20});
    cell.interfaces = {"Component", "Action"};
    cell.interfaces.insert(cell.interfaces.end(), one.interfaces.begin(), one.interfaces.end());
    cell.actions = one.actions;
  }
  prepare();
  std::string shown;
  for (const FactsPointer& e : elements()) {
    shown += e->is(state::showing) && e->role == role::tableCell && !e->isNoChoice
                 ? ' ' + e->ref.text().substr(e->ref.text().rfind('/') + 1)
                 : "";
  }
  EXPECT_EQ(shown, " home box alone");
}

class Qt : public SourceFixture {};

// It tells nothing of the bars inside a list, and the cells below them say that they show.
TEST_F(Qt, endsListsAndTablesWhereTheirScrollBarsBegin) {
  const struct {
    const char* what;
    Rect first;
    Rect last;
    Size shown;  ///< of a view of 200 by 100
  } cases[] = {
      {"all has room", {101, 119, 90, 20}, {191, 159, 90, 20}, {200, 100}},
      {"beside a bar", {101, 119, 90, 20}, {191, 400, 95, 20}, {184, 100}},
      {"below the other bar too", {101, 119, 90, 20}, {191, 400, 100, 20}, {184, 84}},
      {"too wide", {101, 119, 90, 20}, {191, 149, 300, 20}, {200, 84}},
      {"scrolled to its end", {101, 110, 90, 20}, {191, 170, 95, 20}, {184, 100}},
  };
  for (const auto& one : cases) {
    app.at("frame").children.clear();
    add("frame", "view", role::table, "", {100, 100, 200, 100}).interfaces = {"Component", "Table"};
    add("view", "header", role::tableColumnHeader, "Name", {101, 101, 90, 18});
    add("view", "first", role::tableCell, "first", one.first);
    FakeElement& last = add("view", "last", role::tableCell, "last", one.last);
    last.states = one.last.y < 200 ? last.states : bit(state::visible);
    const SnapshotPointer taken = prepare();
    const Rect place = *read("view")->extents;
    EXPECT_EQ((Size{place.width, place.height}), one.shown) << one.what;
    EXPECT_EQ(*live().get(app.ref("view"), facts::extents)->extents, place) << "and read anew: " << one.what;
    for (const char* id : {"view", "header", "first", "last"}) {
      app.remove(id);
    }
  }
}

}  // namespace
}  // namespace jumplark::atspi
