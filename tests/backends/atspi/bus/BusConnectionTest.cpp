#include <gmock/gmock.h>

#include "backends/atspi/support/SourceFixture.h"
#include "backends/linux/atspi/bus/AtspiCalls.h"

namespace jumplark::atspi {
namespace {

using enum AccessibilityError;

TimePoint soon() {
  return Clock::now() + std::chrono::seconds(10);
}

class Connection : public SourceFixture {
 protected:
  BusConnection connection{{bus.address()}};
};

TEST(BusConnection, saysWhatToDoWithoutASessionBus) {
  BusConnection connection({"unix:path=/nonexistent/bus"});
  const auto reached = connection.connect();
  EXPECT_FALSE(reached.reachable);
  EXPECT_THAT(reached.advice, ::testing::HasSubstr("session bus"));
  const AtspiHandle anybody(":1.5", calls::kRootPath);
  EXPECT_EQ(callOnce(connection, calls::name(anybody), soon()).error, apiDisabled);
}

TEST_F(Connection, switchesAccessibilityOn) {
  EXPECT_TRUE(connection.connect().reachable);
  EXPECT_TRUE(desktop.accessibilitySwitchedOn());
}

TEST_F(Connection, answersManyMoreCallsThanTheWindowInOrder) {
  std::vector<MethodCall> calls;
  for (int i = 0; i < 2000; ++i) {
    app.at("e" + std::to_string(i)) = element(role::label, "name " + std::to_string(i));
    calls.push_back(calls::name(*handleOf(app.ref("e" + std::to_string(i)))).call);
  }
  const auto replies = connection.run(std::move(calls), soon());
  ASSERT_EQ(replies.size(), 2000U);
  for (int i = 0; i < 2000; ++i) {
    EXPECT_EQ(std::get<std::string>(replies[static_cast<size_t>(i)].value), "name " + std::to_string(i));
  }
}

TEST_F(Connection, failsACallWithAnImpossiblePathAlone) {
  const AtspiHandle broken(handleOf(app.root())->busName(), "not a path");
  const auto replies = connection.run({calls::role(broken).call, calls::role(*handleOf(app.root())).call}, soon());
  EXPECT_EQ(replies[0].error, invalidElement);
  EXPECT_EQ(replies[1].error, success);
}

TEST_F(Connection, letsTheThreadThatAnswersItselfWorkWhileItWaits) {
  std::set<std::thread::id> worked;
  app.peer().hang();
  const Token work = connection.workWhileWaiting([&] {
    worked.insert(std::this_thread::get_id());
    app.peer().resume();
  });
  const auto ask = [&] { return callOnce(connection, calls::role(*handleOf(app.root())), soon()).ok(); };
  std::thread other(ask);
  EXPECT_TRUE(ask());
  other.join();
  EXPECT_EQ(worked, std::set{std::this_thread::get_id()}) << "and no other thread";
}

}  // namespace
}  // namespace jumplark::atspi
