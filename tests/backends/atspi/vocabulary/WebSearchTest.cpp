#include "backends/atspi/support/VocabularyFixture.h"

namespace jumplark::atspi {
namespace {

class WebSearch : public AtspiVocabulary {
 protected:
  WebSearch() {
    add("frame", "page", role::documentWeb, "", {0, 50, 400, 250});
    add("page", "title", role::heading, "", {0, 60, 300, 20}).name = "Title";
    add("title", "run", role::staticText, "", {0, 60, 300, 20}).name = "Title";
    add("page", "section", role::section, "", {0, 80, 400, 100});
    add("section", "link", role::link, "", {0, 80, 50, 20});
    add("link", "word", role::staticText, "", {0, 80, 50, 20}).name = "More";
    add("section", "go", role::pushButton, "", {0, 100, 50, 20});
    add("section", "note", role::staticText, "", {0, 120, 50, 20}).name = "Note";
    add("section", "far", role::link, "", {0, 900, 50, 20});
    add("section", "gone", role::link).states = bit(state::visible);
    add("section", "nested", role::documentWeb, "", {0, 150, 100, 50});
    add("nested", "inner", role::link, "", {0, 150, 50, 20});
    add("frame", "outside", role::link, "", {0, 60, 50, 20});
  }
  std::string search(AttributeValue keys, bool visibleOnly, int limit = 1000) {
    const auto found = platform.copyParameterizedAttributeValue(
        app.ref("page"), "AXUIElementsForSearchPredicate",
        AttributeValue::Dictionary{
            {"AXSearchKey", std::move(keys)}, {"AXVisibleOnly", visibleOnly}, {"AXResultsLimit", limit}});
    return found.ok() ? ids(*found.value.list()) : std::to_string(static_cast<int>(found.error));
  }
  const AttributeValue::List all{"AXLinkSearchKey", "AXButtonSearchKey", "AXStaticTextSearchKey"};
};

TEST_F(WebSearch, findsKindsInDocumentOrderEachThingOnce) {
  EXPECT_EQ(search(all, true), "title link go note") << "without a snapshot";
  snapshot(false);
  EXPECT_EQ(search(all, true), "title link go note");
  EXPECT_EQ(search("AXLinkSearchKey", false), "link far gone");
  EXPECT_EQ(search("AXStaticTextSearchKey", true), "title word note");
  EXPECT_EQ(search("AXControlSearchKey", true), "go");
  EXPECT_EQ(search(all, true, 2), "title link");
  EXPECT_EQ(search({}, true), "-25201") << "for nothing";
  EXPECT_EQ(search("AXFrameSearchKey", false), "nested") << "nested documents only for who asks for frames";
}

}  // namespace
}  // namespace jumplark::atspi
