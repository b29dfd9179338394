#include <gtest/gtest.h>
#include <sched.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>

#include "desktop/support/RunningProgram.h"

namespace jumplark {
namespace {

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

TEST(Silence, isKeptByTheProgramOfADefaultBuildButNotByOneThatTriesToReachAnyServer) {
  ASSERT_TRUE(enterClosedNetwork()) << "no network namespace of its own (is iproute2 installed?)";
  desktop::PrivateSession session;
  uint64_t before = packets();
  {
    desktop::RunningProgram program(session);
    desktop::startProgram(session, {.command = {"gtk3-demo"}, .busName = "gtk3-demo", .role = "frame"});
    program.open();
    program.query("a");
    EXPECT_EQ(session.run({JUMPLARK_PROGRAM, "match", "--app", "gtk3-demo", "a"}).status, 0);
    program.close();
  }
  EXPECT_EQ(packets(), before);
  for (const char* address : {"203.0.113.7/80", "2001:db8::1/443"}) {
    before = packets();
    session.run({"bash", "-c", std::string("exec 3<>/dev/tcp/") + address});
    EXPECT_GT(packets(), before) << address;
  }
}

}  // namespace
}  // namespace jumplark
