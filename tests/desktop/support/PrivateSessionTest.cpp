#include "desktop/support/PrivateSession.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>

#include "support/TemporaryFolder.h"

namespace jumplark::desktop {
namespace {

using std::filesystem::exists;
using ::testing::HasSubstr;

std::string socketOf(const PrivateSession& session) {
  return "/tmp/.X11-unix/X" + session.display().substr(1);
}

TEST(PrivateSession, endsWhenTheTestProcessCrashes) {
  const testing::TemporaryFolder folder;
  const auto report = folder / "report";
  const pid_t child = fork();
  if (child == 0) {
    const PrivateSession session({.windowManager = WindowManager::openbox});
    testing::writeFile(report, session.folder() + "\n" + socketOf(session));
    raise(SIGKILL);
  }
  int status = 0;
  waitpid(child, &status, 0);
  ASSERT_TRUE(WIFSIGNALED(status));
  const std::string text = testing::readFile(report);
  const size_t middle = text.find('\n');
  ASSERT_TRUE(text.starts_with("/") && middle != std::string::npos) << text;
  EXPECT_TRUE(waitUntil([&] { return !exists(text.substr(0, middle)) && !exists(text.substr(middle + 1)); }));
}

TEST(PrivateSession, givesProgramsItsOwnDisplayBusAndHomeAndLeavesNothingBehind) {
  const std::string before = std::getenv("HOME");
  auto session = std::make_unique<PrivateSession>(
      SessionOptions{.width = 1000, .height = 500, .monitors = {{0, 0, 600, 500}, {600, 0, 400, 500}}});
  const std::string folder = session->folder();
  const std::string socket = socketOf(*session);
  const pid_t program = session->start({"xmessage", "-title", "Hello", "some text"}).pid();
  const SessionWindow window = session->waitForWindowTitled("Hello");
  EXPECT_EQ(window.className, "xmessage Xmessage");
  EXPECT_TRUE(session->activate(window.id));
  const Finished monitors = session->run({"xrandr", "--listactivemonitors"});
  EXPECT_THAT(monitors.out, AllOf(HasSubstr("Monitors: 2"), HasSubstr("600/"))) << monitors.err;
  const Finished home = session->run({"sh", "-c", "echo $HOME; echo ${AT_SPI_BUS_ADDRESS-unset}; exit 3"});
  EXPECT_EQ(home.status, 3);
  EXPECT_EQ(home.out, folder + "/home\nunset\n");
  {
    const auto adopted = session->adoptEnvironment();
    EXPECT_EQ(std::getenv("DISPLAY"), session->display());
  }
  EXPECT_EQ(std::getenv("HOME"), before);
  session.reset();
  EXPECT_FALSE(exists(folder) || exists(socket));
  EXPECT_EQ(::kill(program, 0), -1);
}

}  // namespace
}  // namespace jumplark::desktop
