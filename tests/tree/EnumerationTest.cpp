#include <fmt/format.h>

#include "support/DesktopText.h"
#include "support/RecordedFixture.h"
#include "tree/JLElementTree.h"
#include "tree/JLElementTreeEnumerator.h"

namespace jumplark::testing {
namespace {

/// The tree in short: ids, children in brackets, groups by name.
std::string outline(const xmlNode* node) {
  std::string children;
  for (const xmlNode* child = node->children; child; child = child->next) {
    const std::string name = reinterpret_cast<const char*>(child->name);
    if (child->type == XML_ELEMENT_NODE && name != "Text") {
      children += (children.empty() ? "" : " ") + outline(child);
    }
  }
  const JLElementNode* element = JLElementNode::fromXML(node);
  const std::string own = element ? element->element()->ref().text() : reinterpret_cast<const char*>(node->name);
  return children.empty() ? own : own + "(" + children + ")";
}

std::string enumerated(RecordedFixture& desktop, bool visibleElements, const char* id = "app") {
  const auto tree =
      JLElementTreeEnumerator(desktop.element(id)).enumerateElementsWithOptions({.visibleElements = visibleElements});
  return outline(tree->rootElement());
}

TEST(Enumeration, applicationCollectsFocusedWindowAndMenuBarOnly) {
  RecordedFixture desktop(DesktopText::of(R"(
    app AXApplication AXFocusedWindow=@w2 AXMenuBar=@bar
      w1 AXWindow 0,0/10,10
      w2 AXWindow 0,0/100,100
        b AXButton 1,1/10,10
      w3 AXWindow 0,0/10,10
      bar AXMenuBar 0,0/100,20
        file AXMenuBarItem
          menu AXMenu 0,20/50,50
        edit AXMenuBarItem 20,20/20,20
    dock AXApplication 0,900/100,100
      d1 AXDockItem 5000,5000/0,0
        d2 AXButton)"));
  EXPECT_EQ(enumerated(desktop, true), "Root(app(w2(b) bar(file edit MenuExtras)) dock(d1(d2)))")
      << "menus closed, the dock whole in spite of the visibility rule";
  std::string prepared;
  for (const auto& [application, visibleOnly] : desktop->accessibility().preparedSnapshots()) {
    prepared += application.text() + (visibleOnly ? " visible " : " whole ");
  }
  EXPECT_EQ(prepared, "app visible dock whole ");
}

TEST(Enumeration, rowsLinksAndRadioGroupsHaveTheirOwnRules) {
  RecordedFixture desktop(DesktopText::of(R"(
    app AXApplication AXFocusedWindow=@w
      w AXWindow 0,0/100,100
        table AXTable 0,0/50,50 AXRows=[@r1,@r2] AXVisibleRows=[@r2]
          r1 AXRow 0,0/50,10
          r2 AXRow 0,10/50,10
            cell AXCell 0,10/50,10
        outline AXOutline 0,0/50,50 AXRows=[@r1] AXVisibleRows=[@r1]
        link AXLink 0,0/50,10
          inner AXStaticText 0,0/50,10
        radios AXRadioGroup 0,0/50,50 AXVisibleChildren=[@on]
          on AXRadioButton 0,0/10,10
          off AXRadioButton 0,10/10,10)"));
  EXPECT_EQ(enumerated(desktop, true), "Root(app(w(table(r2(cell)) outline(r1) link radios(on off))))");
  EXPECT_EQ(enumerated(desktop, false), "Root(app(w(table(r1 r2(cell)) outline(r1) link radios(on off))))");
}

TEST(Enumeration, buttonsOfTheWindowComeLastAndOnlyWhenAskedFor) {
  RecordedFixture desktop(DesktopText::of(R"(
    app AXApplication AXFocusedWindow=@w AXWindowButtons=[@close]
      w AXWindow 0,20/100,100
    dock AXApplication 0,900/100,100
    close AXWindowButton 80,0/20,20 AXTitle="Close")"));
  EXPECT_EQ(enumerated(desktop, true), "Root(app(w) dock)");
  const auto tree = JLElementTreeEnumerator(desktop.element("app"))
                        .enumerateElementsWithOptions({.visibleElements = true, .windowButtons = true});
  EXPECT_EQ(outline(tree->rootElement()), "Root(app(w) dock WindowButtons(close))");
}

std::string barDesktop(const std::string& hits) {
  return DesktopText::of(R"(
    app AXApplication AXMenuBar=@bar
      bar AXMenuBar 0,0/400,20
        file AXMenuBarItem 0,0/200,20
    clock AXMenuBarItem 370,0/30,20
    net AXMenuBarItem 340,0/30,20
    far AXMenuBarItem 285,0/15,20
    farther AXMenuBarItem 250,0/10,20
    last AXMenuBarItem 215,0/10,20
    button AXButton 0,0/1,1)",
                         R"("screens":[[0,0,1000,1000]],"hits":[)" + hits + "],");
}

TEST(Enumeration, menuExtrasAreFoundFromTheRightUntilTheFourthMissWithoutTheBarsOwnItems) {
  // The bar's middle row is y = 990 (bottom-left), which is row 9 from the top. From an item the walk goes on 15 points
  // left of its left edge; a hit forgives no miss.
  RecordedFixture desktop(barDesktop(R"([385,9,"clock"],[355,9,"net"],[325,9,"button"],[310,9,null],[295,9,"far"],
                                        [270,9,"button"],[255,9,"farther"],[235,9,"bar"],[220,9,"last"])"));
  EXPECT_EQ(enumerated(desktop, true), "Root(app(bar(file MenuExtras(clock net far farther))))");
  RecordedFixture ownItem(barDesktop(R"([385,9,"file"])"));
  EXPECT_EQ(enumerated(ownItem, true), "Root(app(bar(file MenuExtras)))");
}

const char* const kPage = R"(
    app AXApplication AXFocusedWindow=@w
      w AXWindow 0,0/500,50
        web AXWebArea 10.6,0/400,40.5 AXChildren=[@whole]
          whole AXGroup 10,0/400,40
            l1 AXLink 0,0/10,10
            l2 AXLink 0,900/10,10
          c1 AXLink 9,9/9,9
          c2 AXLink 9,9/9,9
          off AXLink 9,9/9,9
    frame AXWebArea 0,0/100,100
      hidden AXButton 0,5000/10,10)";

TEST(Enumeration, aWebAreaIsSearchedAndItsFramesWalkedWhole) {
  RecordedFixture desktop(DesktopText::of(kPage));
  using List = AttributeValue::List;
  const auto ref = [&](const char* id) { return desktop->accessibility().element(id); };
  const auto search = [](const AttributeValue& keys, bool visibleOnly) {
    return AttributeValue::Dictionary{{"AXSearchKey", keys}, {"AXVisibleOnly", visibleOnly}, {"AXResultsLimit", 1000}};
  };
  const List keys = {"AXLinkSearchKey",      "AXButtonSearchKey",  "AXCheckBoxSearchKey", "AXRadioGroupSearchKey",
                     "AXTextFieldSearchKey", "AXGraphicSearchKey", "AXControlSearchKey",  "AXStaticTextSearchKey"};
  desktop->accessibility().setParameterized(
      "web", "AXUIElementsForSearchPredicate",
      {{search(keys, true), List{ref("l1"), ref("l2")}}, {search("AXFrameSearchKey", false), List{ref("frame")}}});
  EXPECT_EQ(enumerated(desktop, true), "Root(app(w(web(l1 l2 frame(hidden)))))");
  EXPECT_EQ(enumerated(desktop, false), "Root(app(w(web(whole(l1 l2)))))");
}

TEST(Enumeration, aWebAreaWithoutSearchIsHitOnAGrid) {
  // Grid rows 959, 974, 989 from the bottom are rows 40, 25, 10 from the top; columns 10, 210 and 410.
  RecordedFixture desktop(DesktopText::of(kPage, R"("screens":[[0,0,1000,1000]],"hits":[[10,40,"l1"],[10,25,"c1"],
      [10,10,"web"],[210,10,"l2"],[210,25,"w"],[410,40,"c2"],[10,35,"off"],[10,32.5,"off"],[110,40,"off"]],)"));
  EXPECT_EQ(enumerated(desktop, true), "Root(app(w(web(whole c1 c2))))")
      << "both links lie in the same child, the window is above";
  EXPECT_EQ(enumerated(desktop, true, "web"), "Root(web)");
  EXPECT_LT(desktop->accessibility().messageCount(), 1000U) << "without a clip there is no end to walk to";
}

/// Long lists (one with thousands of entries that are no elements), rows, pages with and without search, and a frame.
std::string longDesktop() {
  std::map<char, std::string> lists;
  std::string entries;
  for (const auto& [kind, role] : {std::pair('i', "AXButton"), {'r', "AXRow"}, {'l', "AXLink"}, {'f', "AXButton"}}) {
    for (int i = 0; i < 60; ++i) {
      entries += fmt::format("{}{} {} 0,0/50,10 AXParent=@w\n", kind, i, role);
      lists[kind] += fmt::format("@{}{},", kind, i);
    }
  }
  for (int i = 0; i < 2000; ++i) {
    lists['i'] += "0,";
  }
  return DesktopText::of(entries + fmt::format(R"(
app AXApplication AXFocusedWindow=@w
  w AXWindow 0,0/400,400
    list AXGroup 0,0/400,400 AXVisibleChildren=[{}0]
    table AXTable 0,0/400,400 AXVisibleRows=[{}0]
    page AXWebArea 0,0/400,400
    plain AXWebArea 0,0/400,400
frame AXWebArea 0,0/400,400 AXChildren=[{}0])",
                                               lists['i'], lists['r'], lists['f']));
}

TEST(Enumeration, readsNothingFurtherOnceItIsUnwanted) {
  RecordedFixture desktop(longDesktop());
  AttributeValue::List links;
  for (int i = 0; i < 60; ++i) {
    links.emplace_back(desktop->accessibility().element("l" + std::to_string(i)));
  }
  desktop->accessibility().setParameterized(
      "page", "AXUIElementsForSearchPredicate",
      {{AttributeValue::Dictionary{{"AXVisibleOnly", true}}, links},
       {AttributeValue::Dictionary{}, AttributeValue::List{desktop->accessibility().element("frame")}}});
  struct Messages {
    uint64_t whenToldSo;
    uint64_t all;
  };
  const auto messagesIfUnwantedAfter = [&](uint64_t limit) {
    JLElement::flushCache();
    const uint64_t before = desktop->accessibility().messageCount();
    const auto spent = [&] { return desktop->accessibility().messageCount() - before; };
    uint64_t whenToldSo = UINT64_MAX;
    const auto isUnwanted = [&] {
      whenToldSo = spent() < limit ? whenToldSo : std::min(whenToldSo, spent());
      return spent() >= limit;
    };
    JLElementTreeEnumerator(desktop.element("app"))
        .enumerateElementsWithOptions({.visibleElements = true, .isUnwanted = isUnwanted});
    return Messages{whenToldSo, spent()};
  };
  const uint64_t whole = messagesIfUnwantedAfter(UINT64_MAX).all;
  ASSERT_GT(whole, 2000U);
  constexpr uint64_t kOneElement = 10;
  for (uint64_t limit = 0; limit + kOneElement < whole; limit += kOneElement) {
    const Messages messages = messagesIfUnwantedAfter(limit);
    ASSERT_LE(messages.whenToldSo, limit + kOneElement) << "it asks at each element";
    ASSERT_EQ(messages.all, messages.whenToldSo) << limit;
  }
}

TEST(Enumeration, marksTheElementUnderThePointer) {
  RecordedFixture desktop(DesktopText::of(R"(
    app AXApplication AXFocusedWindow=@w
      w AXWindow 0,0/100,100
        a AXButton 0,0/50,50
        b AXButton 50,0/50,50)",
                                          R"("screens":[[0,0,1000,1000]],"pointer":[60,990],)"));
  const auto tree = JLElementTreeEnumerator(desktop.element("app")).enumerateElements();
  ASSERT_NE(tree->focusedNode(), nullptr);
  EXPECT_EQ(tree->focusedNode()->element(), desktop.element("b"));
  EXPECT_EQ(tree->focusedNode()->attribute("Focused"), "yes");
  desktop->screens().setPointerLocation({500, 500});
  EXPECT_EQ(JLElementTreeEnumerator(desktop.element("app")).enumerateElements()->focusedNode(), nullptr);
}

TEST(Enumeration, ringsEndWhereTheyClose) {
  RecordedFixture desktop(DesktopText::of(R"(
    app AXApplication AXFocusedWindow=@w
      w AXWindow 0,0/100,100 AXChildren=[@a,@w]
        a AXGroup 0,0/50,50
          b AXGroup 0,0/50,50 AXChildren=[@a,@w,@app,@c]
            c AXButton 0,0/50,50)"));
  EXPECT_EQ(enumerated(desktop, true), "Root(app(w(a(b(c)))))");
}

TEST(Enumeration, elementsThatAllListEachOtherStayBounded) {
  RecordedFixture desktop(DesktopText::of("app AXApplication"));
  RecordedAccessibility& accessibility = desktop->accessibility();
  AttributeValue::List all;
  for (int i = 0; i < 40; ++i) {
    accessibility.setAttribute("n" + std::to_string(i), "AXRole", "AXGroup");
    all.emplace_back(accessibility.element("n" + std::to_string(i)));
  }
  for (const AttributeValue& one : all) {
    accessibility.setAttribute(one.element()->text(), "AXChildren", all);
  }
  accessibility.setAttribute("app", "AXFocusedWindow", all.front());
  const auto tree = JLElementTreeEnumerator(desktop.element("app")).enumerateElements();
  EXPECT_GE(tree->elementCount(), 41U);
  EXPECT_LE(tree->elementCount(), 40U * 8U * 40U);
}

}  // namespace
}  // namespace jumplark::testing
