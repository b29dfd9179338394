#include <gtest/gtest.h>

#include <chrono>

#include "selection/JLElementActioner.h"
#include "streams/NotificationCenter.h"
#include "support/RecordedFixture.h"

namespace jumplark {
namespace {

using std::chrono::milliseconds;
using testing::RecordedFixture;

/// A window of 400 by 300 with one element of each kind; nothing is covered but "covered" and all of "half" but its
/// right end. Positions have a top-left origin.
const char* const kDesktop = R"({"screens":[[0,0,1000,1000]],"pointer":[300,299],"frontmost":1,
 "applications":[{"pid":1,"bundle_id":"b","name":"n","element":"app"}],
 "elements":{
  "app":{"attributes":{"AXRole":"AXApplication","AXFocusedWindow":{"ref":"w"},"AXChildren":[{"ref":"w"}]}},
  "w":{"attributes":{"AXRole":"AXWindow","AXParent":{"ref":"app"},"AXPosition":{"point":[0,0]},"AXSize":{"size":[400,300]},
    "AXChildren":[{"ref":"button"},{"ref":"check"},{"ref":"square"},{"ref":"slider"},{"ref":"covered"},{"ref":"half"},
                  {"ref":"cover"},{"ref":"empty"}]},"actions":["AXRaise"]},
  "button":{"attributes":{"AXRole":"AXButton","AXParent":{"ref":"w"},"AXWindow":{"ref":"w"},
    "AXPosition":{"point":[10,10]},"AXSize":{"size":[100,20]}}},
  "check":{"attributes":{"AXRole":"AXCheckBox","AXParent":{"ref":"w"},"AXWindow":{"ref":"w"},
    "AXPosition":{"point":[10,40]},"AXSize":{"size":[80,16]}}},
  "square":{"attributes":{"AXRole":"AXRadioButton","AXParent":{"ref":"w"},"AXWindow":{"ref":"w"},
    "AXPosition":{"point":[10,60]},"AXSize":{"size":[24,16]}}},
  "slider":{"attributes":{"AXRole":"AXSlider","AXParent":{"ref":"w"},"AXWindow":{"ref":"w"},"AXFocused":false,
    "AXPosition":{"point":[10,80]},"AXSize":{"size":[100,20]}}},
  "covered":{"attributes":{"AXRole":"AXButton","AXParent":{"ref":"w"},"AXWindow":{"ref":"w"},
    "AXPosition":{"point":[10,110]},"AXSize":{"size":[20,20]}}},
  "half":{"attributes":{"AXRole":"AXButton","AXParent":{"ref":"w"},"AXWindow":{"ref":"w"},
    "AXPosition":{"point":[10,140]},"AXSize":{"size":[200,20]}}},
  "cover":{"attributes":{"AXRole":"AXGroup","AXParent":{"ref":"w"},"AXPosition":{"point":[0,105]},"AXSize":{"size":[150,60]}}},
  "empty":{"attributes":{"AXRole":"AXButton","AXParent":{"ref":"w"},"AXWindow":{"ref":"w"},
    "AXPosition":{"point":[50,200]},"AXSize":{"size":[0,0]}}}
 }})";

std::vector<MouseEvent> buttonEvents(RecordedFixture& desktop) {
  std::vector<MouseEvent> events;
  for (const auto& posted : desktop->input().postedMouseEvents()) {
    if (posted.event.type != event_type::mouseMoved) {
      events.push_back(posted.event);
    }
  }
  return events;
}

struct Case {
  const char* id;
  Point clicked;  ///< top-left origin
};

TEST(JLElementActioner, ClicksWhereTheElementIs) {
  const std::vector<Case> cases = {
      {"button", {60, 19}},    // the midpoint, one row up as the point conversion has it
      {"check", {20, 47}},     // on the box, not on the caption
      {"square", {22, 67}},    // too narrow for a caption
      {"covered", {20, 119}},  // no point is on top: the midpoint all the same
      {"empty", {50, 199}},
  };
  for (const Case& c : cases) {
    RecordedFixture desktop(kDesktop);
    JLElementActioner actioner;
    actioner.actionElement(desktop.element(c.id));
    const auto events = buttonEvents(desktop);
    ASSERT_EQ(events.size(), 2U) << c.id;
    EXPECT_EQ(events[0], (MouseEvent{event_type::leftMouseDown, c.clicked, 1})) << c.id;
    EXPECT_EQ(events[1], (MouseEvent{event_type::leftMouseUp, c.clicked, 1})) << c.id;
    EXPECT_EQ(desktop->workspace().activations().size(), 1U) << c.id;
    EXPECT_EQ(desktop->accessibility().openLiveScopes(), 0) << c.id;
  }
}

TEST(JLElementActioner, LooksForAPointThatIsNotCovered) {
  RecordedFixture desktop(kDesktop);
  JLElementActioner actioner;
  const Point point = actioner.findClickablePointForElement(desktop.element("half"));
  EXPECT_GE(point.x, 150);
  EXPECT_LT(point.x, 210);
  EXPECT_EQ(actioner.findClickablePointForElement(nullptr), Point{});
}

TEST(JLElementActioner, MovesFirstThenRaisesThenClicksWithItsWaits) {
  RecordedFixture desktop(kDesktop);
  JLElementActioner actioner;
  const Duration start = desktop->queues().monotonicNow();
  actioner.clickElement(desktop.element("button"));
  const auto posted = desktop->input().postedMouseEvents();
  ASSERT_EQ(posted.size(), 3U);
  EXPECT_EQ(posted[0].event.type, event_type::mouseMoved);
  EXPECT_EQ(posted[0].location, event_location::hid);
  EXPECT_EQ(posted[1].location, event_location::session);
  // The double-click tap gets its millisecond's head start between the wait for the window and the press.
  EXPECT_EQ(desktop->queues().monotonicNow() - start, milliseconds(150 + 1 + 20));
}

TEST(JLElementActioner, ASliderIsFocusedAndNeverClicked) {
  RecordedFixture desktop(kDesktop);
  JLElementActioner actioner;
  actioner.actionElement(desktop.element("slider"));
  EXPECT_TRUE(buttonEvents(desktop).empty());
  EXPECT_EQ(actioner.getCursorPosition(), (Point{60, 89}));
  ASSERT_EQ(desktop->accessibility().operations().size(), 1U);
  EXPECT_EQ(desktop->accessibility().operations()[0].name, "AXFocused");
}

TEST(JLElementActioner, ReportsActionsAndPointerTravel) {
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
  EXPECT_EQ(usage[0], (std::pair<std::string, uint64_t>{"cursorMovement", 5}));
  EXPECT_EQ(usage[1].second, 1U);
  EXPECT_EQ(usage[2].second, 2U) << "the travel is rounded up";
  EXPECT_EQ(usage[3], (std::pair<std::string, uint64_t>{"elementsActioned", 1}));
}

bool pressReturn(RecordedFixture& desktop) {
  InputEvent event;
  event.type = event_type::keyDown;
  event.keyCode = key_code::returnKey;
  return desktop->input().inject(event);
}

TEST(JLElementActioner, ReturnSoonAfterAClickIsTheSecondClick) {
  RecordedFixture desktop(kDesktop);
  JLElementActioner actioner;
  actioner.click();
  EXPECT_FALSE(pressReturn(desktop)) << "swallowed";
  auto events = buttonEvents(desktop);
  ASSERT_EQ(events.size(), 4U);
  EXPECT_EQ(events[2].type, event_type::leftMouseDown);
  EXPECT_EQ(events[2].clickState, 2);
  EXPECT_EQ(events[3].type, event_type::leftMouseUp);
  InputEvent other;
  other.type = event_type::keyDown;
  other.keyCode = key_code::space;
  EXPECT_TRUE(desktop->input().inject(other));
  desktop->queues().advance(milliseconds(800));
  EXPECT_TRUE(pressReturn(desktop)) << "delivered normally";
  EXPECT_EQ(buttonEvents(desktop).size(), 4U);
}

TEST(JLElementActioner, TheDoubleClickWindowOfAFirstClickIsNotProlonged) {
  RecordedFixture desktop(kDesktop);
  JLElementActioner actioner;
  actioner.click();
  desktop->queues().advance(milliseconds(300));
  actioner.click();
  desktop->queues().advance(milliseconds(450));
  EXPECT_TRUE(pressReturn(desktop));
}

TEST(JLElementActioner, WithoutAPersonToPressItReturnIsLeftAlone) {
  RecordedFixture desktop(kDesktop);
  JLElementActioner actioner;
  actioner.setWaitsForDoubleClick(false);
  actioner.click();
  EXPECT_TRUE(pressReturn(desktop));
}

}  // namespace
}  // namespace jumplark
