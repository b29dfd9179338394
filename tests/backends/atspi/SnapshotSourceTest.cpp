#include <gmock/gmock.h>

#include "backends/atspi/SourceFixture.h"

namespace jumplark::atspi {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST_F(SourceFixture, ASnapshotAnswersWithoutAskingTheApplicationAgain) {
  app.add("frame", "box", element(role::filler, "", {100, 50, 400, 100}));
  app.add("box", "ok", element(role::pushButton, "OK", {110, 60, 80, 30}));
  app.add("box", "caption", element(role::label, "Name:"));
  FakeElement entry = element(role::entry, "");
  entry.interfaces = {"Component", "Text", "EditableText"};
  entry.text = "typed";
  entry.labelledBy = {"caption"};
  app.add("frame", "entry", entry);
  prepare();

  const int before = app.peer().received();
  constexpr facts::Set kAll = facts::identity | facts::texts | facts::extents | facts::children | facts::relations |
                              facts::attributes | facts::value | facts::text | facts::localizedRole;
  for (const char* id : {"frame", "box", "ok", "caption", "entry"}) {
    EXPECT_TRUE(view().facts(app.ref(id), kAll).ok()) << id;
  }
  EXPECT_EQ(names(), "box ok caption entry");
  const auto ok = read("ok");
  EXPECT_EQ(ok->name, "OK");
  EXPECT_EQ(ok->extents, (Rect{110, 60, 80, 30}));
  EXPECT_EQ(ok->parent, app.ref("box"));
  EXPECT_THAT(read("box")->children, ElementsAre(app.ref("ok"), app.ref("caption")));
  EXPECT_EQ(read("entry")->shortText, "typed");
  EXPECT_THAT(read("entry")->labelledBy, ElementsAre(app.ref("caption")));
  EXPECT_EQ(view().focusedWindow(app.root()), app.ref("frame"));
  EXPECT_EQ(view().application(getpid()), app.root());
  ASSERT_EQ(view().frames(app.root()).size(), 1U);
  EXPECT_EQ(view().frames(app.root())[0].window.id, 7U);
  EXPECT_EQ(app.peer().received(), before);
}

TEST_F(SourceFixture, OnlyWhatShowsIsDescendedInto) {
  FakeElement hidden = element(role::panel, "hidden page");
  hidden.states = bit(state::visible);
  app.add("frame", "hidden", hidden);
  app.add("hidden", "inside", element(role::pushButton, "inside"));
  prepare(true);
  EXPECT_EQ(names(), "hidden");
  EXPECT_TRUE(read("hidden")->has(facts::identity | facts::extents));
  EXPECT_FALSE(read("hidden")->extents.has_value());
  EXPECT_FALSE(app.wasAsked("Accessible.GetState inside"));
  prepare(false);
  EXPECT_EQ(names(), "hidden inside");
}

TEST_F(SourceFixture, OtherWindowsAreNamedButNotRead) {
  app.add("root", "second", element(role::frame, "Another", {600, 50, 100, 100}));
  app.add("second", "there", element(role::pushButton, "there"));
  prepare();
  EXPECT_EQ(names(), "second");
  EXPECT_FALSE(app.wasAsked("Accessible.GetState there"));
}

TEST_F(SourceFixture, EveryFrameOfAPanelIsRead) {
  app.add("root", "second", element(role::frame, "Another", {600, 50, 100, 100}));
  app.add("second", "there", element(role::pushButton, "there"));
  windows.windows[0].type = WindowType::dock;
  prepare(false);
  EXPECT_EQ(names(), "second there");
}

TEST_F(SourceFixture, TheItemsOfAMenuBarAreReadButNotTheirMenus) {
  app.add("frame", "box", element(role::filler, ""));
  app.add("box", "bar", element(role::menuBar, ""));
  app.add("bar", "file", element(role::menu, "File"));
  app.add("file", "open", element(role::menuItem, "Open"));
  for (const bool visibleOnly : {true, false}) {
    prepare(visibleOnly);
    EXPECT_EQ(names(), "box bar file");
    EXPECT_EQ(view().menuBar(app.ref("frame")), app.ref("bar"));
    EXPECT_THAT(read("file")->children, IsEmpty());
  }
  EXPECT_FALSE(app.wasAsked("Accessible.GetState open"));
}

TEST_F(SourceFixture, APasswordIsNeverRead) {
  FakeElement password = element(role::passwordText, "Password");
  password.interfaces = {"Component", "Text", "EditableText", "Value"};
  password.text = "secret";
  app.add("frame", "password", password);
  prepare();
  EXPECT_EQ(read("password")->shortText, "");
  const auto facts = live().facts(app.ref("password"), facts::text | facts::value);
  ASSERT_TRUE(facts.ok());
  EXPECT_EQ(facts.value->shortText, "");
  EXPECT_EQ(live().textInRange(app.ref("password"), 0, 6).error, AccessibilityError::attributeUnsupported);
  EXPECT_EQ(live().visibleTextRange(app.ref("password")).error, AccessibilityError::attributeUnsupported);
  EXPECT_FALSE(app.wasAsked("Text.GetText password"));
}

TEST_F(SourceFixture, ALiveViewSeesWhatHasChangedSince) {
  app.add("frame", "ok", element(role::pushButton, "OK", {110, 60, 80, 30}));
  prepare();
  app.set("ok", element(role::pushButton, "Done", {10, 10, 80, 30}));
  const auto nameIn = [this](const View& view) { return view.facts(app.ref("ok"), facts::texts).value->name; };
  EXPECT_EQ(nameIn(view()), "OK");
  EXPECT_EQ(nameIn(live()), "Done");
  EXPECT_EQ(live().snapshotOf(app.ref("ok")), nullptr);
  EXPECT_EQ(nameIn(view()), "OK");
}

TEST_F(SourceFixture, AnActionReadsItsElementAnewAndTheRestWhereThatHasMoved) {
  app.add("frame", "box", element(role::panel, "box"));
  app.add("box", "ok", element(role::pushButton, "OK", {110, 60, 80, 30}));
  app.add("box", "beside", element(role::pushButton, "beside", {210, 60, 80, 30}));
  prepare();
  const ReadScope scope = view().scopeOf(app.root());
  app.set("beside", element(role::pushButton, "renamed", {210, 60, 80, 30})).parent = "box";
  const auto nameIn = [this](const SnapshotPointer& read, const std::string& id) {
    const FactsPointer facts = read->find(app.ref(id));
    return facts ? facts->name : "unread";
  };
  const size_t before = app.timesAsked("Accessible.GetState beside");
  const auto unmoved = source().takeForAction(app.ref("ok"), scope);
  EXPECT_EQ(nameIn(unmoved, "ok"), "OK");
  EXPECT_EQ(nameIn(unmoved, "beside"), "beside");
  EXPECT_EQ(app.timesAsked("Accessible.GetState beside"), before);
  EXPECT_EQ(unmoved->focusedWindow, app.ref("frame"));
  const ElementTree& tree = unmoved->tree;
  const int ok = tree.find(app.ref("ok"));
  ASSERT_NE(ok, ElementTree::kNone);
  EXPECT_EQ(tree[tree[ok].parent].facts->ref, app.ref("box"));

  app.set("ok", element(role::pushButton, "OK", {110, 90, 80, 30})).parent = "box";
  const auto moved = source().takeForAction(app.ref("ok"), scope);
  EXPECT_EQ(moved->find(app.ref("ok"))->extents, (Rect{110, 90, 80, 30}));
  EXPECT_EQ(nameIn(moved, "beside"), "unread");
}

TEST_F(SourceFixture, AnActionAsksOnlyWhatHasAPlaceWhereItIs) {
  app.add("frame", "ok", element(role::pushButton, "OK", {110, 60, 80, 30}));
  prepare();
  app.add("frame", "page", element(role::panel, "")).interfaces = {};
  app.add("page", "new", element(role::pushButton, "New", {10, 10, 80, 30}));
  app.set("ok", element(role::pushButton, "OK", {200, 60, 80, 30})).parent = "frame";
  const auto read = source().takeForAction(app.ref("ok"), view().scopeOf(app.root()));
  const View action = View::live(source(), {source().last}, read);
  const auto placeOf = [&](const ElementRef& ref) { return action.facts(ref, facts::extents).value->extents; };
  EXPECT_EQ(placeOf(app.ref("ok")), (Rect{200, 60, 80, 30}));
  EXPECT_EQ(placeOf(app.ref("new")), (Rect{10, 10, 80, 30}));
  EXPECT_EQ(placeOf(app.ref("page")), std::nullopt);
  EXPECT_EQ(placeOf(app.root()), std::nullopt);
}

TEST_F(SourceFixture, GroupsThatASnapshotLacksAreReadOnceAndKept) {
  FakeElement hidden = element(role::panel, "hidden page");
  hidden.states = 0;
  app.add("frame", "hidden", hidden);
  prepare();
  ASSERT_FALSE(read("hidden")->has(facts::relations));
  EXPECT_TRUE(view().facts(app.ref("hidden"), facts::relations).ok());
  const int before = app.peer().received();
  EXPECT_TRUE(view().facts(app.ref("hidden"), facts::relations | facts::identity).ok());
  EXPECT_EQ(app.peer().received(), before);
  EXPECT_EQ(read("hidden")->parent, app.ref("frame"));
}

TEST_F(SourceFixture, WhatASnapshotLeftOutIsReadWithAllThatItHolds) {
  app.add("frame", "hidden", element(role::panel, "hidden page")).states = 0;
  app.add("hidden", "group", element(role::panel, "group"));
  app.add("group", "inside", element(role::radioButton, "inside"));
  prepare();
  const auto group = view().facts(app.ref("group"), facts::identity | facts::children);
  ASSERT_TRUE(group.ok());
  const auto children = view().childrenOf(*group.value, facts::identity);
  ASSERT_EQ(children.size(), 1U);
  EXPECT_EQ(children[0] ? children[0]->role : 0, role::radioButton) << "it does not tell what shows in there";
}

TEST_F(SourceFixture, OfALargeTableTheVisibleRowsAreRead) {
  FakeElement table = element(role::table, "", {100, 50, 400, 200});
  table.interfaces = {"Component", "Table"};
  table.columns = 2;
  app.add("frame", "table", table);
  for (int i = 0; i < 1000; ++i) {
    const int row = i / 2;
    const Rect rect{100.0 + i % 2 * 200, 50.0 + row * 20, 200, 20};
    app.add("table", "cell" + std::to_string(i), element(role::tableCell, "cell", rect));
  }
  prepare();
  const auto read = this->read("table");
  EXPECT_TRUE(read->childrenAreVisibleOnly);
  EXPECT_EQ(read->childCount, 1000);
  ASSERT_EQ(read->children.size(), 24U);  // ten rows of 20 pixels and two more, two columns
  EXPECT_EQ(read->children.front(), app.ref("cell0"));
  EXPECT_EQ(read->children.back(), app.ref("cell23"));
  EXPECT_FALSE(app.wasAsked("Accessible.GetChildren table"));
  const auto page = view().childrenInRange(app.ref("table"), 500, 3);
  EXPECT_THAT(page.value, ElementsAre(app.ref("cell500"), app.ref("cell501"), app.ref("cell502")));
}

TEST_F(SourceFixture, ASandboxedApplicationIsFoundByItsXClientOrByItsWindows) {
  constexpr int32_t kInside = 999'999;  // the process as its own namespace counts it
  windows.windows[0].pid = kInside;
  EXPECT_EQ(source().application(kInside), app.root()) << "by the process that holds the windows' connection";
  windows.windows[0].connectionPid = kInside;
  EXPECT_EQ(source().application(kInside), app.root()) << "by title and place";
  prepare();
  EXPECT_EQ(view().focusedWindow(app.root()), app.ref("frame"));
  windows.windows[0].pid = windows.windows[0].connectionPid = kInside + 1;
  windows.windows[0].title = "Something else";
  EXPECT_EQ(source().application(kInside + 1), ElementRef());
  EXPECT_EQ(source().application(kInside + 2), ElementRef());
}

// As Qt tells it: rows that were scrolled below the header, and tabs below the buttons of their row, say that they
// show.
TEST_F(SourceFixture, WhatQtDrawsSomethingOverIsHidden) {
  app.add("frame", "tree", element(role::tree, "", {100, 100, 300, 100}));
  app.add("tree", "header", element(role::tableColumnHeader, "Name", {101, 101, 100, 18}));
  app.add("tree", "number", element(role::tableRowHeader, "1", {101, 119, 20, 14}));
  const std::vector<std::pair<const char*, Rect>> items{{"above", {130, 91, 80, 14}},  {"below", {130, 105, 80, 14}},
                                                        {"half", {130, 112, 80, 14}},  {"left", {101, 140, 19, 14}},
                                                        {"right", {110, 140, 80, 14}}, {"beside", {300, 102, 80, 14}}};
  for (const auto& [name, rect] : items) {
    app.add("tree", name, element(role::tableCell, name, rect));
  }
  app.add("frame", "row", element(role::pageTabList, "", {100, 210, 200, 30}));
  app.add("row", "first", element(role::pageTab, "first", {100, 210, 120, 30}));
  app.add("row", "second", element(role::pageTab, "second", {220, 210, 40, 30}));
  app.add("row", "third", element(role::pageTab, "third", {270, 210, 120, 30}));
  app.add("row", "back", element(role::pushButton, "back", {265, 210, 20, 30}));
  app.add("row", "forth", element(role::pushButton, "forth", {285, 210, 15, 30}));
  prepare();
  std::string shown;
  for (const FactsPointer& e : elements()) {
    shown += e->is(state::showing) && e->extents ? ' ' + e->name : "";
  }
  EXPECT_EQ(shown, " Window  Name 1 half right  first second back forth");
}

TEST_F(SourceFixture, TheButtonForWhatAQtToolBarHasNoRoomForHasAName) {
  app.add("frame", "bar", element(role::toolBar, "Main"));
  app.add("bar", "extension", element(role::checkBox, ""));
  app.add("bar", "bold", element(role::checkBox, ""));
  app.add("frame", "other", element(role::toolBar, "Other"));
  app.add("other", "named", element(role::checkBox, "Italic"));
  app.add("frame", "popup", element(role::toolBar, "In no main window"));
  app.add("popup", "menu", element(role::pushButton, ""));
  prepare();
  for (const char* id : {"extension", "menu"}) {
    EXPECT_EQ(read(id)->name, "More") << id;
    EXPECT_EQ(read(id)->description, ">>") << id;
  }
  EXPECT_EQ(read("bold")->name, "");
  EXPECT_EQ(read("named")->name, "Italic");
}

}  // namespace
}  // namespace jumplark::atspi
