#include <gtest/gtest.h>

#include "query/engine/EngineFixture.h"
#include "tree/JLElementTree.h"

namespace jumplark::testing {
namespace {

using Strings = std::vector<std::string>;

size_t snapshotsTaken(EngineFixture& fixture) {
  return fixture.metrics.eventsNamed("enumeration").size();
}

TEST(QueryPipeline, MatchesWhatIsTypedAfterTheQuietIntervalAndIsWorkingOnlyWithoutACompletedQuery) {
  EngineFixture fixture;
  EXPECT_TRUE(fixture.engine->isWorking().value()) << "no completed query is unequal to the empty one";
  fixture.open();
  EXPECT_FALSE(fixture.engine->isWorking().value());
  EXPECT_TRUE(fixture.window().isKey());
  EXPECT_EQ(fixture.completedQuery(), "") << "matches of the empty query are in place";
  fixture.type("sa");
  EXPECT_FALSE(fixture.engine->isWorking().value()) << "typing alone does not count";
  fixture.advance(milliseconds(99));
  EXPECT_TRUE(fixture.matches().empty());
  fixture.advance(milliseconds(2));
  EXPECT_EQ(fixture.matches(), (Strings{"Save", "Save as"}));
  EXPECT_EQ(fixture.selected(), "Save");
  EXPECT_EQ(fixture.completedQuery(), "sa");
  EXPECT_FALSE(fixture.engine->isWorking().value());
  EXPECT_EQ(fixture.desktop->views().overlay().shownLayers().size(), 2U);
  const auto snapshots = fixture.metrics.eventsNamed("enumeration");
  ASSERT_EQ(snapshots.size(), 1U) << "one for the tree and the matching together, none for a keystroke";
  EXPECT_EQ(snapshots[0].at("bundle_id"), AttributeValue("org.example.editor"));
  EXPECT_EQ(snapshots[0].at("element_count"), AttributeValue(7)) << "the application, its window and what is in it";
  EXPECT_TRUE(snapshots[0].contains("duration_ms"));
  fixture.typeAndSettle("zzz");
  EXPECT_TRUE(fixture.matches().empty());
  EXPECT_FALSE(fixture.desktop->views().overlay().visible());
  fixture.press(key_code::escape);
  EXPECT_TRUE(fixture.engine->isWorking().value());
}

TEST(QueryPipeline, ANewerKeystrokeReplacesThePendingOne) {
  EngineFixture fixture;
  fixture.open();
  Strings completed;
  const Token token = fixture.engine->completedQuery().observe().skip(1).subscribe(
      [&](const auto& query) { completed.push_back(query.text.value_or("(none)")); });
  fixture.type("s");
  fixture.advance(milliseconds(60));
  fixture.type("e");
  fixture.advance(milliseconds(99));
  EXPECT_TRUE(completed.empty());
  fixture.advance(milliseconds(2));
  EXPECT_EQ(completed, (Strings{"se"})) << "matched once, with both letters";
  EXPECT_EQ(fixture.matches().front(), "Search");
  fixture.onMain([&] { fixture.window().pressBackspace(); });
  fixture.onMain([&] { fixture.window().typeText("e"); });
  fixture.advance(milliseconds(101));
  EXPECT_EQ(completed, (Strings{"se", "se"}));
}

TEST(QueryPipeline, RefreshTakesANewSnapshotAndMatchesTheQueryAgain) {
  struct Case {
    const char* name;
    std::function<void(EngineFixture&)> refresh;
    size_t snapshots;
  };
  const uint64_t command = modifier_flag::command;
  const std::vector<Case> cases = {
      {"Command-R", [=](auto& f) { f.pressCharacter("r", command); }, 2},
      {"on a Cyrillic layout",
       [=](auto& f) { f.onMain([&] {
                        f.window().press(KeyEvent{0x10072, command, "к", "r", false});
                      }); }, 2},
      {"F5", [](auto& f) { f.press(key_code::f5); }, 2},
      {"three at once",
       [](auto& f) {
         f.onMain(
             [&] { f.window().press(key_code::f5), f.window().press(key_code::f5), f.window().press(key_code::f5); });
       },
       2},
      {"Command-Shift-R", [=](auto& f) { f.pressCharacter("r", command | modifier_flag::shift); }, 1},
      {"Command-T", [=](auto& f) { f.pressCharacter("t", command); }, 1},
      {"Option-F5", [](auto& f) { f.press(key_code::f5, modifier_flag::option); }, 1},
  };
  for (const Case& c : cases) {
    EngineFixture fixture;
    fixture.open();
    fixture.typeAndSettle("save");
    ASSERT_EQ(fixture.matches().size(), 2U) << c.name;
    fixture.desktop->accessibility().setAttribute("search", "AXTitle", "Saved searches");
    c.refresh(fixture);
    fixture.advance(milliseconds(1));
    EXPECT_EQ(snapshotsTaken(fixture), c.snapshots) << c.name;
    EXPECT_EQ(fixture.matches().size(), c.snapshots == 2 ? 3U : 2U) << c.name;
    EXPECT_EQ(fixture.window().text(), "save") << c.name;
  }
}

void readSlowly(EngineFixture& fixture) {
  fixture.desktop->accessibility().setDelay("save", 20);
}

TEST(QueryPipeline, AResultOfAnEndedActivationReachesNothing) {
  struct Case {
    const char* name;
    std::function<void(EngineFixture&)> act;  ///< up to the moment of Escape
  };
  const std::vector<Case> cases = {
      {"while the snapshot is taken",
       [](auto& f) {
         readSlowly(f);
         f.hotkey();
         f.type("save");
         f.advance(milliseconds(30));
       }},
      {"before the quiet interval is over",
       [](auto& f) {
         f.open();
         f.type("save");
         f.advance(milliseconds(50));
       }},
      {"before anything has run",
       [](auto& f) {
         f.hotkey();
         f.type("save");
       }},
      {"while its matches are handed over",
       [](auto& f) {
         f.open();
         readSlowly(f);
         f.typeAndSettle(".");
       }},
      {"while its search waits for a refresh",
       [](auto& f) {
         f.open();
         readSlowly(f);
         f.type("save");
         f.advance(milliseconds(90));
         f.press(key_code::f5);
         f.advance(milliseconds(20));
       }},
  };
  for (const Case& c : cases) {
    EngineFixture fixture;
    c.act(fixture);
    const Duration before = fixture.desktop->queues().monotonicNow();
    fixture.press(key_code::escape);
    EXPECT_EQ(fixture.desktop->queues().monotonicNow(), before) << c.name << ": ending waits for nothing";
    EXPECT_FALSE(fixture.window().isVisible()) << c.name;
    const uint64_t messages = fixture.desktop->accessibility().messageCount();
    fixture.advance(milliseconds(2000));
    EXPECT_LE(fixture.desktop->accessibility().messageCount(), messages + 10) << c.name << ": of one element at most";
    EXPECT_TRUE(fixture.matches().empty()) << c.name;
    EXPECT_EQ(fixture.selected(), "") << c.name;
    EXPECT_FALSE(fixture.overlayShows()) << c.name;
    EXPECT_EQ(fixture.completedQuery(), "(none)") << c.name;
    EXPECT_EQ(fixture.engine->currentTree().value(), nullptr) << c.name;
    EXPECT_FALSE(fixture.window().isVisible()) << c.name;
  }
}

TEST(QueryPipeline, TheNextActivationIsNotDisturbedByTheOneBefore) {
  EngineFixture fixture;
  fixture.desktop->accessibility().setDelay("save", 30);
  fixture.hotkey();
  fixture.type("save");
  fixture.advance(milliseconds(40));
  fixture.press(key_code::escape);
  fixture.desktop->workspace().activate(502, 0);
  fixture.hotkey();
  EXPECT_TRUE(fixture.window().isKey()) << "though the queue still reads the first target";
  fixture.type("send");
  fixture.advance(milliseconds(2000));
  EXPECT_EQ(fixture.matches(), (Strings{"Send"}));
  EXPECT_TRUE(fixture.window().isKey());
  EXPECT_EQ(fixture.window().text(), "send");
  EXPECT_EQ(fixture.window().timesShown(), 2);
}

TEST(QueryPipeline, AQueryOfTheActivationBeforeIsNotMatchedAgain) {
  EngineFixture fixture;
  fixture.open();
  fixture.typeAndSettle("save");
  fixture.hotkey();
  fixture.open();
  fixture.advance(milliseconds(20));
  EXPECT_TRUE(fixture.matches().empty()) << "the field is empty";
  EXPECT_EQ(fixture.completedQuery(), "");
}

TEST(QueryPipeline, SaysInOneLineWhyThereIsNothingToChoose) {
  const auto desktopWith = [](const std::string& application) {
    return R"({"screens":[[0,0,1000,800]],"frontmost":7,"applications":[{"pid":7,"bundle_id":"b","name":"Plan","element":"a"}],
              "elements":{"a":)" +
           application +
           R"(,"w":{"attributes":{"AXRole":"AXWindow","AXParent":{"ref":"a"}}},
              "v":{"attributes":{"AXRole":"AXWindow","AXParent":{"ref":"a"},"AXChildren":[{"ref":"x"}],
                   "AXPosition":{"point":[0,0]},"AXSize":{"size":[500,400]}}},
              "x":{"attributes":{"AXRole":"AXButton","AXTitle":"Go","AXParent":{"ref":"v"},
                   "AXPosition":{"point":[10,10]},"AXSize":{"size":[50,20]}}}}})";
  };
  struct Case {
    const char* application;
    const char* notice;
    const char* advice = "";
  };
  const std::vector<Case> cases = {
      {R"({"attributes":{"AXRole":"AXApplication"},"delay_ms":900})", "Plan does not answer; F5 asks it again."},
      {R"({"error":-25202})", "Plan does not tell what it shows; starting it again may help."},
      {R"({"attributes":{"AXRole":"AXApplication","AXFocusedWindow":{"ref":"w"}}})",
       "Plan shows nothing that can be chosen here."},
      {R"({"attributes":{"AXRole":"AXApplication","AXFocusedWindow":{"ref":"v"}}})", "", "Not needed."},
      {R"({"error":-25202})", "Plan does not tell what it shows. Wrap it.", "Wrap it."},
      {R"({"attributes":{"AXRole":"AXApplication","AXFocusedWindow":{"ref":"w"}}})",
       "Plan shows nothing that can be chosen here. Wrap it.", "Wrap it."},
  };
  for (const Case& c : cases) {
    EngineFixture fixture(desktopWith(c.application));
    fixture.desktop->services().advice = c.advice;
    fixture.hotkey();
    EXPECT_TRUE(fixture.window().isKey()) << c.notice << ": shown at once, whatever the target does";
    fixture.advance(std::chrono::seconds(60));
    EXPECT_EQ(fixture.window().notice(), c.notice);
    fixture.typeAndSettle("zzz");
    EXPECT_EQ(fixture.window().notice(), c.notice) << "that nothing matches is no reason for one";
    fixture.press(key_code::escape);
    EXPECT_EQ(fixture.window().notice(), "");
  }
}

TEST(QueryPipeline, AnnouncesTheSelectedMatchOnce) {
  EngineFixture fixture;
  fixture.open();
  fixture.typeAndSettle("sa");
  fixture.press(key_code::tab);
  fixture.press(key_code::f5);
  fixture.advance(milliseconds(10));
  fixture.typeAndSettle("zz");
  EXPECT_EQ(fixture.window().announcements(), (Strings{"Save, A", "Save as, E", "Save, A", ""}));
}

}  // namespace
}  // namespace jumplark::testing
