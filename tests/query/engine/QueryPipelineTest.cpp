#include "query/engine/EngineFixture.h"

namespace jumplark::testing {
namespace {

TEST(QueryPipeline, matchesWhatIsTypedOnceTheQuietIntervalIsOver) {
  EngineFixture fixture;
  EXPECT_TRUE(fixture.engine->isWorking().value()) << "no completed query is unequal to the empty one";
  fixture.user("shortcut +1");
  EXPECT_FALSE(fixture.engine->isWorking().value());
  EXPECT_EQ(fixture.completedQuery(), "") << "matches of the empty query are in place";
  Strings completed;
  const Token token = fixture.engine->completedQuery().observe().skip(1).subscribe(
      [&](const auto& query) { completed.push_back(query.text.value_or("(none)")); });
  fixture.user("'s +60 'a +99");
  EXPECT_FALSE(fixture.engine->isWorking().value()) << "typing alone does not count";
  EXPECT_EQ(completed, Strings());
  EXPECT_EQ(fixture.matches(), Strings());
  fixture.user("+2");
  EXPECT_EQ(completed, Strings{"sa"}) << "both letters at once";
  EXPECT_EQ(fixture.matches(), (Strings{"Save", "Save as"}));
  EXPECT_EQ(fixture.selected(), "Save");
  EXPECT_EQ(fixture.shownBoxes(), 2U);
  const auto snapshots = fixture.metrics.eventsNamed("enumeration");
  ASSERT_EQ(snapshots.size(), 1U) << "one for the tree and the matching together, none for a keystroke";
  EXPECT_EQ(snapshots[0].at("bundle_id"), AttributeValue("org.example.editor"));
  EXPECT_EQ(snapshots[0].at("element_count"), AttributeValue(6)) << "the application, its window and what is in it";
  EXPECT_TRUE(snapshots[0].contains("duration_ms"));
  fixture.user("Tab F5 +10 'zzz +101");
  EXPECT_EQ(fixture.matches(), Strings());
  EXPECT_FALSE(fixture.desktop->views().overlay().visible());
  EXPECT_EQ(fixture.window().announcements(), (Strings{"Save, A", "Save as, E", "Save, A", ""}));
  fixture.user("Escape");
  EXPECT_TRUE(fixture.engine->isWorking().value());
}

TEST(QueryPipeline, isSeenToWorkOnASlowTargetAndReadsItAnewForARefresh) {
  EngineFixture fixture;
  fixture.desktop->accessibility().setDelay("save", 60);
  fixture.user("shortcut +150");
  EXPECT_EQ(fixture.window().spinnerOpacity(), 1);
  fixture.user("+5000 'save +101");
  EXPECT_EQ(fixture.window().spinnerOpacity(), 0);
  fixture.desktop->accessibility().setAttribute("search", "AXTitle", "Saved searches");
  fixture.onMain([&] {
    for (int i = 0; i < 3; ++i) {
      fixture.window().press(key_code::f5);
    }
  });
  fixture.user("+150");
  EXPECT_EQ(fixture.window().spinnerOpacity(), 1);
  fixture.user("+5000");
  EXPECT_EQ(fixture.window().spinnerOpacity(), 0);
  EXPECT_EQ(fixture.reports("enumeration"), 2U) << "three at once are one";
  EXPECT_EQ(fixture.matches().size(), 3U);
  fixture.desktop->accessibility().setAttribute("search", "AXTitle", "What a menu has hidden");
  fixture.user("menusclose +5000");
  EXPECT_EQ(fixture.matches().size(), 2U) << "as if the user had asked for it";
  fixture.user("Escape menusclose +5000");
  EXPECT_EQ(fixture.reports("enumeration"), 3U);
}

TEST(QueryPipeline, aResultOfAnEndedActivationReachesNothing) {
  // The moment of Escape; how long a read takes at first, what the user does then, and the same once more.
  const std::vector<std::tuple<const char*, double, const char*, double, const char*>> cases = {
      {"while the snapshot is taken", 20, "shortcut", 20, "'save +30"},
      {"before the quiet interval is over", 0, "shortcut +1", 0, "'save +50"},
      {"before anything has run", 0, "shortcut", 0, "'save"},
      {"while its matches are handed over", 0, "shortcut +1", 20, "'. +101"},
      {"while its search waits for a refresh", 0, "shortcut +1", 20, "'save +90 F5 +20"},
  };
  for (const auto& [moment, firstDelay, first, nextDelay, next] : cases) {
    EngineFixture fixture;
    RecordedAccessibility& accessibility = fixture.desktop->accessibility();
    accessibility.setDelay("save", firstDelay);
    fixture.user(first);
    accessibility.setDelay("save", nextDelay);
    fixture.user(next);
    const Duration before = fixture.desktop->queues().monotonicNow();
    fixture.user("Escape");
    EXPECT_EQ(fixture.desktop->queues().monotonicNow(), before) << moment << ": ending waits for nothing";
    const uint64_t messages = accessibility.messageCount();
    fixture.user("+2000");
    EXPECT_LE(accessibility.messageCount(), messages + 10) << moment << ": of one element at most";
    EXPECT_EQ(fixture.matches(), Strings()) << moment;
    EXPECT_EQ(fixture.selected(), "") << moment;
    EXPECT_EQ(fixture.shownBoxes(), 0U) << moment;
    EXPECT_EQ(fixture.completedQuery(), "(none)") << moment;
    EXPECT_EQ(fixture.engine->currentTree().value(), nullptr) << moment;
    EXPECT_FALSE(fixture.window().isVisible()) << moment;
  }
}

TEST(QueryPipeline, theActivationBeforeDisturbsNothing) {
  EngineFixture fixture;
  fixture.desktop->accessibility().setDelay("save", 30);
  fixture.user("shortcut 'save +40 Escape");
  fixture.desktop->workspace().activate(2, 0);
  fixture.user("shortcut");
  EXPECT_TRUE(fixture.window().isKey()) << "though the queue still reads the first target";
  fixture.user("'send +2000");
  EXPECT_EQ(fixture.matches(), Strings{"Send"});
  EXPECT_EQ(fixture.window().timesShown(), 2);
  fixture.onMain([&] {
    EXPECT_FALSE(fixture.engine->hotkeyPressed());
    EXPECT_TRUE(fixture.engine->hotkeyPressed()) << "before anything has heard that the window was hidden";
  });
  fixture.user("+200");
  EXPECT_TRUE(fixture.window().isKey());
  EXPECT_EQ(fixture.matches(), Strings()) << "the field is empty";
  EXPECT_EQ(fixture.window().spinnerOpacity(), 0);
  fixture.user("'send +101");
  EXPECT_EQ(fixture.window().announcements(), (Strings{"Send, A", "Send, A"}));
}

TEST(QueryPipeline, saysInOneLineWhyThereIsNothingToChoose) {
  const std::string windowAlone = DesktopText::of(R"(
    a AXApplication bundle=Plan AXFocusedWindow=@w
      w AXWindow 0,0/500,400
    dock AXApplication
      d AXDockItem 0,900/50,50 AXTitle="Files"
  )");
  const std::string nothing = "Plan shows nothing that can be chosen here.";
  const auto fine = AccessibilityError::success;
  const auto gone = AccessibilityError::invalidElement;
  const std::vector<std::tuple<std::string, AccessibilityError, const char*, std::string>> cases = {
      {kEditorDesktop, fine, "Not needed.", ""},
      {windowAlone, AccessibilityError::cannotComplete, "", "Plan does not answer; F5 asks it again."},
      {windowAlone, gone, "", "Plan does not tell what it shows; starting it again may help."},
      {windowAlone, gone, "Wrap it.", "Plan does not tell what it shows. Wrap it."},
      {windowAlone, fine, "", nothing},
      {windowAlone, fine, "Wrap it.", nothing + " Wrap it."},
  };
  for (const auto& [desktop, error, advice, notice] : cases) {
    EngineFixture fixture(desktop);
    if (error != fine) {
      fixture.desktop->accessibility().setError("a", error);
    }
    fixture.desktop->services().advice = advice;
    fixture.user("shortcut +60000");
    EXPECT_EQ(fixture.window().notice(), notice);
    fixture.user("'zzz +101");
    EXPECT_EQ(fixture.window().notice(), notice) << "that nothing matches is no reason for one";
    fixture.user("Escape");
    EXPECT_EQ(fixture.window().notice(), "");
  }
}

TEST(QueryPipeline, readsAPageAgainThatTellsNothingYetUntilItDoesOrTimeIsUp) {
  const std::string waiting = "Plan is only just beginning to tell what its page holds; it is read again by itself.";
  const std::string browser = DesktopText::of(R"(
    a AXApplication bundle=Plan AXFocusedWindow=@w
      w AXWindow 0,0/500,400
        reload AXButton 0,0/50,20 AXTitle="Reload"
        page AXWebArea 0,20/500,380
          link AXLink 0,20/500,380 AXTitle="Relations"
  )");
  EngineFixture fixture(browser);
  fixture.desktop->accessibility().setError("link", AccessibilityError::invalidElement);
  fixture.user("shortcut +1");
  EXPECT_EQ(fixture.window().notice(), waiting);
  fixture.user("'rel +500");
  EXPECT_EQ(fixture.matches(), Strings{"Reload"});
  EXPECT_EQ(fixture.window().notice(), waiting) << "it still tells nothing";
  fixture.desktop->accessibility().setError("link", AccessibilityError::success);
  fixture.user("+1000");
  EXPECT_EQ(fixture.matches(), (Strings{"Relations", "Reload"}));
  EXPECT_EQ(fixture.window().notice(), "");
  const size_t snapshots = fixture.reports("enumeration");
  fixture.user("+60000");
  EXPECT_EQ(fixture.reports("enumeration"), snapshots);

  fixture.desktop->accessibility().setError("link", AccessibilityError::invalidElement);
  fixture.user("Escape shortcut +60000");
  EXPECT_EQ(fixture.window().notice(), "") << "an empty page is one at last";
  fixture.user("Escape +1 shortcut +1 Escape");
  const size_t before = fixture.reports("enumeration");
  fixture.user("+60000");
  EXPECT_EQ(fixture.reports("enumeration"), before) << "nothing is read after the end";
}

}  // namespace
}  // namespace jumplark::testing
