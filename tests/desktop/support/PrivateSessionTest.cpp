#include "desktop/support/PrivateSession.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>

#include "support/TemporaryFolder.h"

namespace jumplark::desktop {
namespace {

TEST(PrivateSession, leavesNothingBehindWhenTheTestProcessCrashes) {
  using std::filesystem::exists;
  const testing::TemporaryFolder folder;
  const auto report = folder / "report";
  const pid_t child = fork();
  if (child == 0) {
    const PrivateSession session({.windowManager = WindowManager::openbox});
    testing::writeFile(report, session.folder() + "\n/tmp/.X11-unix/X" + session.display().substr(1));
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

}  // namespace
}  // namespace jumplark::desktop
