#include "backends/linux/x11/X11Connection.h"

#include <gmock/gmock.h>

#include "backends/linux/x11/X11Checks.h"
#include "backends/linux/x11/X11Input.h"
#include "backends/linux/x11/X11InputSources.h"
#include "backends/linux/x11/X11Screens.h"
#include "backends/linux/x11/X11Shortcuts.h"
#include "backends/x11/X11Fixture.h"

namespace jumplark {
namespace {

using desktop::waitUntil;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr MouseEvent kDown{event_type::leftMouseDown, {10, 10}, 1};

class X11ConnectionTest : public X11Test {
 protected:
  X11ConnectionTest() : X11Test(desktop::WindowManager::none) {}
};

TEST_F(X11ConnectionTest, saysWhatToDoWhenThereIsNoDisplay) {
  EXPECT_THAT(X11Connection::open(":987").error, HasSubstr("\":987\" cannot be reached"));
  EXPECT_THAT(X11Connection::open("no display").error, HasSubstr("not the name of an X display"));
}

TEST_F(X11ConnectionTest, whatAServerLacksIsSaidWithARemedyAndWhatNeedsItDoesWithout) {
  desktop::Process& server = session_->start({"Xvfb", "-displayfd", "1", "-extension", "XTEST", "-extension", "RANDR",
                                              "-extension", "X-Resource", "-noreset", "-nolisten", "tcp"});
  ASSERT_TRUE(waitUntil([&] { return server.out().ends_with("\n"); }));
  const std::string display = ":" + server.out().substr(0, server.out().size() - 1);
  const auto adopted = session_->adoptEnvironment();
  setenv("XDG_SESSION_TYPE", "wayland", 1);
  const std::pair<const std::string, DesktopCheck::Level> expected[] = {
      {"X display", DesktopCheck::ok},
      {"window manager", DesktopCheck::failure},
      {"session", DesktopCheck::warning},
      {"transparency", DesktopCheck::warning},
      {"panel", DesktopCheck::warning},
      {"X extension XTEST", DesktopCheck::failure},
      {"X extension RANDR", DesktopCheck::warning},
      {"X extension X-Resource", DesktopCheck::warning},
      {"X extension XInputExtension", DesktopCheck::ok}};
  std::map<std::string, DesktopCheck::Level> levels;
  for (const DesktopCheck& check : x11Checks(display)) {
    levels[check.name] = check.level;
    EXPECT_EQ(check.remedy.empty(), check.level == DesktopCheck::ok) << check.name << ": " << check.remedy;
    EXPECT_TRUE(check.finding.ends_with(".")) << check.name << ": " << check.finding;
  }
  EXPECT_THAT(levels, testing::IsSupersetOf(expected));

  const auto x = X11Connection::open(display).connection;
  ASSERT_TRUE(x);
  EXPECT_EQ(X11Screens(x, queue_).frames().size(), 1U);
  X11Input input(x);
  input.postMouseEvent(kDown, event_location::session);
  EXPECT_TRUE(input.createEventTap({}, [](uint32_t, const InputEvent&) { return true; }));
}

TEST_F(X11ConnectionTest, aLostServerGivesEmptyAnswersAndHoldsUpNobody) {
  auto input = std::make_unique<X11Input>(x_);
  const auto callback = [](uint32_t, const InputEvent&) { return true; };
  EventTapConfiguration returns;
  returns.swallowedKeyCodes = {key_code::returnKey};
  const auto tap = input->createEventTap(returns, callback);
  tap->setEnabled(true);
  input->postMouseEvent(kDown, event_location::session);
  X11Screens screens(x_, queue_);
  const Token framesChanged = screens.onFramesChanged([] {});
  X11InputSources sources(x_);
  X11Shortcuts shortcuts(session_->display(), queue_);
  const Shortcut shortcut{key_code::space, modifier_flag::command};
  const auto registered = shortcuts.registerShortcut(shortcut, [] { return false; });

  session_.reset();
  ASSERT_TRUE(waitUntil([&] { return !windows_->window(1) && !x_->alive(); }));
  EXPECT_THAT(windows_->windowsFrontToBack(), IsEmpty());
  EXPECT_THAT(windows_->popupsFrontToBack(), IsEmpty());
  EXPECT_FALSE(windows_->topmostWindowAt({150, 150}));
  EXPECT_FALSE(windows_->activeWindow());
  EXPECT_FALSE(windows_->requestActive(1, true));
  EXPECT_THAT(screens.frames(), IsEmpty());
  EXPECT_EQ(screens.pointerLocation(), Point{});
  EXPECT_FALSE(X11Screens(x_, queue_).onFramesChanged([] {}));
  EXPECT_FALSE(sources.select("de"));
  EXPECT_FALSE(sources.currentKeyboardLayout());
  EXPECT_THAT(sources.selectableKeyboardLayouts(), IsEmpty());
  EXPECT_TRUE(waitUntil([&] { return shortcuts.probe(shortcut) == ShortcutState::outOfReach; }));
  EXPECT_EQ(shortcuts.registerShortcut(shortcut, [] { return false; }).state, ShortcutState::outOfReach);
  input->postMouseEvent({event_type::leftMouseUp, {10, 10}, 1}, event_location::session);
  input->beep();
  tap->setEnabled(false);
  tap->setEnabled(true);
  input.reset();
  EXPECT_FALSE(tap->isEnabled()) << "a handle may outlive the input";
  tap->setEnabled(true);
  EXPECT_FALSE(X11Input(x_).createEventTap({}, callback));
  EXPECT_EQ(queue_.runAll(), 0U);
}

}  // namespace
}  // namespace jumplark
