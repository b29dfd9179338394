#include "desktop/support/PrivateSession.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>

namespace jumplark::desktop {
namespace {

bool exists(const std::string& path) {
  return std::filesystem::exists(path);
}

std::string socketOf(const PrivateSession& session) {
  return "/tmp/.X11-unix/X" + session.display().substr(1);
}

TEST(PrivateSession, managesWindowsUnderEveryWindowManagerAndLeavesNothingBehind) {
  for (const auto manager : {WindowManager::xfwm4, WindowManager::xfwm4Compositor, WindowManager::openbox,
                             WindowManager::openboxPicom, WindowManager::none}) {
    std::string folder;
    std::string socket;
    pid_t program = 0;
    {
      PrivateSession session({.windowManager = manager, .width = 800, .height = 600});
      folder = session.folder();
      socket = socketOf(session);
      program = session.start({"xmessage", "-title", "Hello", "some text"}).pid();
      const SessionWindow window = session.waitForWindowTitled("Hello");
      EXPECT_EQ(window.className, "xmessage Xmessage");
      if (manager != WindowManager::none) {
        EXPECT_TRUE(session.activate(window.id));
      }
      EXPECT_TRUE(exists(folder));
    }
    EXPECT_FALSE(exists(folder));
    EXPECT_FALSE(exists(socket));
    EXPECT_EQ(::kill(program, 0), -1);
  }
}

TEST(PrivateSession, endsWhenTheTestProcessCrashes) {
  int toParent[2];
  ASSERT_EQ(pipe(toParent), 0);
  const pid_t child = fork();
  if (child == 0) {
    PrivateSession session({.windowManager = WindowManager::openbox});
    const std::string text = session.folder() + "\n" + socketOf(session);
    if (write(toParent[1], text.data(), text.size()) < 0) {
      _exit(1);
    }
    raise(SIGKILL);
  }
  close(toParent[1]);
  std::string text(1000, '\0');
  text.resize(static_cast<size_t>(read(toParent[0], text.data(), text.size())));
  close(toParent[0]);
  int status = 0;
  waitpid(child, &status, 0);
  ASSERT_TRUE(WIFSIGNALED(status));
  const std::string folder = text.substr(0, text.find('\n'));
  const std::string socket = text.substr(text.find('\n') + 1);
  ASSERT_TRUE(folder.starts_with("/")) << text;
  EXPECT_TRUE(waitUntil([&] { return !exists(folder) && !exists(socket); }));
}

TEST(PrivateSession, givesProgramsItsOwnDisplayBusAndHome) {
  PrivateSession session({.windowManager = WindowManager::none,
                          .width = 1000,
                          .height = 500,
                          .monitors = {{0, 0, 600, 500}, {600, 0, 400, 500}}});
  const Finished monitors = session.run({"xrandr", "--listactivemonitors"});
  EXPECT_NE(monitors.out.find("Monitors: 2"), std::string::npos) << monitors.out << monitors.err;
  EXPECT_NE(monitors.out.find("600/"), std::string::npos) << monitors.out;

  const Finished home = session.run({"sh", "-c", "echo $HOME; echo ${AT_SPI_BUS_ADDRESS-unset}; exit 3"});
  EXPECT_EQ(home.status, 3);
  EXPECT_EQ(home.out, session.folder() + "/home\nunset\n");

  const std::string before = std::getenv("HOME") ? std::getenv("HOME") : "";
  {
    const auto adopted = session.adoptEnvironment();
    EXPECT_STREQ(std::getenv("DISPLAY"), session.display().c_str());
  }
  EXPECT_EQ(before, std::getenv("HOME") ? std::getenv("HOME") : "");
}

}  // namespace
}  // namespace jumplark::desktop
