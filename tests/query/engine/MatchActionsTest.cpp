#include "query/engine/EngineFixture.h"

namespace jumplark::testing {
namespace {

TEST(MatchActions, returnClicksTheMatchThatKeysHaveSelected) {
  EngineFixture fixture;
  fixture.user("shortcut +1 's +101");
  ASSERT_EQ(fixture.matches(), (Strings{"Save", "Save as", "Search"}));
  fixture.user("Control-u");
  EXPECT_EQ(fixture.selected(), "Search") << "its label";
  fixture.user("Tab");
  EXPECT_EQ(fixture.selected(), "Save");
  fixture.user("Shift-Tab Shift-Tab");
  EXPECT_EQ(fixture.selected(), "Save as");
  fixture.window().setMarkedText(true);
  fixture.user("Return Escape Tab F5");
  EXPECT_EQ(fixture.selected(), "Save as") << "an input method that is composing keeps its keys";
  EXPECT_EQ(fixture.reports("enumeration"), 1U);
  fixture.window().setMarkedText(false);
  fixture.user("Return");
  EXPECT_FALSE(fixture.isActive());
  EXPECT_EQ(fixture.clicks(), (std::vector<Point>{{170, 211}}));
  const MetricData expected = {{"bundle_id", "org.example.editor"},
                               {"query_length", 1},
                               {"element", fixture.desktop.element("saveas")->metricDictionary()},
                               {"total_matches", 3},
                               {"selection_index", 1},
                               {"duration_ms", 103.0}};  // with the millisecond that a tap takes to start
  EXPECT_EQ(fixture.metrics.eventsNamed("action.default"), std::vector<MetricData>{expected});
  fixture.user("+1000");
  EXPECT_FALSE(fixture.isActive()) << "not modal";
}

TEST(MatchActions, withoutAQueryReturnClicksWhereThePointerIsAndWithoutAMatchItBeeps) {
  EngineFixture fixture;
  fixture.user("shortcut +1 tap +1000 Return");
  EXPECT_FALSE(fixture.isActive());
  EXPECT_EQ(fixture.clicks(), (std::vector<Point>{{700, 849}}));
  EXPECT_EQ(fixture.metrics.eventsNamed("action.click.no-target"), std::vector<MetricData>{{}});
  const size_t pointerEvents = fixture.desktop->input().postedMouseEvents().size();
  fixture.user("shortcut 'zzz +200 Return tap");
  EXPECT_TRUE(fixture.isActive());
  EXPECT_EQ(fixture.desktop->input().beepCount(), 1);
  fixture.user("tap");
  EXPECT_FALSE(fixture.isActive()) << "focusing nothing only ends";
  EXPECT_EQ(fixture.desktop->input().postedMouseEvents().size(), pointerEvents);
  EXPECT_EQ(fixture.reports("action.focus"), 0U);
}

TEST(MatchActions, tapsOfControlMoveThePointerAndThenFocus) {
  EngineFixture fixture;
  fixture.user("shortcut +1 'name +101 tap");
  ASSERT_EQ(fixture.desktop->input().postedMouseEvents().size(), 1U);
  EXPECT_EQ(fixture.desktop->input().postedMouseEvents()[0].event.position, (Point{170, 311}));
  EXPECT_TRUE(fixture.isActive());
  const std::vector<MetricData> ofName = {{{"element", fixture.desktop.element("name")->metricDictionary()}}};
  EXPECT_EQ(fixture.metrics.eventsNamed("action.mouse-over"), ofName);
  fixture.user("tap");
  EXPECT_FALSE(fixture.isActive());
  const auto operations = fixture.desktop->accessibility().operations();
  ASSERT_FALSE(operations.empty());
  EXPECT_EQ(operations.back().name, "AXFocused");
  EXPECT_EQ(operations.back().element.text(), "name");
  EXPECT_EQ(fixture.metrics.eventsNamed("action.focus"), ofName);
  EXPECT_EQ(fixture.clicks().size(), 0U);
}

TEST(MatchActions, waitForTheMatchesUnlessTheTextChanges) {
  const std::vector<std::pair<const char*, size_t>> clicksAfter = {
      {"", 1}, {"'s", 0}, {"'s BackSpace", 0}, {"Tab", 1}, {"Escape", 0}, {"elsewhere", 0}, {"Return", 1}};
  for (const auto& [meanwhile, clicks] : clicksAfter) {
    EngineFixture fixture;
    fixture.user("shortcut +1 'save");
    const Duration before = fixture.desktop->queues().monotonicNow();
    fixture.user("Return");
    EXPECT_EQ(fixture.desktop->queues().monotonicNow(), before) << meanwhile << ": the main thread does not wait";
    EXPECT_TRUE(fixture.isActive()) << meanwhile;
    fixture.user("+50");
    fixture.user(meanwhile);
    EXPECT_EQ(fixture.clicks().size(), 0U) << meanwhile;
    fixture.user("+2000");
    EXPECT_EQ(fixture.clicks().size(), clicks) << meanwhile;
    EXPECT_EQ(fixture.reports("action.default"), clicks) << meanwhile;
  }
}

TEST(MatchActions, aLetterInTheMomentOfTheMatchesStillCancels) {
  EngineFixture fixture;
  fixture.user("shortcut +1 'save Return");
  const Token token = fixture.engine->completedQuery()
                          .observe()
                          .deliverOn(fixture.desktop->queues().mainQueue())
                          .filter([](const auto& query) { return query.text == "save"; })
                          .subscribe([&](const auto&) { fixture.window().typeText("s"); });
  fixture.user("+2000");
  EXPECT_EQ(fixture.window().text(), "saves");
  EXPECT_TRUE(fixture.isActive());
  EXPECT_EQ(fixture.clicks().size(), 0U);
}

TEST(MatchActions, theSameQueryOfTheActivationBeforeDoesNotCount) {
  EngineFixture fixture;
  fixture.user("shortcut +1 'save +101 elsewhere");
  fixture.desktop->accessibility().setDelay("save", 10);
  fixture.user("shortcut");
  ASSERT_EQ(fixture.completedQuery(), "save") << "the snapshot takes its time";
  fixture.user("'save Return");
  EXPECT_EQ(fixture.desktop->input().beepCount(), 0);
  fixture.user("+1000");
  EXPECT_EQ(fixture.clicks().size(), 1U);
}

TEST(MatchActions, inModalModeTheNextActivationFollowsUnlessOneTypesIntoOrChoosesFromTheElement) {
  const std::vector<std::pair<const char*, bool>> reopensAfter = {
      {"AXTextField", false}, {"AXTextArea", false}, {"AXPopUpButton", false}, {"AXMenuBarItem", false},
      {"AXButton", true},     {"AXComboBox", true},  {"AXMenuItem", true}};
  for (const auto& [role, reopens] : reopensAfter) {
    EngineFixture fixture;
    fixture.desktop->defaults().setValue("ModalModeEnabled", true);
    fixture.desktop->accessibility().setAttribute("search", "AXRole", role);
    fixture.engine->maybeReactivateAfterActioningElement(fixture.desktop.element("search"));
    fixture.user("+9");
    EXPECT_FALSE(fixture.isActive()) << role;
    fixture.user("+2");
    EXPECT_EQ(fixture.isActive(), reopens) << role;
  }
  EngineFixture fixture;
  fixture.desktop->defaults().setValue("ModalModeEnabled", true);
  fixture.user("shortcut 'search +200 Return +9");
  EXPECT_FALSE(fixture.isActive());
  fixture.user("+500");
  EXPECT_TRUE(fixture.window().isKey());
  EXPECT_EQ(fixture.matches(), Strings()) << "nothing is typed yet";
}

}  // namespace
}  // namespace jumplark::testing
