#include "backends/atspi/support/SourceFixture.h"
#include "backends/linux/atspi/vocabulary/AtspiAccessibility.h"

namespace jumplark::atspi {
namespace {

class Snapshots : public SourceFixture {};

TEST_F(Snapshots, descendOnlyIntoWhatShows) {
  FakeElement hidden = element(role::panel, "hidden page");
  hidden.states = bit(state::visible);
  app.add("frame", "hidden", hidden);
  add("hidden", "inside", role::pushButton, "inside");
  prepare(true);
  EXPECT_EQ(names(), "hidden");
  EXPECT_TRUE(read("hidden")->has(facts::identity | facts::extents));
  EXPECT_FALSE(read("hidden")->extents.has_value());
  EXPECT_FALSE(app.wasAsked("Accessible.GetState inside"));
  prepare(false);
  EXPECT_EQ(names(), "hidden inside");
}

TEST_F(Snapshots, nameOtherWindowsAndReadThemOnlyOfAPanel) {
  add("root", "second", role::frame, "Another", {600, 50, 100, 100});
  add("second", "there", role::pushButton, "there");
  prepare();
  EXPECT_EQ(names(), "second");
  EXPECT_FALSE(app.wasAsked("Accessible.GetState there"));
  windows.windows[0].type = WindowType::dock;
  prepare(false);
  EXPECT_EQ(names(), "second there");
}

TEST_F(Snapshots, sayOfAStatusBarWithoutElementsThatItTellsNothing) {
  add("frame", "bar", role::statusBar, "", {100, 330, 200, 20});
  add("bar", "label", role::label, "Ready", {100, 330, 50, 20});
  prepare();
  EXPECT_EQ(source().report(*source().last).leftOut, std::vector<std::string>());
  app.at("bar").children.clear();
  prepare();
  EXPECT_EQ(source().report(*source().last).leftOut,
            std::vector<std::string>{"The status bar does not tell what is in it: use the menus instead."});
}

TEST_F(Snapshots, keepWhatIsReadLater) {
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

TEST_F(Snapshots, letWhatTheyLeftOutBeReadWithAllThatItHolds) {
  add("frame", "hidden", role::panel, "hidden page").states = 0;
  add("hidden", "group", role::panel, "group");
  add("group", "inside", role::radioButton, "inside");
  prepare();
  const auto group = view().facts(app.ref("group"), facts::identity | facts::children);
  ASSERT_TRUE(group.ok());
  const auto children = view().childrenOf(*group.value, facts::identity);
  ASSERT_EQ(children.size(), 1U);
  EXPECT_EQ(children[0] ? children[0]->role : 0, role::radioButton) << "it does not tell what shows in there";
}

TEST_F(Snapshots, areOfASandboxedApplicationToo) {
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

TEST_F(Snapshots, areNotKeptThatWereDroppedWhileTheyWereRead) {
  add("frame", "ok", role::pushButton, "OK");
  AtspiAccessibility platform(source(), windows);
  app.answerInstead([&platform](sd_bus_message*, const std::string& id, const std::string& member) {
    if (id == "ok" && member == "GetState") {
      platform.endSnapshot();
    }
    return false;
  });
  platform.prepareSnapshot(app.root(), true);
  EXPECT_EQ(source().last, nullptr);
  const size_t before = app.timesAsked("Accessible.GetRole ok");
  platform.copyAttributeValue(app.ref("ok"), "AXRole");
  EXPECT_GT(app.timesAsked("Accessible.GetRole ok"), before) << "read live";
}

class Actions : public SourceFixture {};

TEST_F(Actions, seeWhatHasChangedSinceTheSnapshot) {
  add("frame", "ok", role::pushButton, "OK", {110, 60, 80, 30});
  prepare();
  app.at("ok").name = "Done";
  const auto nameIn = [this](const View& view) { return view.facts(app.ref("ok"), facts::texts).value->name; };
  EXPECT_EQ(nameIn(view()), "OK");
  EXPECT_EQ(nameIn(live()), "Done");
  EXPECT_EQ(live().snapshotOf(app.ref("ok")), nullptr);
  EXPECT_EQ(nameIn(view()), "OK");
}

TEST_F(Actions, readTheirElementAnewAndTheRestWhereThatHasMoved) {
  add("frame", "box", role::panel, "box");
  add("box", "ok", role::pushButton, "OK", {110, 60, 80, 30});
  add("box", "beside", role::pushButton, "beside", {210, 60, 80, 30});
  prepare();
  const ReadScope scope = view().scopeOf(app.root());
  app.at("beside").name = "renamed";
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

  app.at("ok").rect = {110, 90, 80, 30};
  const auto moved = source().takeForAction(app.ref("ok"), scope);
  EXPECT_EQ(moved->find(app.ref("ok"))->extents, (Rect{110, 90, 80, 30}));
  EXPECT_EQ(nameIn(moved, "beside"), "unread");
}

/// A busy application is clicked where the user saw what he chose; nowhere else, and not at all what has gone.
TEST_F(Actions, takeWhatDoesNotAnswerForWhatItWas) {
  add("frame", "box", role::panel, "box", {100, 50, 300, 100});
  add("box", "ok", role::pushButton, "OK", {110, 60, 80, 30});
  add("box", "gone", role::pushButton, "Gone", {210, 60, 80, 30});
  prepare();
  const ReadScope scope = view().scopeOf(app.root());
  const ElementRef gone = app.ref("gone");
  app.remove("gone");
  EXPECT_FALSE(source().takeForAction(gone, scope)->find(gone));
  app.answerInstead([](sd_bus_message*, const std::string&, const std::string&) { return true; });
  const auto read = source().takeForAction(app.ref("ok"), scope);
  ASSERT_TRUE(read->find(app.ref("ok")));
  EXPECT_EQ(read->find(app.ref("ok"))->extents, (Rect{110, 60, 80, 30}));
  EXPECT_EQ(read->focusedWindow, app.ref("frame"));
}

TEST_F(Actions, askOnlyWhatHasAPlaceWhereItIs) {
  add("frame", "ok", role::pushButton, "OK", {110, 60, 80, 30});
  prepare();
  add("frame", "page", role::panel, "").interfaces = {};
  add("page", "new", role::pushButton, "New", {10, 10, 80, 30});
  app.at("ok").rect = {200, 60, 80, 30};
  const auto read = source().takeForAction(app.ref("ok"), view().scopeOf(app.root()));
  const View action = View::live(source(), {source().last}, read);
  const auto placeOf = [&](const ElementRef& ref) { return action.facts(ref, facts::extents).value->extents; };
  EXPECT_EQ(placeOf(app.ref("ok")), (Rect{200, 60, 80, 30}));
  EXPECT_EQ(placeOf(app.ref("new")), (Rect{10, 10, 80, 30}));
  EXPECT_EQ(placeOf(app.ref("page")), std::nullopt);
  EXPECT_EQ(placeOf(app.root()), std::nullopt);
}

}  // namespace
}  // namespace jumplark::atspi
