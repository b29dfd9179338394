#include <gmock/gmock.h>

#include "backends/atspi/SourceFixture.h"
#include "backends/linux/atspi/bus/AtspiCalls.h"
#include "backends/linux/atspi/bus/TypedBatch.h"

namespace jumplark::atspi {
namespace {

using ::testing::HasSubstr;
using enum AccessibilityError;

TimePoint soon() {
  return Clock::now() + std::chrono::seconds(10);
}

TEST(BusConnection, SaysWhatToDoWithoutASessionBus) {
  BusConnection connection({"unix:path=/nonexistent/bus"});
  const auto reached = connection.connect();
  EXPECT_FALSE(reached.reachable);
  EXPECT_THAT(reached.advice, HasSubstr("session bus"));
  const AtspiHandle anybody(":1.5", calls::kRootPath);
  EXPECT_EQ(callOnce(connection, calls::name(anybody), soon()).error, apiDisabled);
}

TEST(BusConnection, SwitchesAccessibilityOn) {
  const PrivateBus bus;
  const FakeDesktop desktop(bus);
  BusConnection connection({bus.address()});
  EXPECT_TRUE(connection.connect().reachable);
  EXPECT_TRUE(desktop.accessibilitySwitchedOn());
}

TEST(BusConnection, AnswersManyMoreCallsThanTheWindowInOrder) {
  const PrivateBus bus;
  const FakeDesktop desktop(bus);
  FakeApplication app(bus);
  BusConnection connection({bus.address()});
  std::vector<MethodCall> calls;
  for (int i = 0; i < 2000; ++i) {
    app.set("e" + std::to_string(i), element(role::label, "name " + std::to_string(i)));
    calls.push_back(calls::name(*handleOf(app.ref("e" + std::to_string(i)))).call);
  }
  const auto replies = connection.run(std::move(calls), soon());
  ASSERT_EQ(replies.size(), 2000U);
  for (int i = 0; i < 2000; ++i) {
    EXPECT_EQ(std::get<std::string>(replies[static_cast<size_t>(i)].value), "name " + std::to_string(i));
  }
}

TEST(BusConnection, ACallWithAnImpossiblePathFailsAlone) {
  const PrivateBus bus;
  const FakeDesktop desktop(bus);
  const FakeApplication app(bus);
  BusConnection connection({bus.address()});
  const AtspiHandle broken(handleOf(app.root())->busName(), "not a path");
  const auto replies = connection.run({calls::role(broken).call, calls::role(*handleOf(app.root())).call}, soon());
  EXPECT_EQ(replies[0].error, invalidElement);
  EXPECT_EQ(replies[1].error, success);
}

TEST(CleanText, IsValidUtf8WhateverTheBytesWere) {
  const std::string bad = "\xEF\xBF\xBD";
  const std::vector<std::pair<std::string, std::string>> cases{
      {"plain", "plain"},
      {"\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80", "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80"},
      {"a\xFFz", "a" + bad + "z"},
      {"\xC3", bad},
      {"\xE2\x82", bad + bad},
      {"\xC0\x80", bad + bad},
      {"\xED\xA0\x80", bad + bad + bad},
      {"\xF4\x90\x80\x80", bad + bad + bad + bad},
      {"\xF0\x80\x80\xAF", bad + bad + bad + bad},
      {"", ""}};
  for (const auto& [bytes, clean] : cases) {
    EXPECT_EQ(cleanText(bytes), clean) << ::testing::PrintToString(bytes);
  }
}

TEST(CodePoints, AreCutByCharactersNotBytes) {
  const std::string text = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80z";
  EXPECT_EQ(codePoints(text, 0, 1, 3), "\xC3\xA9\xE2\x82\xAC");
  EXPECT_EQ(codePoints(text, 100, 103, 105), "\xF0\x9F\x98\x80z");
  EXPECT_EQ(codePoints(text, 0, 4, 99), "z");
  EXPECT_EQ(codePoints(text, 0, 7, 9), "");
  EXPECT_EQ(codePoints(text, 0, 2, 2), "");
}

}  // namespace
}  // namespace jumplark::atspi
