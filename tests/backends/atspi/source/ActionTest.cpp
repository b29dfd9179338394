#include "backends/atspi/support/SourceFixture.h"

namespace jumplark::atspi {
namespace {

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
