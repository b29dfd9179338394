#include <sys/socket.h>
#include <wayland-client.h>

#include <qpa/qplatformnativeinterface.h>
#include <QGuiApplication>
#include <csignal>

#include "backends/qt/ViewsFixture.h"
#include "platform/Input.h"

namespace jumplark {
namespace {

using desktop::WindowManager;

constexpr uint32_t kWhite = 0xFFFFFF;

/// Query window and overlay as layer surfaces on two outputs, over a client of Xwayland.
class Layers : public ViewsTest {
 protected:
  void SetUp() override {
    startViews({.windowManager = WindowManager::sway, .width = 1200, .height = 600, .monitors = {{1200, 0, 600, 400}}});
    // Windows without a class fill the screen.
    other_ = std::make_unique<WindowClient>(*session_, desktop::PixelRect{500, 200, 200, 100}, WindowClient::managed,
                                            std::vector{classProperty("other", "Other")});
    ASSERT_TRUE(await([&] { return typingReachesTheOther(); }));
  }
  bool typingReachesTheOther() {
    const size_t before = other_->lines("key").size();
    session_->press({"b"});
    return desktop::waitUntil([&] { return other_->lines("key").size() > before; }, desktop::Milliseconds(500));
  }
  /// All that is told of a combination, the key first.
  std::vector<std::string> toldOf(const std::string& keys) {
    query_->setText("");
    told_.clear();
    session_->press({keys});
    EXPECT_TRUE(await([&] { return !told_.empty(); })) << keys;
    return told_;
  }
  /// What shows on the first output, in its own pixels: "FFFFFF".
  std::string devicePixel(int x, int y) {
    const std::string place = std::to_string(x) + "," + std::to_string(y);
    const std::string command = "grim -o HEADLESS-1 -t ppm - | convert ppm:- -format '%[hex:p{" + place + "}]' info:";
    return session_->run({"sh", "-c", command}).out;
  }

  std::unique_ptr<WindowClient> other_;
};

TEST_F(Layers, haveTheKeyboardAtTheirPlaceForAsLongAsTheyShow) {
  for (const auto& [x, y] : {std::pair(300, 500), {0, 0}, {1220, 320}}) {
    const uint32_t before = session_->pixel(x + 200, y + 4);
    ASSERT_NE(before, kWhite) << x;
    showQueryWindow(x, y);
    EXPECT_TRUE(shows(x + 200, y + 4, kWhite)) << x;
    EXPECT_NE(session_->pixel(x + 200, y + 60), kWhite) << "which ends there";
    EXPECT_NE(session_->pixel(x + 445, y + 20), kWhite) << "and there";
    EXPECT_EQ(toldOf("shift+a").back(), "text A");
    told_.clear();
    query_->orderOut();
    EXPECT_EQ(count("resign"), 1U) << "the hiding itself is told, once";
    EXPECT_EQ(session_->pixel(x + 200, y + 4), before) << "at once";
    EXPECT_TRUE(await([&] { return typingReachesTheOther(); }));
  }
}

TEST_F(Layers, areToldKeysInTheirOwnTerms) {
  using namespace modifier_flag;
  const auto line = [](int64_t code, uint64_t flags, const std::string& ignoring) {
    return "key " + std::to_string(code) + " " + std::to_string(flags) + " " + ignoring;
  };
  const auto symbol = [](char of) { return key_code::symbolBase + of; };
  const struct {
    const char* keys;
    std::vector<std::string> told;
  } cases[] = {{"Return", {line(key_code::returnKey, 0, "\r")}},
               {"shift+Tab", {line(key_code::tab, shift, "\t")}},
               {"ctrl+a", {line(symbol('a'), control, "a")}},
               {"super+r", {line(symbol('r'), command, "r"), "equivalent " + std::to_string(symbol('r'))}},
               {"alt+x", {line(symbol('x'), option, "x")}}};
  showQueryWindow(300, 500);
  for (const auto& [keys, told] : cases) {
    EXPECT_EQ(toldOf(keys), told) << keys;
  }
}

TEST_F(Layers, areDrawnInTheOutputsOwnPixels) {
  overlay_->orderFront();
  session_->run({"swaymsg", "output", "HEADLESS-1", "scale", "1.5"});
  ASSERT_TRUE(await([&] { return core(0, 0, 0, 0).y == 400; }));
  BoxLayer box;
  box.frame = core(101, 351, 100, 40);
  box.background = {1, 1, 1, 1};
  overlay_->setLayers({box});
  // An edge of a point and a half, from a point and a half on.
  EXPECT_TRUE(await([&] { return devicePixel(153, 556) == "000000"; }));
  EXPECT_EQ(devicePixel(152, 556), "000000");
  EXPECT_NE(devicePixel(151, 556), "000000");
  EXPECT_EQ(devicePixel(154, 556), "FFFFFF");
  showQueryWindow(300, 200);
  EXPECT_TRUE(await([&] { return devicePixel(750, 306) == "FFFFFF"; })) << "painted whole";
}

TEST_F(Layers, waitForNoCompositorThatHangs) {
  auto* const display =
      static_cast<wl_display*>(QGuiApplication::platformNativeInterface()->nativeResourceForIntegration("wl_display"));
  ucred compositor{};
  socklen_t size = sizeof compositor;
  ASSERT_EQ(getsockopt(wl_display_get_fd(display), SOL_SOCKET, SO_PEERCRED, &compositor, &size), 0);
  showQueryWindow(300, 500);
  overlay_->orderFront();
  told_.clear();
  ASSERT_EQ(kill(compositor.pid, SIGSTOP), 0);
  query_->orderOut();
  overlay_->orderOut();
  EXPECT_EQ(count("resign"), 1U);
  query_->makeKeyAndOrderFront();
  EXPECT_TRUE(await([&] { return count("resign") == 2; })) << "it did not come to show";
  EXPECT_FALSE(query_->isVisible());
  ASSERT_EQ(kill(compositor.pid, SIGCONT), 0);
  showQueryWindow(300, 500);
  EXPECT_EQ(toldOf("shift+a").back(), "text A");
}

}  // namespace
}  // namespace jumplark
