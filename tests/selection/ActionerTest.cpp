#include "selection/JLElementActioner.h"
#include "streams/NotificationCenter.h"
#include "support/DesktopText.h"
#include "support/RecordedFixture.h"

namespace jumplark::testing {
namespace {

using std::chrono::milliseconds;
using ::testing::ElementsAre;

/// A window of 400 by 300 with one element of each kind; nothing is covered but "covered" and all of "half" but its
/// right end. Positions have a top-left origin.
const std::string kDesktop = DesktopText::of(R"(
  app AXApplication AXFocusedWindow=@w
    w AXWindow 0,0/400,300 !AXRaise
      button AXButton 10,10/100,20
      check AXCheckBox 10,40/80,16
      square AXRadioButton 10,60/24,16
      slider AXSlider 10,80/100,20 AXFocused=false
      covered AXButton 10,110/20,20
      half AXButton 10,140/200,20
      cover AXGroup 0,105/150,60
      empty AXButton 50,200/0,0
  )",
                                             R"("screens":[[0,0,1000,1000]],"pointer":[300,299],)");

std::vector<MouseEvent> buttonEvents(RecordedFixture& desktop) {
  std::vector<MouseEvent> events;
  for (const auto& posted : desktop->input().postedMouseEvents()) {
    if (posted.event.type != event_type::mouseMoved) {
      events.push_back(posted.event);
    }
  }
  return events;
}

TEST(JLElementActioner, clicksWhereTheElementIs) {
  // Where it is clicked (top-left origin), and a size other than that of the desktop.
  const std::tuple<const char*, Point, std::optional<Size>> cases[] = {
      {"button", {60, 19}, {}},    // the midpoint, one row up as the point conversion has it
      {"check", {20, 47}, {}},     // on the box, not on the caption
      {"square", {22, 67}, {}},    // too narrow for a caption
      {"covered", {20, 119}, {}},  // no point is on top: the midpoint all the same
      {"empty", {50, 199}, {}},
      // The lowest and narrowest that have a caption, and those that are just none.
      {"check", {20, 49}, Size{40, 20}},
      {"check", {29.5, 49}, Size{39, 20}},
      {"check", {60, 49.5}, Size{100, 21}},
  };
  for (const auto& [id, clicked, size] : cases) {
    RecordedFixture desktop(kDesktop);
    if (size) {
      desktop->accessibility().setAttribute(id, "AXSize", *size);
    }
    JLElementActioner actioner;
    actioner.actionElement(desktop.element(id));
    EXPECT_THAT(buttonEvents(desktop), ElementsAre(MouseEvent{event_type::leftMouseDown, clicked, 1},
                                                   MouseEvent{event_type::leftMouseUp, clicked, 1}))
        << id;
    EXPECT_EQ(desktop->workspace().activations().size(), 1U) << id;
  }
}

/// What the pointer does, with place and time: "5@0 at 0" is a move that is posted to the devices at the beginning.
std::vector<std::string> pointerHistory(RecordedFixture& desktop, Duration start = {}) {
  std::vector<std::string> history;
  for (const auto& [event, location, time] : desktop->input().postedMouseEvents()) {
    history.push_back(std::to_string(event.type) + "@" + std::to_string(location) + " at " +
                      std::to_string((time - start) / milliseconds(1)));
  }
  return history;
}

TEST(JLElementActioner, movesFirstThenRaisesThenClicksWithItsWaits) {
  RecordedFixture desktop(kDesktop);
  desktop->accessibility().setAttribute("sheet", "AXRole", "AXSheet");
  desktop->accessibility().setAttribute("sheet", "AXFocused", false);
  desktop->accessibility().setAttribute(
      "w", "AXChildren",
      AttributeValue::List{desktop->accessibility().element("button"), desktop->accessibility().element("sheet")});
  std::vector<std::string> asked;
  desktop->accessibility().setOperationHandler([&](const RecordedOperation& operation) {
    asked.push_back(operation.element.text() + " " + operation.name + " after " +
                    std::to_string(desktop->input().postedMouseEvents().size()));
  });
  JLElementActioner actioner;
  actioner.clickElement(desktop.element("button"));
  EXPECT_THAT(asked, ElementsAre("w AXRaise after 1", "sheet AXFocused after 1"));
  // The double-click tap gets its millisecond's head start between the wait for the window and the press.
  EXPECT_THAT(pointerHistory(desktop), ElementsAre("5@0 at 0", "1@1 at 151", "2@1 at 171"));
}

TEST(JLElementActioner, triesFiftyPointsUntilOneIsNotCovered) {
  for (const auto& [misses, point] : {std::pair(49, Point{180, 847}), std::pair(50, Point{110, 850})}) {
    RecordedFixture desktop(kDesktop);
    for (int i = 0; i < misses; ++i) {
      desktop->random().prepare({0, 0});
    }
    desktop->random().prepare({170, 7});
    EXPECT_EQ(JLElementActioner().findClickablePointForElement(desktop.element("half")), point) << misses;
  }
}

TEST(JLElementActioner, triesTheMiddleOfWhatCanBeSeenLast) {
  RecordedFixture desktop(kDesktop);
  desktop->accessibility().setAttribute("half", "AXPosition", Point{-150, 140});  // the left part is not in the window
  desktop->accessibility().setAttribute("half", "AXSize", Size{400, 20});
  desktop->accessibility().setAttribute("cover", "AXPosition", Point{-200, 105});
  desktop->accessibility().setAttribute("cover", "AXSize", Size{320, 60});
  for (int i = 0; i < 50; ++i) {
    desktop->random().prepare({0, 0});
  }
  const JLElementActioner actioner;
  EXPECT_EQ(actioner.findClickablePointForElement(desktop.element("half")), (Point{125, 850}));
  EXPECT_EQ(actioner.pointOfAction(desktop.element("check")), (Point{20, 952}));
  EXPECT_EQ(actioner.pointOfAction(desktop.element("slider")), (Point{60, 910}));
}

TEST(JLElementActioner, asksTheWindowSystemForWhatAButtonOfTheWindowIsFor) {
  RecordedFixture desktop(kDesktop);
  desktop->accessibility().setAttribute("close", "AXRole", "AXWindowButton");
  desktop->accessibility().setActions("close", {"AXPress"});
  JLElementActioner().actionElement(desktop.element("close"));
  const auto done = desktop->accessibility().operations();
  ASSERT_EQ(done.size(), 1U);
  EXPECT_EQ(done[0].name, "AXPress");
  EXPECT_TRUE(desktop->input().postedMouseEvents().empty());
}

TEST(JLElementActioner, takesWhatLiesInsideForTheElementAndPerformsActionsWithoutThePointer) {
  RecordedFixture desktop(kDesktop);
  JLElementActioner actioner;
  EXPECT_EQ(actioner.findClickablePointForElement(desktop.element("w")), (Point{200, 850})) << "the cover is its child";
  actioner.performActionOnElement("AXRaise", desktop.element("w"));
  ASSERT_EQ(desktop->accessibility().operations().size(), 1U);
  EXPECT_EQ(desktop->accessibility().operations()[0].name, "AXRaise");
  EXPECT_THAT(pointerHistory(desktop), ElementsAre());
}

TEST(JLElementActioner, aSliderIsFocusedAndNeverClicked) {
  RecordedFixture desktop(kDesktop);
  JLElementActioner actioner;
  actioner.actionElement(desktop.element("slider"));
  EXPECT_TRUE(buttonEvents(desktop).empty());
  EXPECT_EQ(actioner.getCursorPosition(), (Point{60, 89}));
  ASSERT_EQ(desktop->accessibility().operations().size(), 1U);
  EXPECT_EQ(desktop->accessibility().operations()[0].name, "AXFocused");
}

TEST(JLElementActioner, reportsActionsAndPointerTravel) {
  RecordedFixture desktop(kDesktop);
  JLElementActioner actioner;
  std::vector<std::pair<std::string, uint64_t>> usage;
  const Token observing = NotificationCenter::defaultCenter().observe("TrackUsage", [&](const Notification& note) {
    usage.emplace_back(std::any_cast<std::string>(note.userInfo.at("Type")),
                       std::any_cast<uint64_t>(note.userInfo.at("Amount")));
  });
  const Point cursor = actioner.getCursorPosition();
  actioner.mouseToPointFromTopLeft({cursor.x + 3, cursor.y + 4});
  actioner.mouseToPointFromTopLeft({cursor.x + 4, cursor.y + 4});
  actioner.mouseToPointFromTopLeft({cursor.x + 5, cursor.y + 5});
  actioner.actionElement(desktop.element("button"));
  ASSERT_EQ(usage.size(), 5U);
  usage.resize(4);
  EXPECT_THAT(usage, ElementsAre(std::pair("cursorMovement", 5U), std::pair("cursorMovement", 1U),
                                 std::pair("cursorMovement", 2U) /* rounded up */, std::pair("elementsActioned", 1U)));
}

bool pressReturn(RecordedFixture& desktop) {
  return desktop->input().injectKey(event_type::keyDown, key_code::returnKey, 0);
}

TEST(JLElementActioner, returnSoonAfterAClickIsTheSecondClick) {
  RecordedFixture desktop(kDesktop);
  JLElementActioner actioner;
  actioner.click();
  EXPECT_FALSE(pressReturn(desktop)) << "swallowed";
  EXPECT_THAT(pointerHistory(desktop), ElementsAre("1@1 at 1", "2@1 at 21", "1@1 at 21", "2@1 at 26"));
  EXPECT_EQ(buttonEvents(desktop)[2].clickState, 2);
  EXPECT_EQ(buttonEvents(desktop)[3].clickState, 2);
  EXPECT_TRUE(desktop->input().injectKey(event_type::keyDown, key_code::space, 0));
  desktop->queues().advance(milliseconds(800));
  EXPECT_TRUE(pressReturn(desktop)) << "delivered normally";
  EXPECT_EQ(buttonEvents(desktop).size(), 4U);
}

TEST(JLElementActioner, returnIsLeftAloneAfterTheFirstClicksTimeAndWithoutAPersonToPressIt) {
  RecordedFixture desktop(kDesktop);
  JLElementActioner actioner;
  actioner.click();
  desktop->queues().advance(milliseconds(300));
  actioner.click();
  desktop->queues().advance(milliseconds(450));
  EXPECT_TRUE(pressReturn(desktop));
  actioner.setWaitsForDoubleClick(false);
  actioner.click();
  EXPECT_TRUE(pressReturn(desktop));
}

}  // namespace
}  // namespace jumplark::testing
