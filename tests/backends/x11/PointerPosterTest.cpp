#include "backends/linux/x11/PointerPoster.h"

#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include "backends/x11/X11Fixture.h"

namespace jumplark {
namespace {

using desktop::waitUntil;
using testing::ElementsAre;
using testing::StartsWith;

class PointerPosterTest : public X11Test {
 protected:
  PointerPosterTest() : X11Test(desktop::WindowManager::none) {}
  xcb_query_pointer_reply_t pointer() const {
    const auto reply = x11::takeReply(x_->get(), xcb_query_pointer_reply, xcb_query_pointer(x_->get(), x_->root()));
    return reply ? *reply : xcb_query_pointer_reply_t{};
  }
  bool buttonIsDown() const { return (pointer().mask & XCB_BUTTON_MASK_1) != 0; }
  static void down(PointerPoster& poster, double x = 60, double y = 70) {
    poster.post({event_type::leftMouseDown, {x, y}, 1});
  }
  static void up(PointerPoster& poster, double x = 60, double y = 70) {
    poster.post({event_type::leftMouseUp, {x, y}, 1});
  }
  WindowClient client_{*session_, {50, 60, 200, 100}};
};

TEST_F(PointerPosterTest, clicksThePixelMeant) {
  PointerPoster poster(x_);
  poster.post({event_type::mouseMoved, {123, 87}, 0});
  EXPECT_EQ((Point{1.0 * pointer().root_x, 1.0 * pointer().root_y}), (Point{123, 87}));
  down(poster, 123, 87);
  EXPECT_TRUE(buttonIsDown());
  up(poster, 123, 87);
  EXPECT_FALSE(buttonIsDown());
  // The middle of a box three wide and one high that begins at (60, 70), as conversions from a bottom-left origin give
  // it: one row is subtracted.
  down(poster, 61.5, 69.5);
  up(poster, 61.5, 69.5);
  // The left button, also in the hand of those whose pointer is mapped the other way round.
  ASSERT_EQ(session_->run({"xmodmap", "-e", "pointer = 3 2 1 4 5"}).status, 0);
  down(poster);
  up(poster);
  EXPECT_TRUE(client_.prints("release 1 10 10 0x100"));
  EXPECT_THAT(client_.lines(),
              ElementsAre(StartsWith("window"), "press 1 73 27 0x0", "release 1 73 27 0x100", "press 1 11 10 0x0",
                          "release 1 11 10 0x100", "press 1 10 10 0x0", "release 1 10 10 0x100"));
}

TEST_F(PointerPosterTest, aSecondPressOrReleaseChangesNothing) {
  PointerPoster poster(x_);
  up(poster);
  down(poster);
  down(poster);
  up(poster);
  up(poster, 61, 70);
  down(poster, 70, 80);
  up(poster, 70, 80);
  ASSERT_TRUE(client_.prints("release 1 20 20 0x100"));
  EXPECT_THAT(client_.lines("press"), ElementsAre("press 1 10 10 0x0", "press 1 20 20 0x0"));
}

TEST_F(PointerPosterTest, heldModifiersDoNotColourTheClickAndLocksStayOn) {
  session_->keys({"key", "Caps_Lock", "key", "Num_Lock"});
  session_->keys({"keydown", "Super_L", "keydown", "Shift_L", "keydown", "Control_R", "keydown", "Alt_L"});
  ASSERT_EQ(pointer().mask, 0x5F) << "the modifiers, and the two locks";
  std::vector<uint8_t> announced;
  PointerPoster poster(x_, [&](uint8_t keycode) { announced.push_back(keycode); });
  down(poster);
  up(poster);
  EXPECT_TRUE(client_.prints("press 1 10 10 0x12"));
  EXPECT_THAT(announced, testing::IsSupersetOf({133, 50, 105, 64}));
  session_->keys({"keyup", "Super_L", "keyup", "Shift_L", "keyup", "Control_R", "keyup", "Alt_L"});
  EXPECT_EQ(pointer().mask, 0x12);
}

// What watches over the button outlives the process for a moment; what the process had grabbed must not.
TEST_F(PointerPosterTest, buttonAndGrabsAreFreeWhenTheProcessEndsInWhateverWay) {
  const auto grab = [](const X11Connection& x) {
    return x.check(
        xcb_grab_key_checked(x.get(), 0, x.root(), XCB_MOD_MASK_ANY, 36, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
  };
  const std::pair<const char*, std::function<void(pid_t)>> deaths[] = {
      {"killed", [](pid_t child) { kill(child, SIGKILL); }},
      {"interrupted with all of its group", [](pid_t child) { kill(-child, SIGINT); }},
      {"aborted", [](pid_t child) { kill(child, SIGABRT); }}};
  const auto returnIsFree = [&] {
    const bool taken = session_->takeKey(36);
    if (taken) {
      session_->giveKeyBack(36);
    }
    return taken;
  };
  for (const auto& [name, death] : deaths) {
    const pid_t child = fork();
    if (child == 0) {
      setpgid(0, 0);
      const auto grabbing = X11Connection::open(session_->display()).connection;
      PointerPoster poster(X11Connection::open(session_->display()).connection);
      while (!grab(*grabbing)) {
      }
      down(poster);
      while (true) {
        pause();
      }
    }
    EXPECT_TRUE(waitUntil([&] { return buttonIsDown() && !returnIsFree(); })) << name;
    death(child);
    waitpid(child, nullptr, 0);
    EXPECT_TRUE(waitUntil([&] { return !buttonIsDown() && returnIsFree(); })) << name;
  }
}

TEST_F(PointerPosterTest, destructionReleasesItsOwnButtonAndEndsTheGuard) {
  auto poster = std::make_unique<PointerPoster>(x_);
  down(*poster);
  { PointerPoster other(x_); }
  EXPECT_TRUE(buttonIsDown()) << "it is another's button";
  poster.reset();
  EXPECT_FALSE(buttonIsDown());

  auto guard = ButtonGuard::start(*x_);
  ASSERT_TRUE(guard);
  const pid_t pid = guard->childPid();
  EXPECT_EQ(kill(pid, 0), 0);
  guard.reset();
  EXPECT_EQ(kill(pid, 0), -1);
}

}  // namespace
}  // namespace jumplark
