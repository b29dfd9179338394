#include <gtest/gtest.h>

#include "query/engine/EngineFixture.h"

namespace jumplark::testing {
namespace {

using Strings = std::vector<std::string>;

TEST(Keys, MoveTheSelection) {
  struct Case {
    const char* name;
    std::function<void(EngineFixture&)> press;
    const char* selected;
  };
  const auto control = [](const char* letter) {
    return [letter](EngineFixture& f) { f.pressCharacter(letter, modifier_flag::control); };
  };
  const auto tab = [](uint64_t flags) { return [flags](EngineFixture& f) { f.press(key_code::tab, flags); }; };
  const std::vector<Case> cases = {
      {"Tab", tab(0), "Save as"},
      {"Shift-Tab", tab(modifier_flag::shift), "Search"},
      {"Command-Tab", tab(modifier_flag::command), "Save"},
      {"Option-Tab", tab(modifier_flag::option), "Save"},
      {"Control-U, a label", control("u"), "Search"},
      {"the same on a Cyrillic layout",
       [](auto& f) { f.onMain([&] {
                       f.window().press(KeyEvent{0x10075, modifier_flag::control, "г", "u", false});
                     }); },
       "Search"},
      {"Control-Shift-U", [](auto& f) { f.pressCharacter("U", modifier_flag::control | modifier_flag::shift); },
       "Save"},
  };
  for (const Case& c : cases) {
    EngineFixture fixture;
    fixture.open();
    fixture.typeAndSettle("s");
    ASSERT_EQ(fixture.matches(), (Strings{"Save", "Save as", "Search"})) << c.name;
    c.press(fixture);
    EXPECT_EQ(fixture.selected(), c.selected) << c.name;
    EXPECT_EQ(fixture.window().text(), "s") << c.name << ": no key of these is text";
  }
}

TEST(Keys, AComposingInputMethodKeepsItsKeys) {
  EngineFixture fixture;
  fixture.open();
  fixture.typeAndSettle("save");
  fixture.window().setMarkedText(true);
  for (const int64_t key : {key_code::returnKey, key_code::escape, key_code::tab, key_code::f5}) {
    fixture.press(key);
  }
  fixture.advance(milliseconds(300));
  EXPECT_TRUE(fixture.isActive());
  EXPECT_TRUE(fixture.clicks().empty());
  EXPECT_EQ(fixture.metrics.eventsNamed("enumeration").size(), 1U);
  fixture.window().setMarkedText(false);
  fixture.press(key_code::escape);
  EXPECT_FALSE(fixture.isActive());
}

TEST(Return, ClicksTheSelectedMatchOfTheTarget) {
  EngineFixture fixture;
  fixture.open();
  fixture.typeAndSettle("save");
  fixture.press(key_code::tab);
  ASSERT_EQ(fixture.selected(), "Save as");
  fixture.press(key_code::returnKey);
  EXPECT_FALSE(fixture.isActive());
  const auto clicks = fixture.clicks();
  ASSERT_EQ(clicks.size(), 1U);
  EXPECT_EQ(clicks[0].position, (Point{170, 211}));
  const auto events = fixture.metrics.eventsNamed("action.default");
  ASSERT_EQ(events.size(), 1U);
  EXPECT_EQ(events[0].size(), 6U);
  EXPECT_EQ(events[0].at("bundle_id"), AttributeValue("org.example.editor"));
  EXPECT_EQ(events[0].at("query_length"), AttributeValue(4));
  EXPECT_EQ(events[0].at("total_matches"), AttributeValue(2));
  EXPECT_EQ(events[0].at("selection_index"), AttributeValue(1));
  EXPECT_DOUBLE_EQ(*events[0].at("duration_ms").number(), 103.0) << "with the millisecond that a tap takes to start";
  EXPECT_EQ(events[0].at("element"), AttributeValue(fixture.desktop.element("saveas")->metricDictionary()));
  fixture.advance(std::chrono::seconds(1));
  EXPECT_FALSE(fixture.isActive()) << "not modal";
}

TEST(Return, WithoutAQueryClicksWhereThePointerIs) {
  EngineFixture fixture;
  fixture.open();
  fixture.press(key_code::returnKey);
  EXPECT_FALSE(fixture.isActive());
  ASSERT_EQ(fixture.clicks().size(), 1U);
  EXPECT_EQ(fixture.clicks()[0].position, (Point{700, 849}));
  EXPECT_EQ(fixture.metrics.eventsNamed("action.click.no-target"), std::vector<MetricData>{{}});
}

struct Meanwhile {
  const char* name;
  std::function<void(EngineFixture&)> act;  ///< after Return and before its matches
  bool clicks;
};

TEST(Return, WaitsForTheMatchesUnlessTheTextChanges) {
  const std::vector<Meanwhile> cases = {
      {"nothing", [](auto&) {}, true},
      {"another letter", [](auto& f) { f.type("s"); }, false},
      {"a letter and back", [](auto& f) { f.type("s"), f.onMain([&] { f.window().pressBackspace(); }); }, false},
      {"Tab", [](auto& f) { f.press(key_code::tab); }, true},
      {"Escape", [](auto& f) { f.press(key_code::escape); }, false},
      {"click elsewhere", [](auto& f) { f.onMain([&] { f.window().resignKey(); }); }, false},
      {"a second Return", [](auto& f) { f.press(key_code::returnKey); }, true},
  };
  for (const Meanwhile& c : cases) {
    EngineFixture fixture;
    fixture.open();
    fixture.type("save");
    const Duration before = fixture.desktop->queues().monotonicNow();
    fixture.press(key_code::returnKey);
    EXPECT_EQ(fixture.desktop->queues().monotonicNow(), before) << c.name << ": the main thread does not wait";
    EXPECT_TRUE(fixture.isActive()) << c.name;
    fixture.advance(milliseconds(50));
    c.act(fixture);
    EXPECT_TRUE(fixture.clicks().empty()) << c.name;
    fixture.advance(std::chrono::seconds(2));
    EXPECT_EQ(fixture.clicks().size(), c.clicks ? 1U : 0U) << c.name;
    EXPECT_EQ(fixture.metrics.eventsNamed("action.default").size(), c.clicks ? 1U : 0U) << c.name;
    fixture.onMain([&] { fixture.engine->deactivate(); });
  }
}

TEST(Return, ALetterInTheMomentOfTheMatchesStillCancelsIt) {
  EngineFixture fixture;
  fixture.open();
  fixture.type("save");
  fixture.press(key_code::returnKey);
  const Token token = fixture.engine->completedQuery()
                          .observe()
                          .deliverOn(fixture.desktop->queues().mainQueue())
                          .subscribe([&](const auto& query) {
                            if (query.text == "save") {
                              fixture.window().typeText("s");
                            }
                          });
  fixture.advance(std::chrono::seconds(2));
  EXPECT_EQ(fixture.window().text(), "saves");
  EXPECT_TRUE(fixture.isActive());
  EXPECT_TRUE(fixture.clicks().empty());
}

TEST(Return, TheCompletedQueryOfAnActivationBeforeDoesNotCount) {
  EngineFixture fixture;
  fixture.open();
  fixture.typeAndSettle("save");
  fixture.onMain([&] { fixture.window().resignKey(); });
  ASSERT_EQ(fixture.completedQuery(), "save");
  fixture.desktop->accessibility().setDelay("save", 10);
  fixture.hotkey();
  ASSERT_EQ(fixture.completedQuery(), "save") << "the snapshot takes its time";
  fixture.onMain([&] {
    fixture.window().typeText("save");
    fixture.window().press(key_code::returnKey);
  });
  EXPECT_EQ(fixture.desktop->input().beepCount(), 0);
  fixture.advance(std::chrono::seconds(1));
  EXPECT_EQ(fixture.clicks().size(), 1U);
}

TEST(Return, WithCommandArrivesTwice) {
  EngineFixture fixture;
  fixture.open();
  fixture.typeAndSettle("save");
  fixture.press(key_code::returnKey, modifier_flag::command);
  ASSERT_EQ(fixture.clicks().size(), 2U) << "the match, then where the pointer is";
  EXPECT_EQ(fixture.clicks()[0].position, fixture.clicks()[1].position);
  EXPECT_EQ(fixture.metrics.eventsNamed("action.default").size(), 1U);
  EXPECT_EQ(fixture.metrics.eventsNamed("action.click.no-target").size(), 1U);
}

TEST(Return, InModalModeOpensTheNextActivation) {
  struct Case {
    const char* query;
    bool reopens;
  };
  for (const Case& c : {Case{"save", true}, Case{"name", false}}) {
    EngineFixture fixture;
    fixture.desktop->defaults().setValue("ModalModeEnabled", true);
    fixture.open();
    fixture.typeAndSettle(c.query);
    fixture.press(key_code::returnKey);
    ASSERT_EQ(fixture.clicks().size(), 1U) << c.query;
    EXPECT_FALSE(fixture.isActive()) << c.query;
    fixture.advance(milliseconds(9));
    EXPECT_FALSE(fixture.isActive()) << c.query;
    fixture.advance(milliseconds(2));
    EXPECT_EQ(fixture.isActive(), c.reopens) << c.query;
    EXPECT_EQ(fixture.window().isKey(), c.reopens) << c.query;
    fixture.advance(milliseconds(500));
    EXPECT_TRUE(fixture.matches().empty()) << c.query << ": nothing is typed yet";
  }
}

TEST(Return, InModalModeStaysClosedAfterWhatOneTypesIntoOrChoosesFrom) {
  const std::vector<std::pair<const char*, bool>> reopensAfter = {
      {"AXTextField", false}, {"AXTextArea", false}, {"AXPopUpButton", false}, {"AXMenuBarItem", false},
      {"AXButton", true},     {"AXComboBox", true},  {"AXMenuItem", true}};
  for (const auto& [role, reopens] : reopensAfter) {
    EngineFixture fixture;
    fixture.desktop->defaults().setValue("ModalModeEnabled", true);
    fixture.desktop->accessibility().setAttribute("bold", "AXRole", role);
    fixture.engine->maybeReactivateAfterActioningElement(fixture.desktop.element("bold"));
    fixture.advance(milliseconds(11));
    EXPECT_EQ(fixture.isActive(), reopens) << role;
  }
}

TEST(ControlTaps, AfterTheShortcutsOwnKeysOneTapOnlyMovesThePointer) {
  EngineFixture fixture;
  RecordedInput& input = fixture.desktop->input();
  input.injectFlags(modifier_flag::command);
  input.injectFlags(modifier_flag::command | modifier_flag::shift);
  fixture.open();
  input.injectFlags(modifier_flag::shift);
  input.injectFlags(0);
  fixture.typeAndSettle("name");
  fixture.tapControl();
  EXPECT_TRUE(fixture.isActive());
  EXPECT_EQ(fixture.desktop->input().postedMouseEvents().size(), 1U);
}

TEST(ControlTaps, MoveThePointerAndThenFocus) {
  EngineFixture fixture;
  fixture.open();
  fixture.tapControl();
  EXPECT_TRUE(fixture.desktop->input().postedMouseEvents().empty()) << "nothing is typed";
  fixture.advance(std::chrono::seconds(1));
  fixture.typeAndSettle("name");
  fixture.tapControl();
  ASSERT_EQ(fixture.desktop->input().postedMouseEvents().size(), 1U);
  EXPECT_EQ(fixture.desktop->input().postedMouseEvents()[0].event.position, (Point{170, 311}));
  EXPECT_TRUE(fixture.isActive());
  const std::vector<MetricData> ofName = {{{"element", fixture.desktop.element("name")->metricDictionary()}}};
  EXPECT_EQ(fixture.metrics.eventsNamed("action.mouse-over"), ofName);
  fixture.tapControl();
  EXPECT_FALSE(fixture.isActive());
  EXPECT_FALSE(fixture.window().isVisible());
  const auto operations = fixture.desktop->accessibility().operations();
  ASSERT_FALSE(operations.empty());
  EXPECT_EQ(operations.back().name, "AXFocused");
  EXPECT_EQ(operations.back().element.text(), "name");
  EXPECT_EQ(fixture.metrics.eventsNamed("action.focus"), ofName);
  EXPECT_TRUE(fixture.clicks().empty());
}

TEST(Keys, WithoutAMatchReturnBeepsAndFocusingOnlyEnds) {
  EngineFixture fixture;
  fixture.open();
  fixture.typeAndSettle("zzz");
  fixture.press(key_code::returnKey);
  EXPECT_TRUE(fixture.isActive());
  EXPECT_EQ(fixture.desktop->input().beepCount(), 1);
  EXPECT_TRUE(fixture.clicks().empty());
  fixture.tapControl();
  EXPECT_TRUE(fixture.isActive());
  fixture.tapControl();
  EXPECT_FALSE(fixture.isActive());
  EXPECT_TRUE(fixture.metrics.eventsNamed("action.focus").empty());
}

}  // namespace
}  // namespace jumplark::testing
