#include "backends/atspi/support/VocabularyFixture.h"

namespace jumplark::atspi {
namespace {

class TreeShape : public AtspiVocabulary {};

TEST_F(TreeShape, liftsTheMenuBarOutOfItsWindow) {
  source.add("box", role::filler, "win");
  source.add("bar", role::menuBar, "box");
  source.add("file", role::menu, "bar");
  source.add("body", role::panel, "box");
  EXPECT_EQ(list("box", "AXChildren"), "body");
  EXPECT_EQ(list("box", "AXVisibleChildren"), "body");
  EXPECT_EQ(list("app", "AXChildren"), "win bar");
  EXPECT_EQ(*get("app", "AXMenuBar").value.element(), source.ref("bar"));
  EXPECT_EQ(*get("bar", "AXParent").value.element(), source.ref("app"));
  EXPECT_EQ(*get("bar", "AXWindow").value.element(), source.ref("win"));
  EXPECT_EQ(list("bar", "AXChildren"), "file");
}

TEST_F(TreeShape, leavesOtherMenuBarsWhereTheyAre) {
  source.add("bar", role::menuBar, "win");
  source.add("page", role::documentWeb, "win");
  source.add("inner", role::menuBar, "page");
  EXPECT_EQ(list("page", "AXChildren"), "inner");
  EXPECT_EQ(*get("inner", "AXParent").value.element(), source.ref("page"));
}

TEST_F(TreeShape, showsThePageOfALoneTabThatIsHidden) {
  source.add("tabs", role::pageTabList, "win", Rect{0, 0, 400, 300});
  source.add("tab", role::pageTab, "tabs", std::nullopt);
  source.add("page", role::panel, "tab", Rect{0, 0, 400, 300});
  EXPECT_EQ(list("tabs", "AXVisibleChildren"), "page");
}

TEST_F(TreeShape, listsVisibleChildrenOfContainersOnly) {
  source.add("box", role::panel, "win");
  source.add("shown", role::pushButton, "box");
  FakeSource::hide(source.add("away", role::pushButton, "box"));
  source.add("nowhere", role::pushButton, "box", std::nullopt);
  EXPECT_EQ(list("box", "AXVisibleChildren"), "shown");
  EXPECT_EQ(list("box", "AXChildren"), "shown away nowhere");
  EXPECT_EQ(list("shown", "AXVisibleChildren"), kUnsupported);
  EXPECT_EQ(list("app", "AXVisibleChildren"), kUnsupported);
}

TEST_F(TreeShape, leavesOutWhatIsScrolledAway) {
  source.add("pane", role::scrollPane, "win", Rect{0, 100, 400, 50});
  source.add("content", role::panel, "pane", Rect{0, 60, 400, 1000});
  source.add("above", role::pushButton, "content", Rect{0, 70, 50, 20});
  source.add("partly", role::pushButton, "content", Rect{0, 90, 50, 20});
  source.add("below", role::pushButton, "content", Rect{0, 150, 50, 20});
  EXPECT_EQ(list("content", "AXVisibleChildren"), "partly");
  platform.prepareSnapshot(source.ref("app"), true);
  EXPECT_EQ(list("content", "AXVisibleChildren"), "partly");
}

TEST_F(TreeShape, standsAPopoverWhereItsWindowHoldsIt) {
  source.add("button", role::toggleButton, "win");
  source.add("inside", role::panel, "button");
  source.add("popover", role::panel, "win");
  source.at("popover").parent = source.ref("button");
  EXPECT_EQ(*get("popover", "AXParent").value.element(), source.ref("win"));
  EXPECT_EQ(*get("inside", "AXParent").value.element(), source.ref("button"));
}

TEST_F(TreeShape, readsLargeTablesPageByPage) {
  auto& table = source.add("table", role::table, "win");
  for (int i = 0; i < 400; ++i) {
    source.add("c" + std::to_string(i), role::tableCell, "table");
  }
  table.childrenAreVisibleOnly = true;
  EXPECT_EQ(platform.attributeValueCount(source.ref("table"), "AXRows").value, 400);
  source.messages = 0;
  const auto page = platform.copyAttributeValues(source.ref("table"), "AXRows", 390, 50);
  EXPECT_EQ(ids(page.value), "c390 c391 c392 c393 c394 c395 c396 c397 c398 c399");
  EXPECT_LT(source.messages, 10);
}

TEST_F(TreeShape, survivesParentsThatRunInACircle) {
  source.add("a", role::panel, "win");
  source.add("b", role::panel, "a");
  source.at("a").parent = source.ref("b");
  EXPECT_TRUE(get("b", "AXWindow").ok());
  source.add("document", role::documentWeb, "b");
  platform.prepareSnapshot(source.ref("app"), true);
  EXPECT_TRUE(platform
                  .copyParameterizedAttributeValue(
                      source.ref("document"), "AXUIElementsForSearchPredicate",
                      AttributeValue::Dictionary{{"AXSearchKey", "AXLinkSearchKey"}, {"AXVisibleOnly", true}})
                  .ok());
}

}  // namespace
}  // namespace jumplark::atspi
