#include "accessibility/JLElement.h"

#include "accessibility/JLElementAttributeExtractor.h"
#include "accessibility/ScreenCoordinates.h"
#include "support/DesktopText.h"
#include "support/RecordedFixture.h"

namespace jumplark::testing {
namespace {

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

TEST(JLElement, oneModelAReferenceUntilTheCacheIsFlushed) {
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

TEST(JLElement, convertsGeometryWithTheDeliberateOffsetAndRoundsTheScreensTopForRectanglesOnly) {
  RecordedFixture desktop(kDesktop);
  EXPECT_EQ(rectFromTopLeftToBottomLeft({100, 50, 200, 30}), (Rect{100, 820, 200, 30}));
  EXPECT_EQ(pointFromBottomLeftToTopLeft({10, 20}), (Point{10, 879}));
  EXPECT_EQ(desktop.element("scroll")->midpoint(), (Point{200, 750}));
  desktop->screens().setFrames({{0, 0, 100, 16777217}});
  EXPECT_EQ(rectFromTopLeftToBottomLeft({0, 0, 1, 1}).y, 16777215.0);
  EXPECT_EQ(pointFromBottomLeftToTopLeft({0, 0}).y, 16777216.0);
}

TEST(JLElement, visibleBoundsAreClippedBelowTheApplication) {
  RecordedFixture desktop(kDesktop);
  EXPECT_EQ(desktop.element("app")->visibleBounds(), Rect::infinite());
  EXPECT_EQ(desktop.element("win")->visibleBounds(), (Rect{0, 300, 800, 600}));
  EXPECT_EQ(desktop.element("field")->visibleBounds(), (Rect{250, 750, 50, 50}));
  EXPECT_EQ(desktop.element("outside")->visibleBounds(), Rect::null());
}

TEST(JLElement, findsItsWindowApplicationAndFocus) {
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

TEST(JLElement, aSheetOfALaterBatchReplacesAnEarlierOne) {
  RecordedFixture desktop(kDesktop);
  AttributeValue::List children(60, desktop->accessibility().element("row"));
  const std::pair<size_t, const char*> sheets[] = {{2, "early"}, {55, "late"}, {56, "latest"}};
  for (const auto& [index, id] : sheets) {
    desktop->accessibility().setAttribute(id, "AXRole", "AXSheet");
    children[index] = desktop->accessibility().element(id);
  }
  desktop->accessibility().setAttribute("win", "AXChildren", children);
  EXPECT_EQ(desktop.element("win")->sheet()->ref().text(), "late") << "the first of the last batch that has one";
}

TEST(JLElement, remembersRoleParentAndAncestorsButNoFailure) {
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

TEST(JLElement, knowsWhatItIsInside) {
  RecordedFixture desktop(kDesktop);
  const std::tuple<const char*, const char*, bool> cases[] = {
      {"field", "scroll", true}, {"field", "win", true},     {"field", "app", true}, {"field", "field", false},
      {"field", "sheet", false}, {"scroll", "field", false}, {"app", "win", false},  {"ringA", "ringB", true}};
  for (const auto& [inner, outer, is] : cases) {
    EXPECT_EQ(desktop.element(inner)->hasParent(*desktop.element(outer)), is) << inner << " in " << outer;
  }
}

TEST(JLElement, ringsOfParentsEndAndAreFreed) {
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

TEST(JLElement, aChainOfParentsIsFreedHoweverLongItIs) {
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

TEST(JLElement, focusBringsApplicationAndWindowForwardAndEachRaisesWhatItLiesInOnce) {
  const std::pair<const char*, const char*> cases[] = {{"win", "win AXRaise "},
                                                       {"field", "field AXFocused "},
                                                       {"dialog", "win AXRaise dialog AXRaise "},
                                                       {"winA", "winB AXRaise winA AXRaise "},
                                                       {"winSelf", "winSelf AXRaise "}};
  for (const auto& [id, expected] : cases) {
    RecordedFixture desktop(kDesktop);
    desktop.element(id)->focus();
    std::string done;
    for (const auto& operation : desktop->accessibility().operations()) {
      done += operation.element.text() + " " + operation.name + " ";
    }
    EXPECT_EQ(done, expected);
    const bool isInApplication = std::string(id) == "win" || std::string(id) == "dialog";
    EXPECT_EQ(desktop->workspace().activations().size(), isInApplication ? 1U : 0U) << id;
  }
}

const std::string kTexts = DesktopText::of(R"(
  button AXButton AXTitle="OK" AXValue=1
  search AXTextField AXSubrole="AXSearchField" AXValue="v" AXPlaceholderValue="p" AXRoleDescription="search"
  area AXTextArea AXValue="everything" AXVisibleCharacterRange={"range":[5,3]}
  owner AXApplication AXTitle="Editor"
    bar AXMenuBar AXTitle="ignored"
      file AXMenuBarItem AXTitle="File" AXDescription="d" AXHelp="h"
      untitled AXMenuBarItem AXTitle=""
  twice AXOther AXSubrole="AXMore" AXTitle="t" AXValue="v" AXDescription="d")");

TEST(JLElementAttributeExtractor, pairsNamesAndValuesByPosition) {
  RecordedFixture desktop(kTexts);
  desktop->accessibility().setParameterized("area", "AXStringForRange", {{Range{5, 3}, "vis"}});
  const std::pair<const char*, const char*> cases[] = {
      // a dash stands for no value
      {"button", "AXTitle=OK AXValue=1 AXDescription=- "},
      {"search", "AXValue=v AXPlaceholderValue=p AXDescription=- AXRoleDescription=search "},
      {"area", "AXVisibleText=vis "},
      {"file", "AXTitle=d AXDescription=h AXHelp=File "},
      {"untitled", "AXTitle=- AXDescription=- AXHelp=Editor "},
      {"twice", "AXTitle=t AXValue=v AXDescription=d "},
  };
  for (const auto& [id, expected] : cases) {
    std::string found;
    for (const auto& [name, value] :
         JLElementAttributeExtractor::attributesDictionaryForElement(*desktop.element(id))) {
      found += name + "=" + (value.isNone() ? "-" : value.description()) + " ";
    }
    EXPECT_EQ(found, expected) << id;
  }
  EXPECT_EQ(JLElementAttributeExtractor::usefulAttributesForElement(*desktop.element("button")),
            (AttributeValue::List{"OK", 1, {}}));
}

}  // namespace
}  // namespace jumplark::testing
