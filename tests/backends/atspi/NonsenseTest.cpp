#include <gmock/gmock.h>
#include <systemd/sd-bus.h>

#include <chrono>
#include <thread>

#include "backends/atspi/SourceFixture.h"
#include "backends/linux/atspi/bus/TimeBudget.h"
#include "backends/linux/atspi/vocabulary/AtspiAccessibility.h"

namespace jumplark::atspi {
namespace {

using ::testing::HasSubstr;

/// What a reader of the whole tree asks of every element.
void readEverything(AccessibilityPlatform& platform, const std::vector<FactsPointer>& elements) {
  for (const FactsPointer& element : elements) {
    for (const std::string& name : platform.copyAttributeNames(element->ref).value) {
      platform.copyAttributeValue(element->ref, name);
    }
    platform.copyParameterizedAttributeValue(element->ref, "AXStringForRange", AttributeValue(Range{0, 100}));
  }
}

TEST_F(SourceFixture, AnApplicationThatAnswersSlowlyIsNotReadToItsEnd) {
  constexpr int kPanels = 200;
  constexpr const char* kLast = "Accessible.GetState entry199";
  for (int i = 0; i < kPanels; ++i) {
    const std::string panel = "panel" + std::to_string(i);
    app.add("frame", panel, element(role::panel, ""));
    FakeElement& entry = app.add(panel, "entry" + std::to_string(i), element(role::entry, ""));
    entry.interfaces = {"Component", "Text", "Value", "Action"};
    entry.text = "typed";
  }
  AtspiAccessibility platform(source(), windows);
  for (const int slowness : {20, 400}) {
    SCOPED_TRACE(slowness);
    app.beforeEachAnswer([slowness](const std::string&, const std::string&) {
      std::this_thread::sleep_for(std::chrono::milliseconds(slowness));
    });
    platform.prepareSnapshot(app.root(), true);
    EXPECT_FALSE(elements().empty());
    readEverything(platform, elements());
    EXPECT_FALSE(app.wasAsked(kLast)) << "the time for all of it was over long before";
  }
  app.beforeEachAnswer({});
  platform.prepareSnapshot(app.root(), true);
  EXPECT_EQ(elements().size(), 2 + 2 * size_t{kPanels});
  EXPECT_TRUE(app.wasAsked(kLast));
}

/// Answers everything at once with success.
struct Eager final : CallRunner {
  std::vector<Reply> run(std::vector<MethodCall> calls, TimePoint) override {
    return std::vector<Reply>(calls.size(), Reply{AccessibilityError::success, true});
  }
};

TEST(TimeBudget, FailsCallsAtOnceWhenItIsSpent) {
  Eager eager;
  TimeBudget plenty(std::chrono::hours(1));
  TimeBudget spent(-std::chrono::hours(1));
  const auto errorWith = [&](TimeBudget* budget) {
    return BudgetedCalls(eager, budget).run({{":1.1", "/", "i", "m", {}, nullptr}}, TimePoint::max())[0].error;
  };
  EXPECT_EQ(errorWith(&plenty), AccessibilityError::success);
  EXPECT_EQ(errorWith(&spent), AccessibilityError::cannotComplete);
  EXPECT_EQ(errorWith(nullptr), AccessibilityError::success) << "an action";
}

TEST_F(SourceFixture, AnswersOfAnotherTypeAreNoAnswers) {
  FakeElement& entry = app.add("frame", "entry", element(role::entry, "entry"));
  entry.interfaces = {"Component", "Text", "Value", "Action", "Table"};
  entry.text = "typed";
  app.add("frame", "last", element(role::pushButton, "last"));
  const std::vector<std::string> members{"GetRole",         "GetState",   "GetInterfaces", "GetChildren",
                                         "GetExtents",      "Get",        "GetText",       "GetAttributes",
                                         "GetRelationSet",  "GetActions", "GetItems",      "GetLocalizedRoleName",
                                         "GetOffsetAtPoint"};
  AtspiAccessibility platform(source(), windows);
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

TEST_F(SourceFixture, CountsThatCannotBeAreNotBelieved) {
  FakeElement& table = app.add("frame", "table", element(role::table, "", {100, 50, 400, 200}));
  table.interfaces = {"Component", "Table"};
  table.columns = 2'000'000'000;
  FakeElement& text = app.add("frame", "text", element(role::text, "", {100, 260, 400, 30}));
  text.interfaces = {"Component", "Text"};
  app.add("frame", "last", element(role::pushButton, "last"));
  app.answerInstead([](sd_bus_message* message, const std::string& id, const std::string& member) {
    constexpr int32_t kMost = 2'147'483'647;
    if (member == "Get" && (id == "table" || id == "text")) {
      const char* interface = nullptr;
      const char* property = nullptr;
      sd_bus_message_read(message, "ss", &interface, &property);
      const std::string name = property;
      if (name == "ChildCount" || name == "CharacterCount") {
        return sd_bus_reply_method_return(message, "v", "i", kMost) >= 0;
      }
      sd_bus_message_rewind(message, 1);
    }
    return (member == "GetRowAtIndex" || member == "GetOffsetAtPoint") &&
           sd_bus_reply_method_return(message, "i", kMost) >= 0;
  });
  AtspiAccessibility platform(source(), windows);
  platform.prepareSnapshot(app.root(), true);
  EXPECT_THAT(names(), HasSubstr("last"));
  const int before = app.peer().received();
  readEverything(platform, elements());
  EXPECT_LT(app.peer().received() - before, 1000);
}

TEST_F(SourceFixture, FloodsOfSignalsDoNotKeepASnapshotFromEnding) {
  app.add("frame", "ok", element(role::pushButton, "OK"));
  app.answerInstead([](sd_bus_message* message, const std::string&, const std::string&) {
    for (int i = 0; i < 1000; ++i) {
      sd_bus_message* signal = nullptr;
      sd_bus_message_new_signal(sd_bus_message_get_bus(message), &signal, "/org/a11y/atspi/accessible/root",
                                "org.a11y.atspi.Event.Object", "BoundsChanged");
      sd_bus_message_set_destination(signal, sd_bus_message_get_sender(message));
      sd_bus_send(nullptr, signal, nullptr);
      sd_bus_message_unref(signal);
    }
    return false;
  });
  prepare();
  EXPECT_EQ(names(), "ok");
}

TEST_F(SourceFixture, TheTextOfAPasswordIsNeverAskedFor) {
  const auto add = [this](const std::string& id, uint32_t role) {
    FakeElement& entry = app.add("frame", id, element(role, ""));
    entry.interfaces = {"Component", "Text", "EditableText", "Value", "Hyperlink"};
    entry.text = "hidden";
  };
  add("secret", role::passwordText);
  add("unknown", role::entry);
  add("plain", role::entry);
  // It does not tell what it is: it may be a password.
  app.answerInstead([](sd_bus_message* message, const std::string& id, const std::string& member) {
    return id == "unknown" && member == "GetRole" &&
           sd_bus_reply_method_errorf(message, "org.freedesktop.DBus.Error.Failed", "no role") >= 0;
  });
  AtspiAccessibility platform(source(), windows);
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

}  // namespace
}  // namespace jumplark::atspi
