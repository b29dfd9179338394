#include "backends/linux/x11/X11Checks.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>

#include "backends/linux/x11/X11Input.h"
#include "backends/linux/x11/X11Screens.h"
#include "backends/x11/X11Fixture.h"

namespace jumplark {
namespace {

using desktop::waitUntil;
using desktop::WindowManager;
using testing::HasSubstr;

const DesktopCheck& named(const std::vector<DesktopCheck>& checks, const std::string& name) {
  const auto found = std::ranges::find(checks, name, &DesktopCheck::name);
  if (found == checks.end()) {
    throw std::runtime_error("there is no check " + name);
  }
  return *found;
}

void expectRemediesWhereNeeded(const std::vector<DesktopCheck>& checks) {
  for (const DesktopCheck& check : checks) {
    EXPECT_EQ(check.remedy.empty(), check.level == DesktopCheck::ok) << check.name << ": " << check.remedy;
    EXPECT_TRUE(check.finding.ends_with(".")) << check.name << ": " << check.finding;
  }
}

class X11ChecksTest : public X11Test {};

TEST_F(X11ChecksTest, saysWhatIsMissingAndHowToMendIt) {
  start({.windowManager = WindowManager::none});
  const auto adopted = session_->adoptEnvironment();
  setenv("XDG_SESSION_TYPE", "wayland", 1);
  const auto checks = x11Checks();
  expectRemediesWhereNeeded(checks);
  EXPECT_EQ(named(checks, "window manager").level, DesktopCheck::failure);
  EXPECT_EQ(named(checks, "session").level, DesktopCheck::warning);
  EXPECT_EQ(named(checks, "transparency").level, DesktopCheck::warning);
  EXPECT_EQ(named(checks, "panel").level, DesktopCheck::warning);
  EXPECT_EQ(named(checks, "X display").level, DesktopCheck::ok);
}

TEST_F(X11ChecksTest, aServerWithoutExtensionsFailsTheChecks) {
  start({.windowManager = WindowManager::none});
  desktop::Process& server = session_->start({"Xvfb", "-displayfd", "1", "-extension", "XTEST", "-extension", "RANDR",
                                              "-extension", "X-Resource", "-noreset", "-nolisten", "tcp"});
  ASSERT_TRUE(waitUntil([&] { return server.out().ends_with("\n"); }));
  const std::string display = ":" + server.out().substr(0, server.out().size() - 1);
  const auto checks = x11Checks(display);
  expectRemediesWhereNeeded(checks);
  EXPECT_EQ(named(checks, "X extension XTEST").level, DesktopCheck::failure);
  EXPECT_EQ(named(checks, "X extension RANDR").level, DesktopCheck::warning);
  EXPECT_EQ(named(checks, "X extension X-Resource").level, DesktopCheck::warning);
  EXPECT_EQ(named(checks, "X extension XInputExtension").level, DesktopCheck::ok);
  EXPECT_THAT(named(checks, "X extension XTEST").finding, HasSubstr("missing"));

  // What needs them does without.
  const auto x = X11Connection::open(display).connection;
  ASSERT_TRUE(x);
  ManualQueue queue;
  EXPECT_EQ(X11Screens(x, queue).frames().size(), 1U);
  X11Input input(x);
  input.postMouseEvent({event_type::leftMouseDown, {10, 10}, 1}, event_location::session);
  EXPECT_TRUE(input.createEventTap({}, [](uint32_t, const InputEvent&) { return true; }));
  server.kill(SIGTERM);
  EXPECT_TRUE(server.wait().has_value());
}

}  // namespace
}  // namespace jumplark
