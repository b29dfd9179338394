#include "accessibility/JLElement.h"

#include <gtest/gtest.h>

#include <functional>
#include <tuple>

#include "accessibility/ScreenCoordinates.h"
#include "support/DesktopText.h"
#include "support/RecordedFixture.h"

namespace jumplark {
namespace {

using testing::DesktopText;
using testing::RecordedFixture;

const std::string kDesktop = DesktopText::of(R"(
  app AXApplication 0,0/10,10 AXFocusedWindow=@win AXFocusedUIElement=@field
    win AXWindow 0,0/800,600 !AXRaise
      scroll AXScrollArea 100,100/200,100
        field AXTextField 250,50/100,100 AXSubrole="AXSearchField" AXFocused=false
        outside AXButton 500,500/20,20
        row AXRow
          cell AXCell AXWindow=@sheet
            inner AXCell
      sheet AXSheet
  ringA AXGroup 0,0/5,5 AXParent=@ringB
  ringB AXGroup 0,0/5,5 AXParent=@ringA
  cellRing AXCell AXParent=@cellRing
  dialog AXWindow AXParent=@win
  winA AXWindow AXParent=@winB AXWindow=@winB
  winB AXWindow AXParent=@winA AXWindow=@winA
  winSelf AXWindow AXParent=@winSelf AXWindow=@winSelf
  )",
                                             R"("screens":[[0,0,1440,900]],)");

TEST(JLElement, OneModelAReferenceUntilTheCacheIsFlushed) {
  RecordedFixture desktop(kDesktop);
  const auto first = desktop.element("win");
  EXPECT_EQ(first, desktop.element("win"));
  EXPECT_NE(JLElement::elementWithPID(1), JLElement::elementWithPID(1));
  EXPECT_EQ(*JLElement::elementWithPID(1), *desktop.element("app"));
  JLElement::flushCache();
  EXPECT_NE(first, desktop.element("win"));
  EXPECT_EQ(*first, *desktop.element("win"));
  EXPECT_EQ(desktop->accessibility().endedSnapshots(), 1);
}

TEST(JLElement, ConvertsGeometryWithTheDeliberateOffset) {
  RecordedFixture desktop(kDesktop);
  EXPECT_EQ(rectFromTopLeftToBottomLeft({100, 50, 200, 30}), (Rect{100, 820, 200, 30}));
  EXPECT_EQ(pointFromBottomLeftToTopLeft({10, 20}), (Point{10, 879}));
  EXPECT_EQ(desktop.element("scroll")->midpoint(), (Point{200, 750}));
}

TEST(JLElement, RoundsTheScreensTopForRectanglesOnly) {
  RecordedFixture desktop(R"({"screens":[[0,0,100,16777217]],"elements":{}})");
  EXPECT_EQ(rectFromTopLeftToBottomLeft({0, 0, 1, 1}).y, 16777215.0);
  EXPECT_EQ(pointFromBottomLeftToTopLeft({0, 0}).y, 16777216.0);
}

TEST(JLElement, VisibleBoundsAreClippedBelowTheApplication) {
  RecordedFixture desktop(kDesktop);
  EXPECT_EQ(desktop.element("app")->visibleBounds(), Rect::infinite());
  EXPECT_EQ(desktop.element("win")->visibleBounds(), (Rect{0, 300, 800, 600}));
  EXPECT_EQ(desktop.element("field")->visibleBounds(), (Rect{250, 750, 50, 50}));
  EXPECT_EQ(desktop.element("outside")->visibleBounds(), Rect::null());
}

TEST(JLElement, FindsItsWindowApplicationAndFocus) {
  RecordedFixture desktop(kDesktop);
  EXPECT_EQ(desktop.element("cell")->window(), desktop.element("win")) << "not the window that the cell reports";
  EXPECT_EQ(desktop.element("inner")->window(), desktop.element("win")) << "a cell in a cell";
  EXPECT_EQ(desktop.element("win")->window(), desktop.element("win"));
  EXPECT_EQ(desktop.element("field")->application(), desktop.element("app"));
  EXPECT_EQ(desktop.element("app")->focusedElement(), desktop.element("field"));
  EXPECT_EQ(desktop.element("field")->focusedElement(), desktop.element("win")) << "any other element: the window";
  EXPECT_EQ(*desktop.element("win")->sheet(), *desktop.element("sheet"));
  EXPECT_EQ(desktop.element("scroll")->sheet(), nullptr);
  EXPECT_EQ(desktop.element("field")->roles(), (std::vector<std::string>{"AXTextField", "AXSearchField"}));
}

TEST(JLElement, ASheetOfALaterBatchReplacesAnEarlierOne) {
  std::string children;
  for (int i = 0; i < 60; ++i) {
    const char* sheet = i == 2 ? "early" : i == 55 ? "late" : i == 56 ? "latest" : "other";
    children += (i ? "," : "") + std::string(R"({"ref":")") + sheet + "\"}";
  }
  RecordedFixture desktop(R"({"elements":{"win":{"attributes":{"AXRole":"AXWindow","AXChildren":[)" + children +
                          R"(]}},"early":{"attributes":{"AXRole":"AXSheet"}},"late":{"attributes":{"AXRole":"AXSheet"}},
                          "latest":{"attributes":{"AXRole":"AXSheet"}},"other":{"attributes":{"AXRole":"AXGroup"}}}})");
  EXPECT_EQ(desktop.element("win")->sheet()->ref().text(), "late") << "the first of the last batch that has one";
}

TEST(JLElement, RemembersRoleParentAndAncestorsButNoFailure) {
  RecordedFixture desktop(kDesktop);
  const auto field = desktop.element("field");
  const auto messagesOf = [&](const auto& read) {
    const uint64_t before = desktop->accessibility().messageCount();
    read();
    return desktop->accessibility().messageCount() - before;
  };
  const auto role = [&] { field->role(); };
  const auto parent = [&] { field->parent(); };
  const auto ancestors = [&] { field->ancestors(); };
  desktop->accessibility().setError("field", AccessibilityError::failure);
  EXPECT_EQ(field->role(), "");
  EXPECT_EQ(field->parent(), nullptr);
  desktop->accessibility().setError("field", AccessibilityError::success);
  EXPECT_EQ(messagesOf(role), 1U);
  EXPECT_EQ(messagesOf(parent), 1U);
  EXPECT_EQ(messagesOf(ancestors), 3U) << "of the parents of the scroll area, the window and the application";
  for (const std::function<void()>& again : {std::function<void()>(role), {parent}, {ancestors}}) {
    EXPECT_EQ(messagesOf(again), 0U);
  }
  const JLElement copy = *field;
  EXPECT_EQ(messagesOf([&] { copy.role(); }), 1U) << "a copy remembers nothing";
}

TEST(JLElement, KnowsWhatItIsInside) {
  RecordedFixture desktop(kDesktop);
  const std::tuple<const char*, const char*, bool> cases[] = {
      {"field", "scroll", true}, {"field", "win", true},     {"field", "app", true}, {"field", "field", false},
      {"field", "sheet", false}, {"scroll", "field", false}, {"app", "win", false},  {"ringA", "ringB", true}};
  for (const auto& [inner, outer, is] : cases) {
    EXPECT_EQ(desktop.element(inner)->hasParent(*desktop.element(outer)), is) << inner << " in " << outer;
  }
}

TEST(JLElement, RingsOfParentsEndAndAreFreed) {
  RecordedFixture desktop(kDesktop);
  std::weak_ptr<JLElement> watched;
  {
    const auto a = desktop.element("ringA");
    watched = a;
    EXPECT_EQ(a->ancestors().size(), 1U);
    EXPECT_FALSE(a->hasParent(*desktop.element("win")));
    EXPECT_EQ(a->parent()->parent(), a);
    EXPECT_EQ(a->visibleBounds(), a->bounds());
    EXPECT_EQ(desktop.element("cellRing")->window(), nullptr);
  }
  EXPECT_TRUE(watched.expired());
}

TEST(JLElement, AChainOfParentsIsFreedHoweverLongItIs) {
  RecordedFixture desktop(kDesktop);
  std::string last = "scroll";
  for (int i = 0; i < 100'000; ++i) {
    const std::string next = "n" + std::to_string(i);
    desktop->accessibility().setAttribute(next, "AXParent", desktop->accessibility().element(last));
    last = next;
  }
  const std::weak_ptr<JLElement> window = desktop.element("win");
  EXPECT_TRUE(desktop.element(last)->hasParent(*desktop.element("win")));
  EXPECT_TRUE(window.expired());
}

TEST(JLElement, FocusBringsApplicationAndWindowForward) {
  RecordedFixture desktop(kDesktop);
  desktop.element("win")->focus();
  EXPECT_EQ(desktop->workspace().activations(), (std::vector<std::pair<int32_t, uint32_t>>{{1, 2}}));
  desktop.element("field")->focus();
  const auto operations = desktop->accessibility().operations();
  ASSERT_EQ(operations.size(), 2U);
  EXPECT_EQ(operations[0].name, "AXRaise");
  EXPECT_EQ(operations[1].name, "AXFocused");
  EXPECT_EQ(operations[1].value, AttributeValue(true));
}

TEST(JLElement, FocusOfAWindowRaisesWhatItLiesInFirstAndEachOnce) {
  const std::vector<std::pair<const char*, const char*>> raisedByFocusOf = {
      {"win", "win "}, {"dialog", "win dialog "}, {"winA", "winB winA "}, {"winSelf", "winSelf "}};
  for (const auto& [id, expected] : raisedByFocusOf) {
    RecordedFixture desktop(kDesktop);
    desktop.element(id)->focus();
    std::string raised;
    for (const auto& operation : desktop->accessibility().operations()) {
      EXPECT_EQ(operation.name, "AXRaise") << id;
      raised += operation.element.text() + " ";
    }
    EXPECT_EQ(raised, expected) << id;
  }
}

TEST(JLElement, ElementsByIdentifierAndPoint) {
  RecordedFixture desktop(kDesktop);
  EXPECT_EQ(JLElement::elementWithBundleID(""), nullptr);
  EXPECT_EQ(JLElement::elementWithBundleID("org.example.none"), nullptr);
  EXPECT_EQ(JLElement::elementWithBundleID("b")->pid(), 1);
  EXPECT_EQ(JLElement::elementAtPointFromBottomLeft({150, 750}), desktop.element("scroll"));
  EXPECT_EQ(JLElement::elementAtPointFromTopLeft({299.5, 199.5}), desktop.element("scroll"));
  EXPECT_EQ(JLElement::elementAtPointFromTopLeft({1300, 10}), nullptr);
}

}  // namespace
}  // namespace jumplark
