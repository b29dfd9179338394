#include "backends/atspi/support/VocabularyFixture.h"

namespace jumplark::atspi {
namespace {

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

TEST_F(WebSearch, findsKindsInDocumentOrderEachThingOnce) {
  EXPECT_EQ(search(all, true), "title link go note") << "without a snapshot";
  platform.prepareSnapshot(source.ref("app"), false);
  EXPECT_EQ(search(all, true), "title link go note");
  EXPECT_EQ(search("AXLinkSearchKey", false), "link far gone");
  EXPECT_EQ(search("AXStaticTextSearchKey", true), "title word note");
  EXPECT_EQ(search("AXControlSearchKey", true), "go");
  EXPECT_EQ(search(all, true, 2), "title link");
  EXPECT_EQ(search("AXFrameSearchKey", false), "frame") << "nested documents only for who asks for frames";
}

TEST_F(WebSearch, refusesAParameterThatAsksForNothing) {
  const auto ask = [&](const AttributeValue& parameter) {
    return platform.copyParameterizedAttributeValue(source.ref("page"), "AXUIElementsForSearchPredicate", parameter)
        .error;
  };
  EXPECT_EQ(ask("AXLinkSearchKey"), AccessibilityError::illegalArgument);
  EXPECT_EQ(ask(AttributeValue::Dictionary{{"AXVisibleOnly", true}}), AccessibilityError::illegalArgument);
}

}  // namespace
}  // namespace jumplark::atspi
