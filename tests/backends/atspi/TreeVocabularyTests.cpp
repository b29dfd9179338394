#include "VocabularyFixture.h"

namespace jumplark::atspi {
namespace {

TEST_F(AtspiVocabulary, LiftsTheMenuBarOutOfItsWindow) {
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

TEST_F(AtspiVocabulary, LeavesOtherMenuBarsWhereTheyAre) {
  source.add("bar", role::menuBar, "win");
  source.add("page", role::documentWeb, "win");
  source.add("inner", role::menuBar, "page");
  EXPECT_EQ(list("page", "AXChildren"), "inner");
  EXPECT_EQ(*get("inner", "AXParent").value.element(), source.ref("page"));
}

TEST_F(AtspiVocabulary, ShowsThePageOfALoneTabThatIsHidden) {
  source.add("tabs", role::pageTabList, "win", Rect{0, 0, 400, 300});
  source.add("tab", role::pageTab, "tabs", std::nullopt);
  source.add("page", role::panel, "tab", Rect{0, 0, 400, 300});
  EXPECT_EQ(list("tabs", "AXVisibleChildren"), "page");
}

TEST_F(AtspiVocabulary, ListsVisibleChildrenOfContainersOnly) {
  source.add("box", role::panel, "win");
  source.add("shown", role::pushButton, "box");
  FakeSource::hide(source.add("away", role::pushButton, "box"));
  source.add("nowhere", role::pushButton, "box", std::nullopt);
  EXPECT_EQ(list("box", "AXVisibleChildren"), "shown");
  EXPECT_EQ(list("box", "AXChildren"), "shown away nowhere");
  EXPECT_EQ(list("shown", "AXVisibleChildren"), kUnsupported);
  EXPECT_EQ(list("app", "AXVisibleChildren"), kUnsupported);
}

TEST_F(AtspiVocabulary, LeavesOutWhatIsScrolledAwayAlthoughItSaysThatItShows) {
  source.add("pane", role::scrollPane, "win", Rect{0, 100, 400, 50});
  source.add("content", role::panel, "pane", Rect{0, 60, 400, 1000});
  source.add("above", role::pushButton, "content", Rect{0, 70, 50, 20});
  source.add("partly", role::pushButton, "content", Rect{0, 90, 50, 20});
  source.add("below", role::pushButton, "content", Rect{0, 150, 50, 20});
  EXPECT_EQ(list("content", "AXVisibleChildren"), "partly");
  platform.prepareSnapshot(source.ref("app"), true);
  EXPECT_EQ(list("content", "AXVisibleChildren"), "partly");
}

TEST_F(AtspiVocabulary, StandsAPopoverWhereItsWindowHoldsIt) {
  source.add("button", role::toggleButton, "win");
  source.add("inside", role::panel, "button");
  source.add("popover", role::panel, "win");
  source.at("popover").parent = source.ref("button");
  EXPECT_EQ(*get("popover", "AXParent").value.element(), source.ref("win"));
  EXPECT_EQ(*get("inside", "AXParent").value.element(), source.ref("button"));
}

TEST_F(AtspiVocabulary, ReadsLargeTablesPageByPage) {
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

TEST_F(AtspiVocabulary, SurvivesParentsThatRunInACircle) {
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

class WebSearch : public AtspiVocabulary {
 protected:
  WebSearch() {
    source.add("page", role::documentWeb, "win", Rect{0, 50, 400, 250});
    source.add("title", role::heading, "page", Rect{0, 60, 300, 20}).name = "Title";
    source.add("run", role::staticText, "title", Rect{0, 60, 300, 20}).name = "Title";
    source.add("section", role::section, "page", Rect{0, 80, 400, 100});
    source.add("link", role::link, "section", Rect{0, 80, 50, 20});
    source.add("word", role::staticText, "link", Rect{0, 80, 50, 20}).name = "More";
    source.add("go", role::pushButton, "section", Rect{0, 100, 50, 20});
    source.add("note", role::staticText, "section", Rect{0, 120, 50, 20}).name = "Note";
    source.add("far", role::link, "section", Rect{0, 900, 50, 20});
    FakeSource::hide(source.add("gone", role::link, "section"));
    source.add("frame", role::documentWeb, "section", Rect{0, 150, 100, 50});
    source.add("inner", role::link, "frame", Rect{0, 150, 50, 20});
    source.add("outside", role::link, "win", Rect{0, 60, 50, 20});
  }
  std::string search(AttributeValue keys, bool visibleOnly, int limit = 1000) {
    const auto found = platform.copyParameterizedAttributeValue(
        source.ref("page"), "AXUIElementsForSearchPredicate",
        AttributeValue::Dictionary{
            {"AXSearchKey", std::move(keys)}, {"AXVisibleOnly", visibleOnly}, {"AXResultsLimit", limit}});
    return found.ok() ? ids(*found.value.list()) : std::to_string(static_cast<int>(found.error));
  }
  const AttributeValue::List all{"AXLinkSearchKey", "AXButtonSearchKey", "AXStaticTextSearchKey"};
};

TEST_F(WebSearch, FindsKindsInDocumentOrderEachThingOnce) {
  platform.prepareSnapshot(source.ref("app"), false);
  EXPECT_EQ(search(all, true), "title link go note");
  EXPECT_EQ(search("AXLinkSearchKey", false), "link far gone");
  EXPECT_EQ(search("AXStaticTextSearchKey", true), "title word note");
  EXPECT_EQ(search("AXControlSearchKey", true), "go");
  EXPECT_EQ(search(all, true, 2), "title link");
}

TEST_F(WebSearch, GivesNestedDocumentsOnlyWhenAskedForFrames) {
  platform.prepareSnapshot(source.ref("app"), true);
  EXPECT_EQ(search("AXFrameSearchKey", false), "frame");
}

TEST_F(WebSearch, FindsTheSameWithoutASnapshot) {
  EXPECT_EQ(search(all, true), "title link go note");
}

TEST_F(WebSearch, RefusesAParameterThatAsksForNothing) {
  const auto ask = [&](const AttributeValue& parameter) {
    return platform.copyParameterizedAttributeValue(source.ref("page"), "AXUIElementsForSearchPredicate", parameter)
        .error;
  };
  EXPECT_EQ(ask("AXLinkSearchKey"), AccessibilityError::illegalArgument);
  EXPECT_EQ(ask(AttributeValue::Dictionary{{"AXVisibleOnly", true}}), AccessibilityError::illegalArgument);
}

}  // namespace
}  // namespace jumplark::atspi
