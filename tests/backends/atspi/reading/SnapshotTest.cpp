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

}  // namespace
}  // namespace jumplark::atspi
