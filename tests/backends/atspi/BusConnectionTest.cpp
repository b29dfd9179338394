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

}  // namespace
}  // namespace jumplark::atspi
