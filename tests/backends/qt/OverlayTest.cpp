#include <algorithm>
#include <csignal>
#include <cstdint>

#include "backends/qt/ViewsFixture.h"

namespace jumplark {
namespace {

using desktop::WindowManager;

constexpr uint32_t kWhite = 0xFFFFFF;
constexpr uint32_t kBlack = 0x000000;
constexpr Color kYellow{1, 0xde / 255.0, 0x5c / 255.0, 0.6};
constexpr Color kBlue{0x20 / 255.0, 0x88 / 255.0, 0xd4 / 255.0, 0.6};
constexpr uint32_t kYellowOnWhite = 0xFFEB9D;
constexpr uint32_t kBlueOnWhite = 0x79B8E5;
constexpr uint32_t kDiscoveryBlueOnWhite = 0xB2B2FF;  // 30 %

class OverlayTest : public ViewsTest {
 protected:
  void startOn(WindowManager windowManager) {
    startViews({.windowManager = windowManager, .width = 1000, .height = 600});
    // Unmanaged, so that it lies exactly there; not as large as the screen, which xfwm4 would stop compositing then.
    ground_ =
        std::make_unique<WindowClient>(*session_, desktop::PixelRect{0, 0, 1000, 590}, WindowClient::overrideRedirect);
    ASSERT_TRUE(shows(500, 300, kWhite));
  }
  BoxLayer box(double x, double y, double width, double height, const Color& color, const char* label = "") const {
    BoxLayer layer;
    layer.frame = core(x, y, width, height);
    layer.background = color;
    layer.label.text = label;
    return layer;
  }
  void expectClickThrough(int x, int y) {
    session_->click(x, y);
    EXPECT_TRUE(ground_->prints("press 1 " + std::to_string(x) + " " + std::to_string(y) + " 0x0"));
    // Some compositors paint the pointer into pictures of the screen.
    session_->pointTo(990, 580);
  }
  bool showsSomething(int x, int y) {
    return await([&] { return session_->pixel(x, y) != kWhite; });
  }
  std::unique_ptr<WindowClient> ground_;
};

class Overlay : public OverlayTest, public testing::WithParamInterface<WindowManager> {
 protected:
  void SetUp() override { startOn(GetParam()); }
};

TEST_P(Overlay, drawsBoxesOnTheirPixelsAndLetsClicksThrough) {
  const BoxLayer last = box(500, 80, 50, 100, kYellow);
  overlay_->orderFront();
  overlay_->setLayers({box(100, 50, 200, 60, kYellow, "A"), box(400, 50, 200, 60, kBlue, "S"), last});
  const struct {
    const char* what;
    uint32_t color;
    std::vector<std::pair<int, int>> places;
  } cases[] = {{"inside the first", kYellowOnWhite, {{140, 60}}},
               {"inside the second", kBlueOnWhite, {{440, 60}}},
               {"its edges", kBlack, {{100, 80}, {299, 80}, {150, 50}, {150, 109}}},
               {"around it, and its rounded corners", kWhite, {{99, 80}, {300, 80}, {150, 49}, {150, 110}, {100, 50}}},
               {"the edge of the later, in front of the earlier", kBlack, {{500, 100}}},
               {"inside the later", kYellowOnWhite, {{520, 160}}}};
  for (const auto& [what, color, places] : cases) {
    for (const auto& [x, y] : places) {
      EXPECT_TRUE(shows(x, y, color)) << what;
    }
  }
  const auto middle = session_->pixels({192, 72, 16, 16});
  EXPECT_GT(std::ranges::count_if(middle, [](uint32_t pixel) { return pixel < 0x303030; }), 10) << "the label";
  expectClickThrough(150, 80);

  // Of the next set only the differences are painted anew; what is gone is gone.
  overlay_->setLayers({box(100, 50, 200, 60, kBlue, "A"), last});
  EXPECT_TRUE(shows(140, 60, kBlueOnWhite));
  EXPECT_TRUE(shows(440, 60, kWhite));
  EXPECT_TRUE(shows(520, 100, kYellowOnWhite));
  overlay_->orderOut();
  EXPECT_TRUE(shows(140, 60, kWhite));
}

TEST_P(Overlay, leavesTheQueryWindowFree) {
  showQueryWindow(300, 300);
  overlay_->orderFront();
  overlay_->setLayers({box(250, 250, 600, 250, kBlue)});
  EXPECT_TRUE(shows(280, 280, kBlueOnWhite));
  EXPECT_TRUE(shows(500, 304, kWhite)) << "of the card";
  query_->orderOut();
  EXPECT_TRUE(shows(500, 304, kBlueOnWhite));
}

TEST_P(Overlay, showsADescriptionBesideAnElement) {
  discovery_->setAnchorFrame(core(300, 300, 200, 40));
  discovery_->setAnchorColor({0, 0, 1, 0.3});
  discovery_->orderFrontRegardless();
  discovery_->showPopover("Type: Button");
  for (const auto& [x, y] : {std::pair(300, 300), {400, 320}, {499, 339}}) {
    EXPECT_TRUE(shows(x, y, kDiscoveryBlueOnWhite));
  }
  EXPECT_TRUE(shows(299, 320, kWhite));
  EXPECT_TRUE(showsSomething(400, 285)) << "the bubble lies above";
  expectClickThrough(400, 285);
  discovery_->closePopover();
  discovery_->orderOut();
  EXPECT_TRUE(shows(300, 320, kWhite));
  EXPECT_TRUE(shows(400, 285, kWhite));

  discovery_->setAnchorFrame(core(0, 0, 60, 40));
  discovery_->orderFrontRegardless();
  discovery_->showPopover("A much longer line than the element is wide");
  EXPECT_TRUE(showsSomething(20, 56)) << "below, where there is no room above";
}

INSTANTIATE_TEST_SUITE_P(On, Overlay,
                         testing::Values(WindowManager::xfwm4, WindowManager::xfwm4Compositor,
                                         WindowManager::openboxPicom, WindowManager::sway),
                         byWindowManager);

TEST_F(OverlayTest, followsTheComingAndGoingOfACompositor) {
  startOn(WindowManager::openbox);
  overlay_->orderFront();
  overlay_->setLayers({box(100, 100, 200, 100, kYellow)});
  EXPECT_TRUE(shows(150, 120, kYellowOnWhite));
  desktop::Process& compositor = session_->start({"picom", "--backend", "xrender", "--config", "/dev/null"});
  // A translucent window has another visual than the root.
  const auto isTranslucent = [&] {
    const auto info = session_->run({"sh", "-c",
                                     "xwininfo -id $(xwininfo -root -tree | sed -n "
                                     "'/jumplark.*1000x600+0+0/s/^ *\\(0x[0-9a-f]*\\).*/\\1/p')"});
    return info.out.find("Depth: 32") != std::string::npos;
  };
  EXPECT_TRUE(await(isTranslucent));
  EXPECT_TRUE(shows(150, 120, kYellowOnWhite));
  EXPECT_TRUE(shows(500, 300, kWhite));
  compositor.kill(SIGTERM);
  ASSERT_TRUE(compositor.wait());
  EXPECT_TRUE(await([&] { return !isTranslucent(); }));
  EXPECT_TRUE(shows(150, 120, kYellowOnWhite));
  EXPECT_TRUE(shows(500, 300, kWhite)) << "a translucent window without a compositor would be black";
}

}  // namespace
}  // namespace jumplark
