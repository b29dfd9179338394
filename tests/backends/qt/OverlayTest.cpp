#include <csignal>
#include <cstdint>

#include "backends/qt/ViewsFixture.h"

namespace jumplark {
namespace {

using desktop::waitUntil;
using desktop::WindowManager;

constexpr uint32_t kWhite = 0xFFFFFF;
constexpr uint32_t kBlack = 0x000000;
constexpr uint32_t kYellowOnWhite = 0xFFEB9D;         // 60 % of ffde5c
constexpr uint32_t kBlueOnWhite = 0x79B8E5;           // 60 % of 2088d4
constexpr uint32_t kDiscoveryBlueOnWhite = 0xB2B2FF;  // 30 %

class Overlay : public ViewsTest, public testing::WithParamInterface<WindowManager> {
 protected:
  void SetUp() override {
    startViews({.windowManager = GetParam(), .width = 1000, .height = 600});
    // Unmanaged, so that it lies exactly there; not as large as the screen, which xfwm4 would stop compositing then.
    ground_ = std::make_unique<WindowClient>(*session_,
                                             desktop::Arguments{"1000x590+0+0", "--title", "g", "--override-redirect"});
  }
  void TearDown() override {
    ground_.reset();
    ViewsTest::TearDown();
  }
  std::unique_ptr<WindowClient> ground_;
};

TEST_P(Overlay, DrawsBoxesOnTheirPixelsAndLetsClicksThrough) {
  views_->command("overlay 1");
  views_->command("boxes 100,50,200,60,ffde5c,A 400,50,200,60,2088d4,S 500,80,50,100,ffde5c,");
  EXPECT_TRUE(shows(140, 60, kYellowOnWhite));
  EXPECT_TRUE(shows(440, 60, kBlueOnWhite));
  for (const int x : {100, 299}) {
    EXPECT_TRUE(shows(x, 80, kBlack)) << "left and right edges";
  }
  for (const int y : {50, 109}) {
    EXPECT_TRUE(shows(150, y, kBlack)) << "upper and lower edges";
  }
  // Around it, and at its rounded corners.
  for (const auto& [x, y] : {std::pair(99, 80), {300, 80}, {150, 49}, {150, 110}, {100, 50}, {299, 109}}) {
    EXPECT_TRUE(shows(x, y, kWhite)) << x << " " << y;
  }
  // The later box lies in front of the earlier.
  EXPECT_TRUE(shows(500, 100, kBlack));
  EXPECT_TRUE(shows(520, 160, kYellowOnWhite));
  // Something black in the middle: the label.
  size_t dark = 0;
  for (const uint32_t pixel : session_->pixels({192, 72, 16, 16})) {
    dark += pixel < 0x303030 ? 1 : 0;
  }
  EXPECT_GT(dark, 10U);

  session_->keys({"mousemove", "150", "80", "click", "1"});
  EXPECT_TRUE(ground_->prints("press 1 150 80 0x0"));

  // Of the next set only the differences are painted anew; what is gone is gone.
  views_->command("boxes 100,50,200,60,2088d4,A 500,80,50,100,ffde5c,");
  EXPECT_TRUE(shows(140, 60, kBlueOnWhite));
  EXPECT_TRUE(shows(440, 60, kWhite));
  EXPECT_TRUE(shows(520, 100, kYellowOnWhite));
  views_->command("overlay 0");
  EXPECT_TRUE(shows(140, 60, kWhite));
}

TEST_P(Overlay, LeavesTheQueryWindowFree) {
  views_->showQueryWindow(300, 300);
  views_->command("overlay 1");
  views_->command("boxes 250,250,600,250,2088d4,");
  views_->command("frame");
  const auto frame = views_->numbers("frame");
  EXPECT_TRUE(shows(280, 280, kBlueOnWhite));
  EXPECT_TRUE(shows(frame[0] + 200, frame[1] + 4, kWhite)) << "of the card";
  views_->command("hide");
  EXPECT_TRUE(shows(frame[0] + 200, frame[1] + 4, kBlueOnWhite));
}

TEST_P(Overlay, ShowsADescriptionBesideAnElement) {
  views_->command("anchor 300 300 200 40 0000ff");
  views_->command("bubble Type: Button");
  for (const auto& [x, y] : {std::pair(300, 300), {400, 320}, {499, 339}}) {
    EXPECT_TRUE(shows(x, y, kDiscoveryBlueOnWhite));
  }
  EXPECT_TRUE(shows(299, 320, kWhite));
  EXPECT_TRUE(waitUntil([&] { return session_->pixel(400, 285) != kWhite; })) << "the bubble lies above";
  session_->keys({"mousemove", "400", "285", "click", "1"});
  EXPECT_TRUE(ground_->prints("press 1 400 285 0x0"));
  views_->command("nothing");
  EXPECT_TRUE(shows(300, 320, kWhite));
  EXPECT_TRUE(shows(400, 285, kWhite));

  views_->command("anchor 0 0 60 40 0000ff");
  views_->command("bubble A much longer line than the element is wide");
  EXPECT_TRUE(waitUntil([&] { return session_->pixel(20, 56) != kWhite; })) << "below, where there is no room above";
}

INSTANTIATE_TEST_SUITE_P(On, Overlay,
                         testing::Values(WindowManager::xfwm4, WindowManager::xfwm4Compositor,
                                         WindowManager::openboxPicom),
                         [](const auto& info) { return nameOf(info.param); });

class OverlayAndCompositor : public ViewsTest {};

TEST_F(OverlayAndCompositor, FollowsItsComingAndGoing) {
  startViews({.windowManager = WindowManager::openbox, .width = 800, .height = 600});
  const WindowClient ground(*session_, {"800x590+0+0", "--title", "g", "--override-redirect"});
  views_->command("overlay 1");
  views_->command("boxes 100,100,200,100,ffde5c,");
  EXPECT_TRUE(shows(150, 120, kYellowOnWhite));
  desktop::Process& compositor = session_->start({"picom", "--backend", "xrender", "--config", "/dev/null"});
  // A translucent window has another visual than the root.
  const auto isTranslucent = [&] {
    const auto info = session_->run({"sh", "-c",
                                     "xwininfo -id $(xwininfo -root -tree | sed -n "
                                     "'/jumplark.*800x600+0+0/s/^ *\\(0x[0-9a-f]*\\).*/\\1/p')"});
    return info.out.find("Depth: 32") != std::string::npos;
  };
  EXPECT_TRUE(waitUntil(isTranslucent));
  EXPECT_TRUE(shows(150, 120, kYellowOnWhite));
  EXPECT_TRUE(shows(500, 300, kWhite));
  compositor.kill(SIGTERM);
  ASSERT_TRUE(compositor.wait());
  EXPECT_TRUE(waitUntil([&] { return !isTranslucent(); }));
  EXPECT_TRUE(shows(150, 120, kYellowOnWhite));
  EXPECT_TRUE(shows(500, 300, kWhite)) << "a translucent window without a compositor would be black";
}

}  // namespace
}  // namespace jumplark
