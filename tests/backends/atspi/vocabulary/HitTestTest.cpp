#include "backends/atspi/support/VocabularyFixture.h"

namespace jumplark::atspi {
namespace {

class HitTest : public AtspiVocabulary {
 protected:
  HitTest() {
    source.add("box", role::panel, "win", Rect{0, 0, 400, 300});
    source.add("below", role::pushButton, "box", Rect{10, 10, 100, 50});
    source.add("above", role::pushButton, "box", Rect{50, 10, 100, 50});
    source.add("face", role::label, "above", Rect{60, 20, 20, 20});
  }
  void snapshot() { platform.prepareSnapshot(source.ref("app"), true); }
};

TEST_F(HitTest, takesTheDeepestOfTheLastElementsThatHoldThePoint) {
  snapshot();
  EXPECT_EQ(hit(20, 20), "below");
  EXPECT_EQ(hit(100, 20), "above") << "drawn later, so on top";
  EXPECT_EQ(hit(65, 25), "face");
  EXPECT_EQ(hit(300, 200), "box");
  EXPECT_EQ(hit(110, 59), "above") << "the lower right edge belongs to nobody";
  EXPECT_EQ(hit(110, 60), "box");
  EXPECT_EQ(hit(900, 900), kNoValue);
}

TEST_F(HitTest, takesTheHeaderOfATableForWhatLiesOverItsRows) {
  source.add("table", role::table, "box", Rect{200, 0, 100, 100});
  source.add("header", role::tableColumnHeader, "table", Rect{200, 0, 100, 20});
  source.add("row", role::tableCell, "table", Rect{200, 12, 100, 20});
  snapshot();
  EXPECT_EQ(hit(210, 15), "header");
  EXPECT_EQ(hit(210, 25), "row");
}

TEST_F(HitTest, findsTheSameWithoutASnapshot) {
  EXPECT_EQ(hit(65, 25), "face");
  EXPECT_EQ(hit(20, 20), "below");
  EXPECT_EQ(hit(399, 299), "box");
}

TEST_F(HitTest, findsThePageOfATabWithoutASnapshot) {
  source.add("tabs", role::pageTabList, "win", Rect{0, 100, 400, 200});
  source.add("tab", role::pageTab, "tabs", Rect{0, 100, 50, 20});
  source.add("page", role::panel, "tab", Rect{0, 120, 400, 180});
  source.add("inside", role::pushButton, "page", Rect{10, 150, 50, 20});
  EXPECT_EQ(hit(20, 160), "inside");
}

TEST_F(HitTest, seesNothingOfACoveredWindow) {
  source.add("other", role::application, "");
  source.add("front", role::frame, "other", Rect{0, 0, 60, 60});
  source.processes[30] = source.ref("other");
  source.framesOnScreen.push_back({source.ref("front"), 3});
  windows.addInFront(3, 30, {0, 0, 60, 60});
  snapshot();
  EXPECT_EQ(hit(20, 20), "front");
  EXPECT_EQ(hit(20, 20, source.ref("app")), kNoValue);
  EXPECT_EQ(hit(100, 20, source.ref("app")), "above");
  EXPECT_EQ(hit(100, 20, source.ref("other")), kNoValue);
}

TEST_F(HitTest, keepsTheWindowsOfOneApplicationApart) {
  source.add("second", role::frame, "app", Rect{0, 0, 400, 300});
  source.add("late", role::pushButton, "second", Rect{10, 10, 100, 50});
  source.framesOnScreen.push_back({source.ref("second"), 4});
  snapshot();
  EXPECT_EQ(hit(20, 20), "below");
}

TEST_F(HitTest, findsAnOpenMenuInItsOwnWindowOnly) {
  source.add("menu", role::menu, "win", Rect{0, 0, 120, 80});
  source.add("item", role::menuItem, "menu", Rect{0, 0, 120, 20});
  windows.addInFront(9, 10, {0, 0, 120, 80}).isPopup = true;
  snapshot();
  EXPECT_EQ(hit(65, 10), "item");
  EXPECT_EQ(hit(65, 50), "menu") << "not the button behind it";
}

TEST_F(HitTest, clipsWhatIsScrolledAway) {
  source.add("pane", role::scrollPane, "win", Rect{200, 100, 100, 50});
  source.add("row", role::pushButton, "pane", Rect{200, 140, 100, 50});
  snapshot();
  EXPECT_EQ(hit(250, 145), "row");
  EXPECT_EQ(hit(250, 170), "box");
}

TEST_F(HitTest, asksWhetherTheHitIsStillThereUnlessTheSnapshotIsNew) {
  AtspiAccessibility trusting(source, windows, std::chrono::hours(1));
  trusting.prepareSnapshot(source.ref("app"), true);
  source.messages = 0;
  EXPECT_EQ(trusting.copyElementAtPosition(trusting.systemWideElement(), 65, 25).value, source.ref("face"));
  EXPECT_EQ(source.messages, 0);
  snapshot();
  const auto live = platform.live();
  source.at("above").extents = Rect{300, 200, 100, 50};
  source.gone.insert(source.ref("face").text());
  EXPECT_EQ(hitBy(*live, 65, 25), "below");
  source.liveError = AccessibilityError::cannotComplete;
  EXPECT_EQ(hitBy(*live, 20, 20), "-25204");
}

TEST_F(HitTest, remembersTheGeometryAfterTheSnapshotHasEnded) {
  snapshot();
  platform.endSnapshot();
  source.messages = 0;
  EXPECT_EQ(hit(65, 25), "face");
  EXPECT_EQ(source.messages, 1) << "only the hit itself is asked";
  source.at("box").children.clear();
  platform.prepareSnapshot(source.ref("app"), true);
  EXPECT_EQ(hit(65, 25), "box");
}

TEST_F(HitTest, findsNothingInWindowsThatNoApplicationOnTheBusOwns) {
  windows.windows.front().pid = 99;
  EXPECT_EQ(hit(20, 20), kNoValue);
  EXPECT_EQ(hit(20, 20, source.ref("app")), "below") << "in a sandbox the frame still knows its window";
}

}  // namespace
}  // namespace jumplark::atspi
