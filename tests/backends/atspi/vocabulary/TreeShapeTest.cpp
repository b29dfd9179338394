#include "backends/atspi/support/VocabularyFixture.h"

namespace jumplark::atspi {
namespace {

class TreeShape : public AtspiVocabulary {};

TEST_F(TreeShape, liftsTheMenuBarOutOfItsWindow) {
  add("frame", "box", role::filler);
  add("box", "bar", role::menuBar);
  add("bar", "file", role::menu);
  add("box", "body", role::panel);
  EXPECT_EQ(list("box", "AXChildren"), "body");
  EXPECT_EQ(list("box", "AXVisibleChildren"), "body");
  EXPECT_EQ(list("root", "AXChildren"), "frame bar");
  EXPECT_EQ(text("root", "AXMenuBar"), "bar");
  app.at("root").parent = "all";
  EXPECT_EQ(text("root", "AXParent"), kNoValue) << "no list of all applications";
  EXPECT_EQ(text("bar", "AXParent"), "root");
  EXPECT_EQ(text("bar", "AXWindow"), "frame");
  EXPECT_EQ(list("bar", "AXChildren"), "file");
}

TEST_F(TreeShape, leavesOtherMenuBarsWhereTheyAre) {
  add("frame", "bar", role::menuBar);
  add("frame", "page", role::documentWeb);
  add("page", "inner", role::menuBar);
  EXPECT_EQ(list("page", "AXChildren"), "inner");
  EXPECT_EQ(text("inner", "AXParent"), "page");
}

TEST_F(TreeShape, showsThePageOfALoneTabThatIsHidden) {
  add("frame", "tabs", role::pageTabList, "", {0, 0, 400, 300});
  add("tabs", "tab", role::pageTab).interfaces = {};
  add("tab", "page", role::panel, "", {0, 0, 400, 300});
  EXPECT_EQ(list("tabs", "AXVisibleChildren"), "page");
}

TEST_F(TreeShape, listsVisibleChildrenOfContainersOnly) {
  add("frame", "box", role::panel);
  add("box", "shown", role::pushButton);
  add("box", "away", role::pushButton).states = bit(state::visible);
  add("box", "nowhere", role::pushButton).interfaces = {};
  EXPECT_EQ(list("box", "AXVisibleChildren"), "shown");
  EXPECT_EQ(list("box", "AXChildren"), "shown away nowhere");
  EXPECT_EQ(list("shown", "AXVisibleChildren"), kUnsupported);
  EXPECT_EQ(list("root", "AXVisibleChildren"), kUnsupported);
}

TEST_F(TreeShape, leavesOutWhatIsScrolledAwayButForAnEdge) {
  add("frame", "pane", role::scrollPane, "", {0, 100, 200, 50});
  add("pane", "content", role::panel, "", {0, 60, 400, 1000});
  const struct {
    const char* id;
    Rect place;
    std::optional<Rect> seen{};  ///< none where it is not worth a box
    uint32_t number = role::pushButton;
  } cases[] = {{"above", {0, 70, 50, 20}},
               {"partly", {0, 90, 50, 20}, Rect{0, 100, 50, 10}},
               {"edge", {0, 87, 50, 20}},
               {"side", {193, 110, 50, 20}},
               {"sliver", {190, 110, 101, 20}},
               {"tenth", {190, 110, 100, 20}, Rect{190, 110, 10, 20}},
               {"small", {10, 120, 6, 6}, Rect{10, 120, 6, 6}},
               {"vast", {0, 0, 5000, 5000}, Rect{0, 100, 200, 50}},
               {"group", {0, 148, 50, 20}, Rect{0, 148, 50, 20}, role::panel},
               {"below", {0, 150, 50, 20}}};
  std::string seen;
  for (const auto& one : cases) {
    add("content", one.id, one.number, "", one.place);
    seen += one.seen ? (seen.empty() ? "" : " ") + std::string(one.id) : "";
  }
  for (const bool isSnapshot : {false, true}) {
    EXPECT_EQ(list("content", "AXVisibleChildren"), seen) << isSnapshot;
    for (const auto& one : cases) {
      if (one.seen) {
        EXPECT_EQ(*get(one.id, "AXPosition").value.point(), (Point{one.seen->x, one.seen->y})) << one.id;
        EXPECT_EQ(*get(one.id, "AXSize").value.size(), (Size{one.seen->width, one.seen->height})) << one.id;
      }
    }
    snapshot();
  }
}

TEST_F(TreeShape, standsAPopoverWhereItsWindowHoldsIt) {
  add("frame", "button", role::toggleButton);
  add("button", "inside", role::panel);
  add("frame", "popover", role::panel);
  app.at("popover").parent = "button";
  EXPECT_EQ(text("popover", "AXParent"), "frame");
  EXPECT_EQ(text("inside", "AXParent"), "button");
}

TEST_F(TreeShape, readsLargeTablesPageByPage) {
  add("frame", "table", role::table).interfaces = {"Component", "Table"};
  for (int i = 0; i < 600; ++i) {
    add("table", "c" + std::to_string(i), role::tableCell);
  }
  EXPECT_EQ(platform.attributeValueCount(app.ref("table"), "AXRows").value, 600);
  const auto page = platform.copyAttributeValues(app.ref("table"), "AXRows", 595, 50);
  EXPECT_EQ(ids(page.value), "c595 c596 c597 c598 c599");
  EXPECT_FALSE(app.wasAsked("Accessible.GetChildren table"));
}

TEST_F(TreeShape, survivesParentsThatRunInACircle) {
  add("frame", "a", role::panel);
  add("a", "b", role::panel);
  app.at("a").parent = "b";
  EXPECT_TRUE(get("b", "AXWindow").ok());
  add("b", "document", role::documentWeb);
  snapshot();
  EXPECT_TRUE(platform
                  .copyParameterizedAttributeValue(
                      app.ref("document"), "AXUIElementsForSearchPredicate",
                      AttributeValue::Dictionary{{"AXSearchKey", "AXLinkSearchKey"}, {"AXVisibleOnly", true}})
                  .ok());
}

}  // namespace
}  // namespace jumplark::atspi
