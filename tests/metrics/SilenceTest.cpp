#include <gtest/gtest.h>
#include <sched.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <optional>
#include <string>

#include "desktop/support/PrivateSession.h"

namespace jumplark {
namespace {

using desktop::Process;

/// Gives this thread, and what it starts from then on, a network on which every address is this machine. As root
/// directly, else as the root of a user namespace.
bool enterClosedNetwork() {
  const uid_t user = ::getuid();
  if (::unshare(CLONE_NEWNET) != 0) {
    if (::unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0) {
      return false;
    }
    std::ofstream("/proc/self/uid_map") << "0 " << user << " 1";
  }
  const char* const commands =
      "ip link set lo up && ip route add local default dev lo && { ip -6 route add local default dev lo || true; }";
  return std::system(commands) == 0;  // NOLINT(bugprone-command-processor,cert-env33-c): a constant
}

/// What has been sent on that network so far.
uint64_t packets() {
  std::ifstream devices("/proc/net/dev");
  for (std::string word; devices >> word;) {
    uint64_t bytes = 0;
    uint64_t count = 0;
    if (word == "lo:" && devices >> bytes >> count) {
      return count;
    }
  }
  ADD_FAILURE() << "there is no network";
  return 0;
}

class Silence : public ::testing::Test {
 protected:
  void SetUp() override {
    static const bool isClosed = enterClosedNetwork();  // once: a thread cannot come back
    ASSERT_TRUE(isClosed) << "no network namespace of its own (is iproute2 installed?)";
    session.emplace();
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

TEST_F(Silence, isBrokenByOneAttemptToReachAnyServer) {
  for (const char* address : {"203.0.113.7/80", "2001:db8::1/443"}) {
    const uint64_t before = packets();
    session->run({"bash", "-c", std::string("exec 3<>/dev/tcp/") + address});
    EXPECT_GT(packets(), before) << address;
  }
}

TEST_F(Silence, isKeptByTheProgramOfADefaultBuild) {
  const uint64_t before = packets();
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
  EXPECT_EQ(packets(), before);
}

}  // namespace
}  // namespace jumplark
