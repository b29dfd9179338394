#include <gmock/gmock.h>
#include <systemd/sd-bus.h>

#include "backends/atspi/support/SourceFixture.h"
#include "backends/linux/atspi/vocabulary/AtspiAccessibility.h"

namespace jumplark::atspi {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using enum AccessibilityError;

/// Slow, silent, lying and vanishing applications.
class Faults : public SourceFixture {
 protected:
  /// What a reader of the whole tree asks of every element.
  static void readEverything(AccessibilityPlatform& platform, const std::vector<FactsPointer>& elements) {
    for (const FactsPointer& element : elements) {
      for (const std::string& name : platform.copyAttributeNames(element->ref).value) {
        platform.copyAttributeValue(element->ref, name);
      }
      platform.copyParameterizedAttributeValue(element->ref, "AXStringForRange", AttributeValue(Range{0, 100}));
    }
  }

  AtspiAccessibility platform{source(), windows};
};

TEST_F(Faults, costOneTimeOutUntilTheNextSnapshot) {
  add("frame", "ok", role::pushButton, "OK");
  prepare();
  source().setMessagingTimeout(0.05);
  app.peer().hang();
  EXPECT_EQ(live().facts(app.ref("ok"), facts::texts).error, cannotComplete);
  app.peer().resume();
  // What the first read sent is still answered; nothing of the later ones may be.
  source().setMessagingTimeout(5);
  EXPECT_EQ(live().facts(app.ref("frame"), facts::relations).error, cannotComplete);
  EXPECT_EQ(source().grabFocus(app.ref("ok")), cannotComplete);
  EXPECT_FALSE(app.wasAsked("Accessible.GetRelationSet frame"));
  EXPECT_FALSE(app.wasAsked("Component.GrabFocus ok"));
  prepare();
  EXPECT_TRUE(live().facts(app.ref("frame"), facts::relations).ok());
}

TEST_F(Faults, costOthersNothing) {
  FakeApplication other(bus);
  other.add("root", "frame", element(role::frame, "Window", {100, 50, 400, 300}));
  other.add("frame", "there", element(role::pushButton, "there"));
  source().setMessagingTimeout(20);
  app.peer().hang();
  std::atomic<bool> isGivenUp{false};
  std::thread stuck([&] {
    source().read({app.ref("frame")}, facts::texts, {});
    isGivenUp = true;
  });
  EXPECT_EQ(source().take(other.root(), true, {})->elements().size(), 3U);
  EXPECT_FALSE(isGivenUp) << "the other one waited for the time-out";
  app.peer().resume();
  stuck.join();
}

TEST_F(Faults, endTheReadingOfAnApplicationThatAnswersSlowly) {
  constexpr int kPanels = 200;
  constexpr const char* kLast = "Accessible.GetState entry199";
  for (int i = 0; i < kPanels; ++i) {
    const std::string panel = "panel" + std::to_string(i);
    add("frame", panel, role::panel, "");
    add(panel, "entry" + std::to_string(i), role::entry, "").saying("typed").with("Value").with("Action");
  }
  for (const int slowness : {20, 400}) {
    SCOPED_TRACE(slowness);
    app.answerInstead([slowness](sd_bus_message*, const std::string&, const std::string&) {
      std::this_thread::sleep_for(std::chrono::milliseconds(slowness));
      return false;
    });
    platform.prepareSnapshot(app.root(), true);
    EXPECT_FALSE(elements().empty());
    readEverything(platform, elements());
    EXPECT_FALSE(app.wasAsked(kLast)) << "the time for all of it was over long before";
  }
  app.answerInstead({});
  platform.prepareSnapshot(app.root(), true);
  EXPECT_EQ(elements().size(), 2 + 2 * size_t{kPanels});
  EXPECT_TRUE(app.wasAsked(kLast));
  source().setMessagingTimeout(2);
  app.answerInstead([answers = 0](auto&&...) mutable { return ++answers > 100; });
  platform.prepareSnapshot(app.root(), true);
  EXPECT_GT(elements().size(), 2U) << "silent in the middle: what was read until then is kept";
}

TEST_F(Faults, leaveOutElementsThatVanishDuringTheWalk) {
  add("frame", "first", role::pushButton, "first");
  add("frame", "gone", role::panel, "gone");
  add("gone", "below", role::pushButton, "below");
  add("frame", "last", role::pushButton, "last");
  app.remove("gone");
  prepare();
  EXPECT_EQ(names(), "first last");
  EXPECT_THAT(read("frame")->children, ElementsAre(app.ref("first"), app.ref("last")));
  EXPECT_EQ(view().facts(app.ref("gone"), facts::texts).error, invalidElement);
  const auto all = view().factsOfAll({app.ref("first"), app.ref("gone"), ElementRef()}, facts::texts);
  EXPECT_NE(all[0], nullptr);
  EXPECT_EQ(all[1], nullptr);
  EXPECT_EQ(all[2], nullptr);
}

TEST_F(Faults, makeATreeOfCycles) {
  add("frame", "a", role::panel, "a");
  add("a", "b", role::panel, "b");
  FakeElement& b = add("b", "c", role::panel, "c");
  b.children = {"a", "c", "frame", "root"};
  add("frame", "d", role::panel, "d").children = {"c", "b"};
  prepare();
  EXPECT_EQ(elements().size(), 6U);
  std::map<std::string, int> parents;
  for (const FactsPointer& e : elements()) {
    for (const ElementRef& child : e->children) {
      EXPECT_EQ(++parents[child.text()], 1) << child.text();
      EXPECT_EQ(source().last->find(child)->parent, e->ref);
    }
  }
}

TEST_F(Faults, endAVeryDeepTree) {
  source().setMessagingTimeout(30);
  std::string above = "frame";
  for (int i = 0; i < 10'000; ++i) {
    const std::string id = "level" + std::to_string(i);
    add(above, id, role::panel, "level");
    above = id;
  }
  prepare();
  EXPECT_NE(read("level0"), nullptr);
  EXPECT_GT(elements().size(), 100U);
}

TEST_F(Faults, cutAHugeNameBetweenCharacters) {
  std::string name = "x";
  while (name.size() < 1'000'000) {
    name += "\xE2\x82\xAC";
  }
  add("frame", "huge", role::pushButton, name);
  prepare();
  const std::string read = this->read("huge")->name;
  EXPECT_EQ(read.size(), 1 + (kLongestText - 1) / 3 * 3);
  EXPECT_EQ(read, name.substr(0, read.size()));
}

TEST_F(Faults, makeNoAnswersOfThoseOfAnotherType) {
  add("frame", "entry", role::entry, "entry").saying("typed").with("Value").with("Action").with("Table");
  add("frame", "last", role::pushButton, "last");
  const std::vector<std::string> members{"GetRole",         "GetState",   "GetInterfaces", "GetChildren",
                                         "GetExtents",      "Get",        "GetText",       "GetAttributes",
                                         "GetRelationSet",  "GetActions", "GetItems",      "GetLocalizedRoleName",
                                         "GetOffsetAtPoint"};
  for (const std::string& wrong : members) {
    SCOPED_TRACE(wrong);
    app.answerInstead([&](sd_bus_message* message, const std::string& id, const std::string& member) {
      return id == "entry" && member == wrong && sd_bus_reply_method_return(message, "(dad)", 1.5, 2, 2.5, 3.5) >= 0;
    });
    platform.prepareSnapshot(app.root(), true);
    readEverything(platform, elements());
    EXPECT_THAT(names(), HasSubstr("last"));
  }
}

TEST_F(Faults, disbelieveCountsThatCannotBe) {
  add("frame", "table", role::table, "", {100, 50, 400, 200}).with("Table");
  add("frame", "text", role::text, "", {100, 260, 400, 30}).with("Text");
  add("frame", "last", role::pushButton, "last");
  app.answerInstead([](sd_bus_message* message, const std::string& id, const std::string& member) {
    constexpr int32_t kMost = 2'147'483'647;
    if (member == "Get" && (id == "table" || id == "text")) {
      const char* interface = nullptr;
      const char* property = nullptr;
      sd_bus_message_read(message, "ss", &interface, &property);
      const std::string name = property;
      if (name == "ChildCount" || name == "CharacterCount" || name == "NColumns") {
        return sd_bus_reply_method_return(message, "v", "i", kMost) >= 0;
      }
    }
    return (member == "GetRowAtIndex" || member == "GetOffsetAtPoint") &&
           sd_bus_reply_method_return(message, "i", kMost) >= 0;
  });
  platform.prepareSnapshot(app.root(), true);
  EXPECT_THAT(names(), HasSubstr("last"));
  const int before = app.peer().received();
  readEverything(platform, elements());
  EXPECT_LT(app.peer().received() - before, 1000);
}

TEST_F(Faults, askForNoTextThatMayBeAPassword) {
  for (const char* id : {"secret", "unknown", "plain"}) {
    const uint32_t role = id == std::string("secret") ? role::passwordText : role::entry;
    add("frame", id, role).saying("hidden").with("EditableText").with("Value").with("Hyperlink");
  }
  // It does not tell what it is: it may be a password.
  app.answerInstead([](sd_bus_message* message, const std::string& id, const std::string& member) {
    return id == "unknown" && member == "GetRole" &&
           sd_bus_reply_method_errorf(message, "org.freedesktop.DBus.Error.Failed", "no role") >= 0;
  });
  for (const bool visibleOnly : {true, false}) {
    platform.prepareSnapshot(app.root(), visibleOnly);
    readEverything(platform, elements());
    const auto now = platform.live();
    readEverything(*now, elements());
    for (const char* id : {"secret", "unknown"}) {
      now->copyAttributeValue(app.ref(id), "AXValue");
      now->copyAttributeValue(app.ref(id), "AXVisibleCharacterRange");
      now->copyParameterizedAttributeValue(app.ref(id), "AXStringForRange", AttributeValue(Range{0, 100}));
      live().textInRange(app.ref(id), 0, 100);
      live().facts(app.ref(id), ~facts::Set{0});
    }
  }
  EXPECT_TRUE(app.wasAsked("Text.GetText plain"));
  EXPECT_FALSE(app.wasAsked("Text.GetText secret"));
  EXPECT_FALSE(app.wasAsked("Text.GetText unknown"));
}

TEST_F(Faults, takeImpossibleRectanglesForNoPlace) {
  const double least = -2147483648.0;
  const struct {
    const char* what;
    Rect reported;
    bool hasPlace;
  } cases[] = {{"smallest integers", {least, least, 1, 1}, false},
               {"negative", {10, 10, -5, 20}, false},
               {"empty", {10, 10, 0, 0}, false},
               {"huge", {0, 0, 2147483647.0, 10}, false},
               {"left of the screen", {-50, -20, 100, 100}, true}};
  for (size_t i = 0; i < std::size(cases); ++i) {
    add("frame", "e" + std::to_string(i), role::pushButton, cases[i].what, cases[i].reported);
  }
  prepare();
  for (size_t i = 0; i < std::size(cases); ++i) {
    EXPECT_EQ(read("e" + std::to_string(i))->extents.has_value(), cases[i].hasPlace) << cases[i].what;
  }
}

}  // namespace
}  // namespace jumplark::atspi
