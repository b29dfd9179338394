#include "overlay/Colors.h"
#include "overlay/JLElementHighlighter.h"
#include "overlay/JLOverlayWindow.h"
#include "overlay/ScreenFrames.h"
#include "support/DesktopText.h"
#include "support/RecordedFixture.h"
#include "support/RecordedMetrics.h"
#include "tree/JLElementTree.h"

namespace jumplark::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr Color kYellow{0xff / 255.0, 0xde / 255.0, 0x5c / 255.0, 0.6};
constexpr Color kBlue{0x20 / 255.0, 0x88 / 255.0, 0xd4 / 255.0, 0.6};

/// A window of 400 by 300 whose scroll area shows the upper 100 points of a long list. Positions have a top-left
/// origin.
const std::string kDesktop = DesktopText::of(R"(
  app AXApplication
    w AXWindow 0,0/400,300
      scroll AXScrollArea 0,50/400,100
        half AXCell 0,140/400,40
        below AXCell 0,180/400,40
      button AXButton 10,10/100,20
      link AXLink 10,200/50,2
      thin AXLink 10,210/50,1.5
      file AXMenuBarItem 380,0/60,20
  )",
                                             R"("screens":[[0,0,1000,900],[1000,-100,500,400]],"pointer":[0,0],)");

struct Highlighting {
  RecordedFixture desktop{kDesktop};
  std::shared_ptr<JLElementTree> tree = JLElementTree::tree();
  JLElementHighlighter highlighter;

  std::shared_ptr<JLElementNode> node(const std::string& id) {
    JLElementNode* made = JLElementNode::nodeWithJLElement(*tree, desktop.element(id));
    tree->addChild(tree->rootElement(), made);
    return tree->handle(made);
  }
  /// Yellow boxes, labelled with the ids.
  HighlightOptionMap options(const std::vector<std::string>& ids) {
    HighlightOptionMap map;
    for (const std::string& id : ids) {
      map.emplace_back(JLElementMatch(node(id), 1), HighlightOptions{id, std::nullopt});
    }
    return map;
  }
  void run() { desktop->queues().runPending(); }
  void show(const HighlightOptionMap& map, const std::function<bool()>& isUnwanted = {}) {
    highlighter.setVisible(true);
    highlighter.setHighlightedElements(map, isUnwanted);
    run();
  }
  const RecordedOverlay& screen() { return desktop->views().overlay(); }
  std::vector<std::string> shownLabels() {
    std::vector<std::string> labels;
    for (const BoxLayer& box : screen().shownLayers()) {
      labels.push_back(box.label.text);
    }
    return labels;
  }
};

TEST(Highlighter, showsLessOfWhatCannotBeUsed) {
  Highlighting test;
  auto map = test.options({"button", "half"});
  map.back().second.isFaint = true;
  test.show(map);
  const auto& boxes = test.screen().shownLayers();
  ASSERT_EQ(boxes.size(), 2U);
  EXPECT_LT(boxes[1].background.alpha, boxes[0].background.alpha);
  EXPECT_LT(boxes[1].border.alpha, boxes[0].border.alpha);
  EXPECT_LT(boxes[1].label.foreground.alpha, boxes[0].label.foreground.alpha);
}

TEST(Highlighter, boxesEachElementOnceWhereItCanBeSeen) {
  Highlighting test;
  auto map = test.options({"button", "link", "thin", "half", "below", "file", "button"});
  map.back().second = {"again", "2088d4"};
  test.highlighter.setVisible(true);
  test.highlighter.setHighlightedElements(map);
  EXPECT_EQ(test.screen().windowsMade(), 0) << "windows change in tasks of the main queue only";
  test.run();
  const std::tuple<const char*, Rect, Color> expected[] = {
      {"link", {10, 698, 50, 2}, kYellow},
      {"half", {0, 750, 400, 10}, kYellow},   // clipped by the scroll area
      {"file", {380, 880, 60, 20}, kYellow},  // an item of a menu bar is boxed whole
      {"again", {10, 870, 100, 20}, kBlue},   // in front, of the two that the button was to have
  };
  const auto boxes = test.screen().shownLayers();
  ASSERT_EQ(boxes.size(), std::size(expected));
  for (size_t i = 0; i < boxes.size(); ++i) {
    EXPECT_EQ(std::tuple(boxes[i].label.text, boxes[i].frame, boxes[i].background), expected[i]) << boxes[i].label.text;
  }
  EXPECT_EQ(test.screen().redraws(), 1) << "one screen update for all boxes";
  EXPECT_EQ(test.screen().level(), window_level::screenSaver + 1);
  EXPECT_EQ(test.screen().callsOffMainThread(), 0);
}

TEST(Highlighter, replacesAllBoxesAndDrawsTheLastOfABurst) {
  Highlighting test;
  test.show(test.options({"button", "link"}));
  auto selected = test.options({"link"});
  selected[0].second.backgroundColor = "2088d4";
  test.highlighter.setHighlightedElements(selected);
  test.highlighter.setHighlightedElements(test.options({"half"}));
  test.highlighter.setHighlightedElements(test.options({"link", "file"}));
  test.run();
  EXPECT_THAT(test.shownLabels(), ElementsAre("link", "file"));
  EXPECT_EQ(test.screen().layers()[0].background, kYellow) << "a new box does not inherit the colour of the old one";
  EXPECT_EQ(test.screen().redraws(), 2);
}

TEST(Highlighter, showsAFreshWindowForEachTimeItIsShown) {
  Highlighting test;
  for (int times = 0; times < 2; ++times) {
    test.show(test.options({"button"}));
    EXPECT_EQ(test.screen().windowsMade(), 1);
    EXPECT_TRUE(test.highlighter.visible());
  }
  test.highlighter.setVisible(false);
  test.run();
  EXPECT_FALSE(test.screen().visible());
  EXPECT_EQ(test.screen().windowsAlive(), 0);
  test.highlighter.setVisible(true);
  test.run();
  EXPECT_EQ(test.screen().windowsMade(), 2);
  EXPECT_THAT(test.shownLabels(), IsEmpty()) << "the boxes belonged to the window that is gone";
}

TEST(Highlighter, readsEachElementOnceASnapshotAndNothingWhileDrawing) {
  Highlighting test;
  const auto map = test.options({"button", "half", "below", "file"});
  test.highlighter.setVisible(true);
  test.highlighter.setHighlightedElements(map);
  const uint64_t messages = test.desktop->accessibility().messageCount();
  test.run();
  test.highlighter.setHighlightedElements(map);
  test.run();
  EXPECT_EQ(test.desktop->accessibility().messageCount(), messages);

  test.desktop->accessibility().setAttribute("button", "AXPosition", Point{0, 0});
  test.tree = JLElementTree::tree();
  test.highlighter.setHighlightedElements(test.options({"button"}));
  test.run();
  EXPECT_EQ(test.screen().shownLayers().at(0).frame, (Rect{0, 880, 100, 20})) << "a new snapshot is read anew";
}

TEST(Highlighter, neitherReadsOnNorDrawsWhatIsUnwantedOrOutOfDate) {
  Highlighting test;
  const auto map = test.options({"button", "half", "below", "file"});
  const auto messagesOf = [&](const std::function<bool()>& isUnwanted) {
    const uint64_t before = test.desktop->accessibility().messageCount();
    test.show(map, isUnwanted);
    return test.desktop->accessibility().messageCount() - before;
  };
  const auto hides = [&] { return test.highlighter.hideImmediately(), false; };
  EXPECT_LE(messagesOf(hides), 10U) << "of the first element and what it lies in";
  EXPECT_EQ(messagesOf([] { return true; }), 0U);
  EXPECT_EQ(test.screen().redraws(), 0);
  EXPECT_GT(messagesOf({}), 10U);
  EXPECT_EQ(test.screen().redraws(), 1);
  EXPECT_THAT(test.shownLabels(), ElementsAre("button", "half", "file")) << "what was left unread is read then";
}

TEST(Highlighter, nothingThatWaitsShowsAfterHidingAtOnce) {
  Highlighting test;
  test.show(test.options({"button"}));
  test.desktop.onMainThread([&] {
    test.highlighter.setHighlightedElements(test.options({"link"}));
    test.highlighter.setVisible(false);
    test.highlighter.setVisible(true);
    test.highlighter.setHighlightedElements(test.options({"half"}));
    test.highlighter.hideImmediately();
    EXPECT_FALSE(test.screen().visible()) << "hidden when the call returns";
    EXPECT_EQ(test.screen().windowsAlive(), 0);
  });
  EXPECT_FALSE(test.highlighter.visible());
  EXPECT_EQ(test.screen().windowsMade(), 1);
  const std::weak_ptr<JLElementTree> snapshot = std::exchange(test.tree, JLElementTree::tree());
  EXPECT_TRUE(snapshot.expired()) << "a redraw that was dropped holds no snapshot";
  EXPECT_EQ(test.screen().redraws(), 1);

  test.show(test.options({"file"}));
  EXPECT_THAT(test.shownLabels(), ElementsAre("file")) << "what is asked for afterwards shows again";
  test.highlighter.hideImmediately();
  test.run();
  EXPECT_FALSE(test.screen().visible()) << "asked for on another thread than the main one";
}

TEST(Highlighter, showsOnlyWhileItsConditionHolds) {
  Highlighting test;
  bool active = false;
  test.highlighter.setShowingCondition([&] { return active; });
  test.show(test.options({"button"}));
  EXPECT_EQ(test.screen().windowsMade(), 0);
  active = true;
  test.show(test.options({"button"}));
  EXPECT_THAT(test.shownLabels(), ElementsAre("button")) << "a showing that was refused can be asked for again";
}

TEST(Highlighter, boxesOneElementInTheWindowThatItIsGiven) {
  Highlighting test;
  test.highlighter.setOverlay(std::make_shared<JLOverlayWindow>());
  test.highlighter.overlay()->show();
  test.highlighter.highlightElementWithOptions(test.node("button"), {"first", std::nullopt});
  test.highlighter.highlightElementWithOptions(test.node("button"), {"again", std::nullopt});
  test.highlighter.highlightElementWithOptions(test.node("half"), {"half", "2088d4"});
  EXPECT_THAT(test.shownLabels(), ElementsAre("again", "half"));
  EXPECT_EQ(test.screen().layers()[1].frame, (Rect{0, 750, 400, 10}));
  EXPECT_EQ(test.screen().layers()[1].background, kBlue);
  test.highlighter.highlightElementWithOptions(test.node("half"), {"half", std::nullopt});
  EXPECT_EQ(test.screen().layers()[1].background, kBlue) << "without a colour it stays as it is";
}

TEST(Highlighter, reportsAShareOfItsRedraws) {
  Highlighting test;
  RecordedMetrics metrics;
  // The draw that equals 0.05, in single precision, is the first that is not reported.
  test.desktop->random().prepare({107374183, 107374184});
  for (const auto& ids : {std::vector<std::string>{"button", "thin"}, {}, {"link"}}) {
    test.highlighter.setHighlightedElements(test.options(ids));
    test.run();
  }
  const auto events = metrics.eventsNamed("highlighting");
  ASSERT_EQ(events.size(), 1U) << "an empty redraw draws no lot";
  EXPECT_EQ(events[0].at("element_count"), AttributeValue(int64_t{2})) << "of the map, boxed or not";
  EXPECT_EQ(events[0].at("duration_ms"), AttributeValue(0.0)) << "in virtual time";
}

TEST(OverlayWindow, hasOneOutlineAtATime) {
  RecordedFixture desktop(kDesktop);
  JLOverlayWindow window;
  const auto& drawn = desktop->views().overlay().layers();
  window.setOutlineRect(Rect{1, 2, 3, 4});
  window.setOutlineRect(Rect{5, 6, 7, 8});
  ASSERT_EQ(drawn.size(), 1U);
  EXPECT_EQ(drawn[0].frame, (Rect{5, 6, 7, 8}));
  EXPECT_EQ(drawn[0].border, (Color{0, 0x58 / 255.0, 1, 0.8}));
  window.setOutlineRect(std::nullopt);
  EXPECT_THAT(drawn, IsEmpty());
}

TEST(OverlayGeometry, readsColoursAndMergesScreens) {
  EXPECT_EQ(colorWithHexString("#ff0033", 0.5), (Color{1, 0, 0.2, 0.5}));
  EXPECT_THROW(colorWithHexString("#ff00", 1), std::logic_error);
  RecordedFixture desktop(kDesktop);
  EXPECT_EQ(mergedScreenFrame(), (Rect{0, -100, 1500, 1000}));
  desktop->screens().setFrames({{-100, 50, 200, 100}});
  EXPECT_EQ(mergedScreenFrame(), (Rect{-100, 0, 200, 150})) << "the origin is always inside";
}

}  // namespace
}  // namespace jumplark::testing
