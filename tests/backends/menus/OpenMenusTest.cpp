#include <algorithm>
#include <stop_token>
#include <thread>

#include "backends/menus/MenusFixture.h"
#include "platform/Input.h"

namespace jumplark::atspi {
namespace {

using menus::linesOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class OpenMenusTest : public MenusFixture {
 protected:
  using MenusFixture::MenusFixture;
};

TEST_F(OpenMenusTest, whatIsOpenIsReadWithTheSubmenusThatOnlyItLeadsTo) {
  menu("file", "recent", "Recent");
  item("recent", "letter", "letter.txt");
  menu("bar", "edit", "Edit");
  item("edit", "cut", "Cut");
  EXPECT_THAT(linesOf(open()), IsEmpty());
  for (const char* id : {"file", "edit", "file_menu", "quit", "recent"}) {
    app.at(id).states = kShown | kEnabled;
  }
  EXPECT_THAT(linesOf(open()), ElementsAre("File>Quit Control+Q open")) << "those of a bar are told without it, too";
  app.at("file_menu").states = kEnabled;
  contextMenu();
  EXPECT_THAT(linesOf(open()), ElementsAre("Copy Control+C open", "More>Split open"));
  closeContextMenu();
  add("frame", "size", role::comboBox, "10", kShown);
  add("size", "sizes", role::list, "", kEnabled);
  for (const char* size : {"10", "12"}) {
    item("sizes", size, size, "", role::listItem, kShown | kEnabled);
  }
  prepare();
  EXPECT_THAT(linesOf(open()), IsEmpty());
  app.at("sizes").states = kShown;
  EXPECT_THAT(linesOf(open()), IsEmpty()) << "some say always that they show, and lie on their box while they do not";
  app.at("sizes").rect = {0, 10, 10, 30};
  EXPECT_THAT(linesOf(open()), ElementsAre("10 open", "12 open")) << "the box is called what is chosen in it";
  app.peer().hang();
  EXPECT_THAT(menus_.readOpen(menus::Clock::now() + std::chrono::milliseconds(50), true).commands, IsEmpty());
}

TEST_F(OpenMenusTest, aMenuThatNobodyListsIsFoundByItsNumber) {
  const std::string menu = "2147483747";
  add("root", menu, role::popupMenu, "", kShown | kEnabled);
  item(menu, "zoom", "Zoom", "", role::menuItem, kShown | kEnabled);
  std::erase(app.at("root").children, menu);
  EXPECT_THAT(linesOf(open()), IsEmpty()) << "where no window shows that may hold it nobody looks";
  showPopup({30, 50, 60, 40});
  EXPECT_THAT(linesOf(open()), ElementsAre("Zoom open"));
  app.at(menu).states = kEnabled;
  EXPECT_THAT(linesOf(open()), IsEmpty());
}

/// A window for each menu, drawn as a bar; a panel of buttons; a list in a box around it that is nowhere.
TEST_F(OpenMenusTest, theMenusOfBrowsersAreRead) {
  add("root", "popup", role::frame, "", kShown);
  add("popup", "as_bar", role::menuBar, "", kShown);
  add("as_bar", "inner", role::panel, "", kShown);
  item("inner", "history", "History", "", role::menuItem, kShown | kEnabled | bit(state::expanded));
  add("root", "popup2", role::frame, "", kShown);
  add("popup2", "as_bar2", role::menuBar, "", kShown);
  add("as_bar2", "inner2", role::panel, "", kShown);
  add("inner2", "submenu", role::menu, "History", kShown);
  item("submenu", "show", "Show all", "", role::menuItem, kShown | kEnabled);
  EXPECT_THAT(linesOf(open()), ElementsAre("History>Show all open"));
  for (const char* gone : {"popup", "popup2"}) {
    app.remove(gone);
  }
  // Others have theirs in the window itself.
  add("frame", "layers", role::layeredPane, "", kShown);
  add("layers", "layer", role::panel, "", kShown);
  add("layer", "inside", role::popupMenu, "", kShown);
  item("inside", "paste", "Paste", "", role::menuItem, kShown | kEnabled);
  EXPECT_THAT(linesOf(open()), ElementsAre("Paste open"));
  app.remove("layers");
  add("frame", "panel", role::panel, "", kShown).rect = {30, 60, 60, 30};
  add("panel", "print", role::pushButton, "Print", kShown | kEnabled);
  add("frame", "around", role::comboBox, "", kShown | bit(state::expanded));
  add("around", "list", role::menu, "", kShown);
  item("list", "red", "Red", "", role::menuItem, kShown | kEnabled);
  EXPECT_THAT(linesOf(open()), ElementsAre("Red open")) << "a panel lies in the window";
  showPopup({30, 50, 60, 40});
  EXPECT_THAT(linesOf(open()), ElementsAre("Print open", "Red open"));
}

TEST_F(OpenMenusTest, whatIsGoneWithItsMenuIsChosenWhereThatOpensAgain) {
  const auto readAndClose = [this] {
    showPopup({30, 50, 60, 40});
    contextMenu();
    const std::vector<MenuCommand> told = open();
    closeContextMenu();
    hands.clear();
    return told.at(0);
  };
  for (const bool byPointer : {true, false}) {
    pointer = byPointer ? Point{35, 70} : Point{900, 900};
    for (const std::string how : {"right 30,50", "Menu"}) {
      opensContext = how;
      EXPECT_EQ(perform(readAndClose()), MenuOutcome::done);
      const bool isFirst = byPointer == (how != "Menu");
      const std::vector<std::string> once = {how, "50,65", "close"};
      const std::vector<std::string> twice = {byPointer ? "right 30,50" : "Menu", "close", how, "50,65", "close"};
      EXPECT_EQ(hands, isFirst ? once : twice) << byPointer;
    }
  }
  opensContext.clear();
  EXPECT_EQ(perform(readAndClose()), MenuOutcome::gone);
  EXPECT_EQ(hands.back(), "close") << "nothing stays open";
}

TEST_F(OpenMenusTest, aSubmenuThatIsFilledWhenItOpensIsOpenedOnTheWay) {
  showPopup({30, 50, 60, 40});
  contextMenu();
  item("context1more", "context1late", "Late", "", role::menuItem, kShown | kEnabled);
  const std::vector<MenuCommand> told = open();
  ASSERT_THAT(linesOf(told), Contains("More>Late open"));
  app.remove("context1late");
  closeContextMenu();
  opensContext = "Menu";
  fills = [this] {
    // Where the title shows.
    if (hands.back() == "5,5" && !app.hasElement("context2late")) {
      item("context2more", "context2late", "Late", "", role::menuItem, kShown | kEnabled).rect = {100, 60, 20, 10};
    }
  };
  const auto late = std::ranges::find(told, std::vector<std::string>{"More", "Late"}, &MenuCommand::path);
  EXPECT_EQ(perform(*late), MenuOutcome::done);
  EXPECT_THAT(hands, ElementsAre("Menu", "5,5", "110,65", "close"));
}

/// Popovers of GTK 4 tell wrong places, and show a submenu as another page, which begins with the way back.
class PopoversTest : public MenusFixture {
 protected:
  PopoversTest() : MenusFixture("GTK", "4.8.3") {}

  void showPage(const std::vector<std::string>& names) {
    const std::string page = "page" + std::to_string(++pages_);
    add("root", page, role::popupMenu, "", kShown | kEnabled);
    for (const std::string& name : names) {
      item(page, page + name, name, "", role::menuItem, kShown | kEnabled);
    }
  }
  void hidePage() {
    for (const char* part : {"", "Deeper", "Alpha", "Beta"}) {
      app.remove("page" + std::to_string(pages_) + part);
    }
  }

 private:
  int pages_ = 0;
};

TEST_F(PopoversTest, areTurnedToThePageOfACommandWhichIsCarriedOutByItsAction) {
  showPopup({30, 50, 60, 40});
  showPage({"Deeper", "Beta"});
  const std::vector<MenuCommand> told = open();
  ASSERT_THAT(linesOf(told), ElementsAre("Deeper open", "Beta open"));
  hidePage();
  opensPage = [this] { showPage({"Alpha", "Deeper"}); };
  const std::jthread submenu([this](const std::stop_token& end) {
    while (!end.stop_requested() && app.done().empty()) {
      std::this_thread::yield();
    }
    hidePage();
    showPage({"Deeper", "Beta"});
  });
  EXPECT_EQ(perform(told[1]), MenuOutcome::done);
  EXPECT_THAT(app.done(), ElementsAre("0 page2Deeper", "0 page3Beta"));
  EXPECT_THAT(hands, ElementsAre("Menu")) << "nothing is clicked";
}

TEST_F(PopoversTest, ofListsAreSteppedThroughWhereNobodyTellsTheirPlaces) {
  constexpr uint64_t kVisible = kShown | kEnabled | bit(state::visible);
  windows.windows.front().knowsItsPlace = false;
  const auto put = [&](const std::string& above, const std::string& id, uint32_t role, const std::string& name,
                       Rect place) { add(above, id, role, name, kVisible).rect = place; };
  put("frame", "box", role::comboBox, "Tree", {10, 10, 70, 24});
  put("box", "popover", role::filler, "GtkPopover", {10, 16, 80, 126});
  put("popover", "list", role::list, "GtkListView", {14, 26, 72, 102});
  int y = 30;
  for (const char* tree : {"Oak", "Elm", "Larch"}) {
    put("list", tree, role::listItem, "", {20, static_cast<double>(y), 56, 18});
    put(tree, std::string(tree) + "label", role::label, tree, {20, static_cast<double>(y), 40, 18});
    y += 34;
  }
  app.at("Larch").states |= bit(state::selected);
  const std::vector<MenuCommand> told = open();
  ASSERT_THAT(linesOf(told), ElementsAre("Tree>Oak open", "Tree>Elm open", "Tree>Larch open"));
  EXPECT_EQ(perform(told[0]), MenuOutcome::done);
  EXPECT_EQ(hands.size(), 4U);
  EXPECT_THAT(std::vector(hands.begin() + 1, hands.end()),
              ElementsAre(fmt::format("key {}", key_code::up), fmt::format("key {}", key_code::up), "key 36"))
      << "after a click on the box";
}

}  // namespace
}  // namespace jumplark::atspi
