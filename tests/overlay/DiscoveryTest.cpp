#include "overlay/JLDiscoveryController.h"
#include "overlay/JLDiscoveryViewController.h"
#include "streams/NotificationCenter.h"
#include "support/DesktopText.h"
#include "support/RecordedFixture.h"
#include "tree/JLElementTree.h"

namespace jumplark::testing {
namespace {

using std::chrono::milliseconds;

constexpr Color kTranslucentBlue{0, 0, 1, 0.3};
const char* const kOK = "Type: Button\nDescription: Keeps all\nTitle: OK";
const char* const kClose = "Type: Button, CloseButton\nTitle: Close";

/// Two buttons side by side in the upper left corner of a screen 900 high. Positions have a top-left origin.
const std::string kDesktop = DesktopText::of(R"(
  app AXApplication
    w AXWindow 0,0/400,300
      ok AXButton 0,0/100,20 AXTitle="OK" AXDescription="Keeps\nall" AXValue=""
      close AXButton 100,0/100,20 AXSubrole="AXCloseButton" AXTitle="Close"
  )",
                                             R"("screens":[[0,0,1000,900]],"pointer":[500,500],)");

struct Discovery {
  RecordedFixture desktop{kDesktop};
  std::shared_ptr<JLElementTree> tree = JLElementTree::tree();
  std::unique_ptr<JLDiscoveryController> controller;

  Discovery() {
    desktop.onMainThread([this] { controller = std::make_unique<JLDiscoveryController>(); });
  }
  ~Discovery() { EXPECT_EQ(screen().callsOffMainThread(), 0); }

  const RecordedDiscovery& screen() { return desktop->views().discovery(); }
  void activate() {
    desktop.onMainThread([this] { controller->activate(); });
  }
  void deactivate() {
    desktop.onMainThread([this] { controller->deactivate(); });
  }
  void pointTo(Point topLeft) { desktop->screens().setPointerFromTopLeft(topLeft); }
  void pass(int time) { desktop->queues().advance(milliseconds(time)); }
  void select(const std::string& id) {
    const auto node = tree->handle(JLElementNode::nodeWithJLElement(*tree, desktop.element(id)));
    desktop.onMainThread([&] { NotificationCenter::defaultCenter().post({"ElementSelectionChanged", node, {}}); });
  }
  void selectNothing() {
    desktop.onMainThread([] { NotificationCenter::defaultCenter().post({"ElementSelectionChanged", {}, {}}); });
  }
  std::string shown() { return screen().popoverText().value_or("nothing"); }
};

TEST(Discovery, explainsWhatThePointerRestsOn) {
  // When a step ends, in milliseconds since the activation, where the pointer is then, and what shows.
  const std::tuple<int, Point, std::string> steps[] = {
      {2000, {500, 399}, "nothing"},  // the pointer has not moved yet, however long it rests
      {2410, {10, 10}, "nothing"},    // the tick at 2.4 s finds it moved
      {2790, {10, 10}, "nothing"},    //
      {2810, {10, 10}, kOK},          // the tick at 2.8 s finds it at rest
      {3210, {50, 10}, kOK},          // moves within the element
      {3590, {150, 10}, kOK},         // moves out of it
      {3610, {150, 10}, "nothing"},   // and the next tick hides the details
      {4010, {150, 10}, kClose},      //
      {4410, {900, 800}, "nothing"},  //
      {4810, {900, 800}, "Type: "},   // an empty place
  };
  Discovery test;
  test.activate();
  int now = 0;
  for (const auto& [time, pointer, shown] : steps) {
    test.pointTo(pointer);
    test.pass(time - now);
    now = time;
    EXPECT_EQ(test.shown(), shown) << time;
    EXPECT_EQ(test.screen().visible(), test.shown() != "nothing") << time;
  }
}

TEST(Discovery, laysABlueBoxOverWhatThePointerRestsOn) {
  Discovery test;
  test.activate();
  test.pointTo({150, 10});
  test.pass(900);
  EXPECT_EQ(test.screen().frame(), (Rect{100, 880, 100, 20}));
  EXPECT_EQ(test.screen().color(), kTranslucentBlue);
  EXPECT_EQ(test.screen().level(), window_level::screenSaver + 2);
  EXPECT_EQ(*test.controller->currentElement(), *test.desktop.element("close"));
  EXPECT_TRUE(test.controller->isShowing());
  EXPECT_EQ(test.controller->initialPosition(), (Point{500, 500}));
  test.pointTo({10, 10});
  test.controller->checkMousePosition();
  test.pass(0);
  EXPECT_EQ(test.shown(), "nothing") << "asked between two ticks";
  EXPECT_EQ(test.controller->currentElement(), nullptr);
  test.desktop.onMainThread([&] { test.controller->showDetailsOfElementHighlight(test.desktop.element("ok"), true); });
  EXPECT_EQ(test.shown(), kOK);
}

TEST(Discovery, theSelectionIsExplainedAfterASecondWithoutTheBox) {
  Discovery test;
  test.activate();
  test.pointTo({10, 10});
  test.pass(900);
  ASSERT_NE(test.shown(), "nothing");
  test.select("close");
  EXPECT_EQ(test.shown(), "nothing") << "a change hides what is shown at once";
  test.pass(900);
  test.select("ok");
  test.pass(990);
  EXPECT_EQ(test.shown(), "nothing") << "the later change starts the second anew";
  test.pass(20);
  EXPECT_EQ(test.shown(), kOK);
  EXPECT_EQ(test.screen().color().alpha, 0);
  EXPECT_EQ(test.screen().popoversShown(), 2);
  test.selectNothing();
  EXPECT_EQ(test.shown(), "nothing");
}

TEST(Discovery, stopsForGoodWhenDeactivatedAndDoesNotStartWhileItIsSwitchedOff) {
  Discovery test;
  test.controller->setEnabled(false);
  test.activate();
  EXPECT_FALSE(test.controller->isActive());
  test.controller->setEnabled(true);
  test.activate();
  test.activate();
  test.pointTo({10, 10});
  test.pass(900);
  test.select("ok");
  test.pass(100);
  test.desktop.onMainThread([&] {
    test.controller->showDetailsOfElementHighlight(test.desktop.element("ok"), true);
    test.controller->deactivate();
    EXPECT_FALSE(test.screen().visible());
  });
  test.pointTo({150, 10});
  test.pass(3000);
  EXPECT_EQ(test.shown(), "nothing") << "neither the pointer nor the selection shows anything any more";
  const uint64_t messages = test.desktop->accessibility().messageCount();
  test.pass(3000);
  EXPECT_EQ(test.desktop->accessibility().messageCount(), messages) << "no ticks";
  const int shown = test.screen().popoversShown();
  test.activate();
  test.select("ok");
  test.pass(500);
  test.deactivate();
  test.activate();
  test.pass(3000);
  EXPECT_EQ(test.screen().popoversShown(), shown) << "what was selected in an activation before";
}

TEST(Discovery, aLookUpThatOutlivesTheActivationShowsNothingAndHoldsNobodyUp) {
  Discovery test;
  test.activate();
  test.pointTo({10, 10});
  test.pass(410);
  test.desktop->accessibility().setDelay("ok", 100);
  test.pass(400);  // the tick at 0.8 s has begun and waits
  const Duration before = test.desktop->queues().monotonicNow();
  test.desktop.onMainThread([&] {
    test.controller->deactivate();
    EXPECT_EQ(test.desktop->queues().monotonicNow(), before);
  });
  test.pass(5000);
  EXPECT_EQ(test.screen().popoversShown(), 0);
}

}  // namespace
}  // namespace jumplark::testing
