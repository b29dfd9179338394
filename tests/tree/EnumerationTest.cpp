#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <stdexcept>

#include "support/RecordedFixture.h"
#include "tree/JLElementTree.h"
#include "tree/JLElementTreeEnumerator.h"

namespace jumplark {
namespace {

using testing::RecordedFixture;

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

/// One JSON member: an element at a place (top-left origin) with further attributes.
std::string at(const std::string& id, const std::string& role, const std::string& rect, const std::string& more = "",
               const std::string& parameterized = "") {
  const auto comma = rect.find(' ');
  return "\"" + id + "\":{\"attributes\":{\"AXRole\":\"" + role + "\",\"AXPosition\":{\"point\":[" +
         rect.substr(0, comma) + "]},\"AXSize\":{\"size\":[" + rect.substr(comma + 1) + "]}" +
         (more.empty() ? "" : "," + more) + "}" +
         (parameterized.empty() ? "" : ",\"parameterized\":{" + parameterized + "}") + "}";
}

std::string refs(const std::string& attribute, std::initializer_list<const char*> ids) {
  std::string list;
  for (const char* id : ids) {
    list += (list.empty() ? "" : ",") + std::string("{\"ref\":\"") + id + "\"}";
  }
  return "\"" + attribute + "\":[" + list + "]";
}

std::string ref(const std::string& attribute, const std::string& id) {
  return "\"" + attribute + "\":{\"ref\":\"" + id + "\"}";
}

/// `head` holds further members of the file; "dock":null leaves the dock out.
std::string desktopOf(std::initializer_list<std::string> elements, const std::string& head = "") {
  std::string all;
  for (const std::string& element : elements) {
    all += (all.empty() ? "" : ",\n") + element;
  }
  const bool hasDock = head.find("\"dock\":null") == std::string::npos;
  return R"({"screens":[[0,0,1000,1000]],"frontmost":1,)" + head +
         R"("applications":[{"pid":1,"bundle_id":"b","name":"n","element":"app"})" +
         (hasDock ? R"(,{"pid":2,"bundle_id":"com.apple.dock","name":"Dock","element":"dock"})" : "") +
         R"(],"elements":{)" + all + "}}";
}

const std::string kNoDock = R"("dock":null,)";

TEST(Enumeration, ApplicationCollectsFocusedWindowAndMenuBarOnly) {
  RecordedFixture desktop(desktopOf(
      {at("app", "AXApplication", "0,0 0,0",
          ref("AXFocusedWindow", "w2") + "," + ref("AXMenuBar", "bar") + "," + refs("AXChildren", {"w1", "w2", "w3"})),
       at("w1", "AXWindow", "0,0 10,10"), at("w2", "AXWindow", "0,0 100,100", refs("AXChildren", {"b"})),
       at("w3", "AXWindow", "0,0 10,10"), at("b", "AXButton", "1,1 10,10"),
       at("bar", "AXMenuBar", "0,0 100,20", refs("AXChildren", {"file", "edit"})),
       at("file", "AXMenuBarItem", "0,0 0,0", refs("AXChildren", {"menu"})), at("edit", "AXMenuBarItem", "20,0 20,20"),
       at("menu", "AXMenu", "0,20 50,50"), at("dock", "AXApplication", "0,900 100,100", refs("AXChildren", {"d1"})),
       at("d1", "AXDockItem", "5000,5000 0,0", refs("AXChildren", {"d2"})), at("d2", "AXButton", "0,0 0,0")}));
  EXPECT_EQ(enumerated(desktop, true), "Root(app(w2(b) bar(file edit MenuExtras)) dock(d1(d2)))")
      << "menus closed, the dock whole in spite of the visibility rule";
  const auto prepared = desktop->accessibility().preparedSnapshots();
  ASSERT_EQ(prepared.size(), 2U);
  EXPECT_EQ(prepared[0].first.text(), "app");
  EXPECT_TRUE(prepared[0].second);
  EXPECT_EQ(prepared[1].first.text(), "dock");
  EXPECT_FALSE(prepared[1].second);
}

TEST(Enumeration, MissingPartsAreSkipped) {
  RecordedFixture desktop(desktopOf({at("app", "AXApplication", "0,0 0,0")}, kNoDock));
  EXPECT_EQ(enumerated(desktop, true), "Root(app)");
  EXPECT_THROW(JLElementTreeEnumerator(nullptr), std::logic_error);
}

TEST(Enumeration, VisibilityDropsWhatDoesNotMeetTheParent) {
  const auto elements = {at("app", "AXApplication", "0,0 0,0", ref("AXFocusedWindow", "w")),
                         at("w", "AXWindow", "0,0 100,100", refs("AXChildren", {"in", "edge", "empty", "box", "tabs"})),
                         at("in", "AXButton", "90,90 50,50"),
                         at("edge", "AXButton", "100,0 10,10"),
                         at("empty", "AXButton", "5,5 0,0"),
                         at("box", "AXGroup", "0,0 10,10", refs("AXChildren", {"deep"})),
                         at("deep", "AXButton", "50,50 10,10"),
                         at("tabs", "AXTabGroup", "0,0 100,100",
                            refs("AXChildren", {"page1", "page2"}) + "," + refs("AXVisibleChildren", {"page1"})),
                         at("page1", "AXGroup", "0,0 100,100"),
                         at("page2", "AXGroup", "0,0 100,100")};
  RecordedFixture desktop(desktopOf(elements, kNoDock));
  EXPECT_EQ(enumerated(desktop, true), "Root(app(w(in box tabs(page1))))");
  EXPECT_EQ(enumerated(desktop, false), "Root(app(w(in edge empty box(deep) tabs(page1 page2))))");
}

TEST(Enumeration, RowsLinksAndRadioGroupsHaveTheirOwnRules) {
  const auto elements = {
      at("app", "AXApplication", "0,0 0,0", ref("AXFocusedWindow", "w")),
      at("w", "AXWindow", "0,0 100,100", refs("AXChildren", {"table", "outline", "link", "radios"})),
      at("table", "AXTable", "0,0 50,50",
         refs("AXChildren", {"r1", "r2"}) + "," + refs("AXRows", {"r1", "r2"}) + "," + refs("AXVisibleRows", {"r2"})),
      at("r1", "AXRow", "0,0 50,10"),
      at("r2", "AXRow", "0,10 50,10", refs("AXChildren", {"cell"})),
      at("cell", "AXCell", "0,10 50,10"),
      at("outline", "AXOutline", "0,0 50,50", refs("AXRows", {"r1"}) + "," + refs("AXVisibleRows", {"r1"})),
      at("link", "AXLink", "0,0 50,10", refs("AXChildren", {"inner"})),
      at("inner", "AXStaticText", "0,0 50,10"),
      at("radios", "AXRadioGroup", "0,0 50,50",
         refs("AXChildren", {"on", "off"}) + "," + refs("AXVisibleChildren", {"on"})),
      at("on", "AXRadioButton", "0,0 10,10"),
      at("off", "AXRadioButton", "0,10 10,10")};
  RecordedFixture desktop(desktopOf(elements, kNoDock));
  EXPECT_EQ(enumerated(desktop, true), "Root(app(w(table(r2(cell)) outline(r1) link radios(on off))))");
  EXPECT_EQ(enumerated(desktop, false), "Root(app(w(table(r1 r2(cell)) outline(r1) link radios(on off))))");
}

std::string barDesktop(const std::string& hits) {
  return desktopOf(
      {at("app", "AXApplication", "0,0 0,0", ref("AXMenuBar", "bar")),
       at("bar", "AXMenuBar", "0,0 400,20", refs("AXChildren", {"file"})), at("file", "AXMenuBarItem", "0,0 200,20"),
       at("clock", "AXMenuBarItem", "370,0 30,20"), at("net", "AXMenuBarItem", "340,0 30,20"),
       at("far", "AXMenuBarItem", "285,0 15,20"), at("farther", "AXMenuBarItem", "250,0 10,20"),
       at("last", "AXMenuBarItem", "215,0 10,20"), at("button", "AXButton", "0,0 1,1")},
      kNoDock + "\"hits\":[" + hits + "],");
}

TEST(Enumeration, MenuExtrasAreFoundFromTheRightUntilTheFourthMissWithoutTheBarsOwnItems) {
  // The bar's middle row is y = 990 (bottom-left), which is row 9 from the top. From an item the walk goes on 15 points
  // left of its left edge; a hit forgives no miss.
  RecordedFixture desktop(barDesktop(R"([385,9,"clock"],[355,9,"net"],[325,9,"button"],[310,9,null],[295,9,"far"],
                                        [270,9,"button"],[255,9,"farther"],[235,9,"bar"],[220,9,"last"])"));
  EXPECT_EQ(enumerated(desktop, true), "Root(app(bar(file MenuExtras(clock net far farther))))");
  RecordedFixture ownItem(barDesktop(R"([385,9,"file"])"));
  EXPECT_EQ(enumerated(ownItem, true), "Root(app(bar(file MenuExtras)))");
}

std::string pageDesktop(const std::string& parameterized, const std::string& hits = "") {
  return desktopOf(
      {at("app", "AXApplication", "0,0 0,0", ref("AXFocusedWindow", "w")),
       at("w", "AXWindow", "0,0 500,50", ref("AXParent", "app") + "," + refs("AXChildren", {"web"})),
       at("web", "AXWebArea", "10.6,0 400,40.5",
          ref("AXParent", "w") + "," + ref("AXWindow", "w") + "," + refs("AXChildren", {"whole"}), parameterized),
       at("whole", "AXGroup", "10,0 400,40", ref("AXParent", "web")),
       at("c1", "AXLink", "9,9 9,9", ref("AXParent", "web")), at("c2", "AXLink", "9,9 9,9", ref("AXParent", "web")),
       at("off", "AXLink", "9,9 9,9", ref("AXParent", "web")),
       at("l1", "AXLink", "0,0 10,10", ref("AXParent", "whole")),
       at("l2", "AXLink", "0,900 10,10", ref("AXParent", "whole")),
       at("frame", "AXWebArea", "0,0 100,100", refs("AXChildren", {"hidden"})),
       at("hidden", "AXButton", "0,5000 10,10")},
      kNoDock + (hits.empty() ? "" : "\"hits\":[" + hits + "],"));
}

TEST(Enumeration, AWebAreaIsSearchedAndItsFramesWalkedWhole) {
  RecordedFixture desktop(pageDesktop(R"("AXUIElementsForSearchPredicate":[
        {"when":{"AXVisibleOnly":true,"AXResultsLimit":1000,"AXSearchKey":["AXLinkSearchKey","AXButtonSearchKey",
          "AXCheckBoxSearchKey","AXRadioGroupSearchKey","AXTextFieldSearchKey","AXGraphicSearchKey","AXControlSearchKey",
          "AXStaticTextSearchKey"]},"value":[{"ref":"l1"},{"ref":"l2"}]},
        {"when":{"AXVisibleOnly":false,"AXResultsLimit":1000,"AXSearchKey":"AXFrameSearchKey"},
         "value":[{"ref":"frame"}]}])"));
  EXPECT_EQ(enumerated(desktop, true), "Root(app(w(web(l1 l2 frame(hidden)))))");
  EXPECT_EQ(enumerated(desktop, false), "Root(app(w(web(whole))))");
}

TEST(Enumeration, AWebAreaWithoutSearchIsHitOnAGrid) {
  // Grid rows 959, 974, 989 from the bottom are rows 40, 25, 10 from the top; columns 10, 210 and 410.
  RecordedFixture desktop(pageDesktop("", R"([10,40,"l1"],[10,25,"c1"],[10,10,"web"],[210,10,"l2"],[210,25,"w"],
      [410,40,"c2"],[10,35,"off"],[10,32.5,"off"],[110,40,"off"])"));
  EXPECT_EQ(enumerated(desktop, true), "Root(app(w(web(whole c1 c2))))")
      << "both links lie in the same child, the window is above";
}

/// `count` elements of a role at one place; their references go to `list`.
std::string many(const std::string& id, const std::string& role, int count, std::string& list) {
  std::string elements;
  for (int i = 0; i < count; ++i) {
    const std::string name = id + std::to_string(i);
    elements += (i ? ",\n" : "") + at(name, role, "0,0 50,10", ref("AXParent", "w"));
    list += (i ? "," : "") + std::string("{\"ref\":\"") + name + "\"}";
  }
  return elements;
}

/// Long lists (one with thousands of entries that are no elements), rows, menu extras, pages with and without search, a
/// frame and a long dock.
std::string longDesktop() {
  std::string items, rows, links, inner, docked;
  const std::string lists = many("i", "AXButton", 60, items) + "," + many("r", "AXRow", 60, rows) + "," +
                            many("l", "AXLink", 60, links) + "," + many("f", "AXButton", 60, inner) + "," +
                            many("d", "AXDockItem", 60, docked);
  for (int i = 0; i < 2000; ++i) {
    items += ",0";
  }
  return desktopOf(
      {lists, at("app", "AXApplication", "0,0 0,0", ref("AXFocusedWindow", "w") + "," + ref("AXMenuBar", "bar")),
       at("w", "AXWindow", "0,0 400,400",
          ref("AXParent", "app") + "," + refs("AXChildren", {"list", "table", "page", "plain"})),
       at("list", "AXGroup", "0,0 400,400", "\"AXVisibleChildren\":[" + items + "]"),
       at("table", "AXTable", "0,0 400,400", "\"AXVisibleRows\":[" + rows + "]"),
       at("page", "AXWebArea", "0,0 400,400", "",
          R"("AXUIElementsForSearchPredicate":[{"when":{"AXVisibleOnly":true},"value":[)" + links +
              R"(]},{"value":[{"ref":"frame"}]}])"),
       at("frame", "AXWebArea", "0,0 400,400", "\"AXChildren\":[" + inner + "]"),
       at("plain", "AXWebArea", "0,0 400,400", ref("AXParent", "w") + "," + ref("AXWindow", "w")),
       at("bar", "AXMenuBar", "0,0 400,20", refs("AXChildren", {"file"})), at("file", "AXMenuBarItem", "0,0 20,20"),
       at("clock", "AXMenuBarItem", "370,0 30,20"), at("net", "AXMenuBarItem", "340,0 30,20"),
       at("mail", "AXMenuBarItem", "310,0 30,20"), at("disk", "AXMenuBarItem", "280,0 30,20"),
       at("dock", "AXApplication", "0,900 100,100", "\"AXChildren\":[" + docked + "]")},
      R"("hits":[[385,9,"clock"],[355,9,"net"],[325,9,"mail"],[295,9,"disk"]],)");
}

TEST(Enumeration, ReadsNothingFurtherOnceItIsUnwanted) {
  RecordedFixture desktop(longDesktop());
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

TEST(Enumeration, MarksTheElementUnderThePointer) {
  const auto elements = {
      at("app", "AXApplication", "0,0 0,0", ref("AXFocusedWindow", "w") + "," + refs("AXChildren", {"w"})),
      at("w", "AXWindow", "0,0 100,100", refs("AXChildren", {"a", "b"})), at("a", "AXButton", "0,0 50,50"),
      at("b", "AXButton", "50,0 50,50")};
  RecordedFixture desktop(desktopOf(elements, kNoDock + R"("pointer":[60,990],)"));
  const auto tree = JLElementTreeEnumerator(desktop.element("app")).enumerateElements();
  ASSERT_NE(tree->focusedNode(), nullptr);
  EXPECT_EQ(tree->focusedNode()->element(), desktop.element("b"));
  EXPECT_EQ(tree->focusedNode()->attribute("Focused"), "yes");
  desktop->screens().setPointerLocation({500, 500});
  EXPECT_EQ(JLElementTreeEnumerator(desktop.element("app")).enumerateElements()->focusedNode(), nullptr);
}

TEST(Enumeration, RingsEndWhereTheyClose) {
  const auto elements = {at("app", "AXApplication", "0,0 0,0", ref("AXFocusedWindow", "w")),
                         at("w", "AXWindow", "0,0 100,100", refs("AXChildren", {"a", "w"})),
                         at("a", "AXGroup", "0,0 50,50", refs("AXChildren", {"b"})),
                         at("b", "AXGroup", "0,0 50,50", refs("AXChildren", {"a", "w", "app", "c"})),
                         at("c", "AXButton", "0,0 50,50")};
  RecordedFixture desktop(desktopOf(elements, kNoDock));
  EXPECT_EQ(enumerated(desktop, true), "Root(app(w(a(b(c)))))");
}

TEST(Enumeration, ElementsThatAllListEachOtherStayBounded) {
  std::string elements = at("app", "AXApplication", "0,0 0,0", ref("AXFocusedWindow", "n0"));
  std::string all;
  for (int i = 0; i < 40; ++i) {
    all += (i ? "," : "") + std::string(R"({"ref":"n)") + std::to_string(i) + "\"}";
  }
  for (int i = 0; i < 40; ++i) {
    elements += "," + at("n" + std::to_string(i), "AXGroup", "0,0 50,50", "\"AXChildren\":[" + all + "]");
  }
  RecordedFixture desktop(desktopOf({elements}, kNoDock));
  const auto tree = JLElementTreeEnumerator(desktop.element("app")).enumerateElements();
  EXPECT_GE(tree->elementCount(), 41U);
  EXPECT_LE(tree->elementCount(), 40U * 8U * 40U);
}

}  // namespace
}  // namespace jumplark
