#include "backends/atspi/support/VocabularyFixture.h"

namespace jumplark::atspi {
namespace {

class HitTest : public AtspiVocabulary {
 protected:
  HitTest() {
    add("frame", "box", role::panel, "", {0, 0, 400, 300});
    add("box", "below", role::pushButton, "", {10, 10, 100, 50});
    add("box", "above", role::pushButton, "", {50, 10, 100, 50});
    add("above", "face", role::label, "", {60, 20, 20, 20});
  }
  std::string hit(double x, double y, const ElementRef& within = {}) { return hitBy(platform, x, y, within); }
  static std::string hitBy(AccessibilityPlatform& by, double x, double y, const ElementRef& within = {}) {
    const auto found = by.copyElementAtPosition(within ? within : by.systemWideElement(), static_cast<float>(x),
                                                static_cast<float>(y));
    return found.ok() ? idOf(found.value) : std::to_string(static_cast<int>(found.error));
  }
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
  add("box", "table", role::table, "", {200, 0, 100, 100});
  add("table", "header", role::tableColumnHeader, "", {200, 0, 100, 20});
  add("table", "row", role::tableCell, "", {200, 12, 100, 20});
  snapshot();
  EXPECT_EQ(hit(210, 15), "header");
  EXPECT_EQ(hit(210, 25), "row");
}

TEST_F(HitTest, findsTheSameWithoutASnapshot) {
  EXPECT_EQ(hit(65, 25), "face");
  EXPECT_EQ(hit(20, 20), "below");
  EXPECT_EQ(hit(399, 299), "box");
}

TEST_F(HitTest, seesNothingOfACoveredWindow) {
  windows.addInFront(3, 99, {0, 0, 60, 60});
  snapshot();
  for (const ElementRef& within : {ElementRef(), app.root()}) {
    EXPECT_EQ(hit(20, 20, within), kNoValue);
    EXPECT_EQ(hit(100, 20, within), "above");
  }
}

TEST_F(HitTest, findsAnOpenMenuInItsOwnWindowOnly) {
  add("frame", "menu", role::menu, "", {0, 0, 120, 80});
  add("menu", "item", role::menuItem, "", {0, 0, 120, 20});
  windows.addInFront(9, getpid(), {0, 0, 120, 80}).isPopup = true;
  snapshot();
  EXPECT_EQ(hit(65, 10), "item");
  EXPECT_EQ(hit(65, 50), "menu") << "not the button behind it";
}

TEST_F(HitTest, clipsWhatIsScrolledAway) {
  add("frame", "pane", role::scrollPane, "", {200, 100, 100, 50});
  add("pane", "row", role::pushButton, "", {200, 140, 100, 50});
  snapshot();
  EXPECT_EQ(hit(250, 145), "row");
  EXPECT_EQ(hit(250, 170), "box");
}

TEST_F(HitTest, asksWhetherTheHitIsStillThereUnlessTheSnapshotIsNew) {
  AtspiAccessibility trusting(source(), windows, std::chrono::hours(1));
  trusting.prepareSnapshot(app.root(), true);
  int before = app.peer().received();
  EXPECT_EQ(hitBy(trusting, 65, 25), "face");
  EXPECT_EQ(app.peer().received(), before);
  snapshot();
  const auto live = platform.live();
  app.at("above").rect = {300, 200, 100, 50};
  app.remove("face");
  EXPECT_EQ(hitBy(*live, 65, 25), "below");
  source().setMessagingTimeout(0.05);
  app.peer().hang();
  EXPECT_EQ(hitBy(*live, 20, 20), kLate);
}

TEST_F(HitTest, remembersTheGeometryAfterTheSnapshotHasEnded) {
  snapshot();
  platform.endSnapshot();
  const size_t before = app.timesAsked("Accessible.GetState above");
  EXPECT_EQ(hit(65, 25), "face");
  EXPECT_EQ(app.timesAsked("Accessible.GetState above"), before) << "only the hit itself is asked";
  app.at("box").children.clear();
  snapshot();
  EXPECT_EQ(hit(65, 25), "box");
}

}  // namespace
}  // namespace jumplark::atspi
