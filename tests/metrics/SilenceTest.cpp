#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <optional>

#include "desktop/support/PrivateSession.h"
#include "metrics/ClosedNetwork.h"

namespace jumplark {
namespace {

using desktop::Arguments;
using desktop::Process;
using ::testing::IsEmpty;
using ::testing::Not;

/// One for all tests of this process: a thread cannot come back.
ClosedNetwork& network() {
  static ClosedNetwork closed;
  return closed;
}

/// A session whose programs have nothing but that network.
class SilenceTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_NO_THROW(network());
    session.emplace();
    network().takePackets();
  }
  void runMetrics(const Arguments& address) {
    Arguments arguments{JUMPLARK_METRICS_PROGRAM, session->folder() + "/metrics"};
    arguments.insert(arguments.end(), address.begin(), address.end());
    // The first run leaves what the second one sends.
    for (int run = 0; run < 2; ++run) {
      Process& program = session->start(arguments);
      ASSERT_TRUE(program.waitForLine("running")) << program.err();
      if (run == 1 && !address.empty()) {
        ASSERT_TRUE(
            desktop::waitUntil([&] { return (program.out() + program.err()).find("Error") != std::string::npos; }));
      }
      program.kill(SIGTERM);
      ASSERT_EQ(program.wait(), 0);
    }
  }

  std::optional<desktop::SessionWindow> windowOf(const Process& program) {
    return session->findWindow([&](const auto& found) { return found.pid == program.pid(); });
  }
  /// Dismisses what the program says at its first start.
  bool waitUntilInBackground(Process& program) {
    return desktop::waitUntil([&] {
      const auto window = windowOf(program);
      if (window && session->activate(window->id)) {
        session->keys({"key", "Escape"});
      }
      return !window && program.out().find("Jumplark is running.") != std::string::npos;
    });
  }

  std::optional<desktop::PrivateSession> session;
};

TEST_F(SilenceTest, EveryPacketToAnyServerIsSeen) {
  for (const char* address : {"http://203.0.113.7", "https://203.0.113.7", "https://[2001:db8::1]:8443"}) {
    SCOPED_TRACE(address);
    std::filesystem::remove_all(session->folder() + "/metrics");
    runMetrics({address});
    EXPECT_THAT(network().takePackets(), Not(IsEmpty()));
  }
}

TEST_F(SilenceTest, MetricsOfADefaultBuildSendNothingAndKeepNothing) {
  runMetrics({});
  EXPECT_THAT(network().takePackets(), IsEmpty());
  EXPECT_FALSE(std::filesystem::exists(session->folder() + "/metrics/data"));
}

TEST_F(SilenceTest, TheProgramOfADefaultBuildSendsNothing) {
  for (int run = 0; run < 2; ++run) {
    Process& program = session->start({JUMPLARK_PROGRAM});
    ASSERT_TRUE(waitUntilInBackground(program)) << program.out() << program.err();
    Process& target = session->start({"gtk3-demo"});
    ASSERT_TRUE(session->activate(session->waitForWindowOf(target.pid()).id));
    EXPECT_EQ(session->run({JUMPLARK_PROGRAM, "activate"}).status, 0);
    EXPECT_TRUE(desktop::waitUntil([&] { return windowOf(program).has_value(); }));
    session->keys({"type", "--delay", "0", "a"});
    EXPECT_EQ(session->run({JUMPLARK_PROGRAM, "match", "--app", "gtk3-demo", "a"}).status, 0);
    EXPECT_EQ(session->run({JUMPLARK_PROGRAM, "activate"}).status, 0);
    EXPECT_TRUE(desktop::waitUntil([&] { return !windowOf(program); }));
    target.kill(SIGKILL);
    program.kill(SIGTERM);
    EXPECT_EQ(program.wait(), 0) << program.err();
  }
  EXPECT_THAT(network().takePackets(), IsEmpty());
}

}  // namespace
}  // namespace jumplark
