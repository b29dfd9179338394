#include "backends/linux/x11/PointerPoster.h"

#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>

#include "backends/linux/x11/Reply.h"
#include "backends/linux/x11/X11Input.h"
#include "backends/x11/X11Fixture.h"

namespace jumplark {
namespace {

using desktop::waitUntil;
using testing::ElementsAre;

constexpr MouseEvent moved(double x, double y) {
  return {event_type::mouseMoved, {x, y}, 0};
}
constexpr MouseEvent down(double x, double y, int64_t clickState = 1) {
  return {event_type::leftMouseDown, {x, y}, clickState};
}
constexpr MouseEvent up(double x, double y, int64_t clickState = 1) {
  return {event_type::leftMouseUp, {x, y}, clickState};
}

class PointerPosterTest : public X11Test {
 protected:
  void SetUp() override { start({.windowManager = desktop::WindowManager::none}); }
  xcb_query_pointer_reply_t pointer() const {
    const auto reply = x11::takeReply(x_->get(), xcb_query_pointer_reply, xcb_query_pointer(x_->get(), x_->root()));
    return reply ? *reply : xcb_query_pointer_reply_t{};
  }
  bool buttonIsDown() const { return (pointer().mask & XCB_BUTTON_MASK_1) != 0; }

  // Runs `inChild` in a process of its own up to the point where it has pressed the button, then ends it with `kill`.
  void pressAndDie(const std::function<void()>& inChild, const std::function<void(pid_t)>& kill) {
    int ready[2];
    ASSERT_EQ(pipe(ready), 0);
    const pid_t child = fork();
    if (child == 0) {
      setpgid(0, 0);
      inChild();
      while (write(ready[1], "!", 1) == 1) {
        pause();
      }
      _exit(1);
    }
    close(ready[1]);
    char byte = 0;
    EXPECT_EQ(read(ready[0], &byte, 1), 1);
    close(ready[0]);
    EXPECT_TRUE(buttonIsDown());
    kill(child);
    waitpid(child, nullptr, 0);
  }
};

TEST_F(PointerPosterTest, clicksThePixelMeant) {
  WindowClient client(*session_, {"200x100+50+60", "--title", "Target"});
  PointerPoster poster(x_);
  poster.post(moved(123, 87));
  EXPECT_EQ(pointer().root_x, 123);
  EXPECT_EQ(pointer().root_y, 87);
  poster.post(down(123, 87));
  EXPECT_TRUE(buttonIsDown());
  poster.post(up(123, 87));
  EXPECT_FALSE(buttonIsDown());
  EXPECT_TRUE(client.prints("press 1 73 27 0x0"));
  EXPECT_TRUE(client.prints("release 1 73 27 0x100"));

  // The middle of a box three wide and one high that begins at (60, 70), as conversions from a bottom-left origin give
  // it: one row is subtracted.
  poster.post(down(61.5, 69.5, 2));
  poster.post(up(61.5, 69.5, 2));
  EXPECT_TRUE(client.prints("release 1 11 10 0x100"));
  EXPECT_EQ(client.lines("press").size(), 2U);
}

TEST_F(PointerPosterTest, aSecondPressOrReleaseChangesNothing) {
  WindowClient client(*session_, {"200x100+0+0", "--title", "Target"});
  PointerPoster poster(x_);
  poster.post(up(10, 10));
  poster.post(down(10, 10));
  poster.post(down(10, 10));
  poster.post(up(10, 10));
  poster.post(up(11, 10));
  poster.post(down(20, 20));
  poster.post(up(20, 20));
  ASSERT_TRUE(client.prints("release 1 20 20 0x100"));
  EXPECT_THAT(client.lines("press"), ElementsAre("press 1 10 10 0x0", "press 1 20 20 0x0"));
}

TEST_F(PointerPosterTest, pressesTheLeftButtonOfALeftHandedMapping) {
  WindowClient client(*session_, {"200x100+0+0", "--title", "Target"});
  ASSERT_EQ(session_->run({"xmodmap", "-e", "pointer = 3 2 1 4 5"}).status, 0);
  PointerPoster poster(x_);
  poster.post(down(10, 10));
  poster.post(up(10, 10));
  EXPECT_TRUE(client.prints("press 1 10 10 0x0"));
  EXPECT_TRUE(client.prints("release 1 10 10 0x100"));
}

TEST_F(PointerPosterTest, heldModifiersDoNotColourTheClickAndLocksStayOn) {
  WindowClient client(*session_, {"200x100+0+0", "--title", "Target"});
  session_->keys({"key", "Caps_Lock", "key", "Num_Lock"});
  session_->keys({"keydown", "Super_L", "keydown", "Shift_L", "keydown", "Control_R", "keydown", "Alt_L"});
  ASSERT_EQ(pointer().mask, 0x5F) << "the modifiers, and the two locks";
  std::vector<uint8_t> announced;
  PointerPoster poster(x_, [&](uint8_t keycode) { announced.push_back(keycode); });
  poster.post(down(10, 10));
  poster.post(up(10, 10));
  EXPECT_TRUE(client.prints("press 1 10 10 0x12"));
  EXPECT_THAT(announced, testing::IsSupersetOf({133, 50, 105, 64}));
  session_->keys({"keyup", "Super_L", "keyup", "Shift_L", "keyup", "Control_R", "keyup", "Alt_L"});
  EXPECT_EQ(pointer().mask, 0x12);
}

TEST_F(PointerPosterTest, theButtonComesUpWhenTheProcessEndsInWhateverWay) {
  const std::pair<const char*, std::function<void(pid_t)>> deaths[] = {
      {"killed", [](pid_t child) { kill(child, SIGKILL); }},
      {"interrupted with all of its group", [](pid_t child) { kill(-child, SIGINT); }},
      {"aborted", [](pid_t child) { kill(child, SIGABRT); }}};
  for (const auto& [name, death] : deaths) {
    std::shared_ptr<PointerPoster> poster;
    pressAndDie(
        [&] {
          poster = std::make_shared<PointerPoster>(X11Connection::open(session_->display()).connection);
          poster->post(down(10, 10));
        },
        death);
    EXPECT_TRUE(waitUntil([&] { return !buttonIsDown(); })) << name;
  }
  PointerPoster poster(x_);
  poster.post(down(10, 10));
  { PointerPoster other(x_); }
  EXPECT_TRUE(buttonIsDown()) << "it is another's button";
}

TEST_F(PointerPosterTest, destructionReleasesTheButtonAndEndsTheGuard) {
  {
    PointerPoster poster(x_);
    poster.post(down(10, 10));
  }
  EXPECT_FALSE(buttonIsDown());

  auto guard = ButtonGuard::start(*x_);
  ASSERT_TRUE(guard);
  const pid_t pid = guard->childPid();
  EXPECT_EQ(kill(pid, 0), 0);
  guard.reset();
  EXPECT_EQ(kill(pid, 0), -1);
}

// The guard outlives the process for a moment; what the process had grabbed must not.
TEST_F(PointerPosterTest, theGuardKeepsNoOtherConnectionOpen) {
  std::shared_ptr<X11Connection> grabbing;
  std::shared_ptr<PointerPoster> poster;
  const auto grab = [](const X11Connection& x) {
    return x.check(
        xcb_grab_key_checked(x.get(), 0, x.root(), XCB_MOD_MASK_ANY, 36, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
  };
  pressAndDie(
      [&] {
        grabbing = X11Connection::open(session_->display()).connection;
        if (!grab(*grabbing)) {
          _exit(1);
        }
        poster = std::make_shared<PointerPoster>(X11Connection::open(session_->display()).connection);
        poster->post(down(10, 10));
      },
      [&](pid_t child) {
        EXPECT_FALSE(grab(*x_));
        kill(child, SIGKILL);
      });
  EXPECT_TRUE(waitUntil([&] { return grab(*x_); }));
}

TEST_F(PointerPosterTest, aLostServerIsNoHindrance) {
  X11Input input(x_);
  input.postMouseEvent(down(10, 10), event_location::session);
  session_.reset();
  input.postMouseEvent(up(10, 10), event_location::session);
  input.postMouseEvent(down(10, 10), event_location::session);
  input.beep();
  EXPECT_TRUE(waitUntil([&] { return !x_->alive(); }));
}

}  // namespace
}  // namespace jumplark
