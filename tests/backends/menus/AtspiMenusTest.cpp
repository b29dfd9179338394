#include "backends/linux/atspi/menus/AtspiMenus.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <systemd/sd-bus.h>

#include <algorithm>
#include <numeric>

#include "backends/atspi/support/SourceFixture.h"
#include "backends/linux/menus/MenuText.h"
#include "backends/menus/ToldCommands.h"

namespace jumplark::atspi {
namespace {

using menus::commandsOf;
using menus::later;
using menus::linesOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr uint64_t kEnabled = bit(state::enabled) | bit(state::sensitive);

/// An application with a menu bar whose menus are closed, the way Qt has them in its tree.
class AtspiMenusTest : public SourceFixture {
 protected:
  explicit AtspiMenusTest(const std::string& toolkit = "Qt", const std::string& version = "6.4.2")
      : SourceFixture(toolkit, version) {
    app.add("frame", "bar", element(role::menuBar, ""));
    menu("bar", "file", "File");
    item("file", "quit", "Quit", "Ctrl+Q");
  }

  FakeElement& add(const std::string& parent, const std::string& id, uint32_t role, const std::string& name,
                   uint64_t states = kEnabled) {
    FakeElement made = element(role, name);
    made.states = states;
    return app.add(parent, id, made.with("Action"));
  }
  /// A menu item with a popup menu of the same id and a "_menu" behind it.
  void menu(const std::string& parent, const std::string& id, const std::string& name) {
    add(parent == "bar" ? parent : parent + "_menu", id, role::menuItem, name);
    add(id, id + "_menu", role::popupMenu, "");
  }
  FakeElement& item(const std::string& parent, const std::string& id, const std::string& name,
                    const std::string& key = "", uint32_t role = role::menuItem, uint64_t states = kEnabled) {
    FakeElement& made = add(app.hasElement(parent + "_menu") ? parent + "_menu" : parent, id, role, name, states);
    made.keys = key;
    made.actions = {"click"};
    return made;
  }

  menus::MenuRequest request(menus::TimePoint deadline = later()) { return {getpid(), windows.windows[0], deadline}; }
  std::vector<MenuCommand> commands() { return commandsOf(menus_, request()); }
  std::vector<std::string> lines() { return linesOf(commands()); }
  MenuOutcome perform(const MenuCommand& command, menus::TimePoint deadline = later()) {
    return menus_.perform(command, deadline).value_or(MenuOutcome::gone);
  }

  /// A menu of something in the window: the application's own child for as long as it is open, with new elements.
  void contextMenu() {
    const std::string menu = "context" + std::to_string(++contexts_);
    add("root", menu, role::popupMenu, "", kShown | kEnabled);
    item(menu, menu + "copy", "Copy", "Ctrl+C", role::menuItem, kShown | kEnabled).rect = {40, 60, 20, 10};
    add(menu, menu + "more", fills ? role::menuItem : role::menu, "More", kShown | kEnabled);
    if (!fills) {
      item(menu + "more", menu + "split", "Split");
    }
  }
  void closeContextMenu() {
    for (const char* part : {"", "copy", "more", "split"}) {
      app.remove("context" + std::to_string(contexts_) + part);
    }
  }
  /// It comes to whoever calls it so.
  void called(const std::string& how) {
    hands.push_back(how);
    if (how == opensContext) {
      contextMenu();
    }
  }
  void showPopup(Rect place) {
    WindowFacts popup = windows.windows[0];
    popup.surface = popup.frame = place;
    popup.isPopup = true;
    windows.popups = {popup};
  }
  std::vector<MenuCommand> open() { return menus_.readOpen(later(), true).commands; }

  std::vector<std::string> hands;
  std::vector<FakeElement*> opens;  ///< what shows after each click
  std::function<void()> fills;      ///< what a click makes of a menu that is empty until then
  Point pointer{500, 500};
  std::string opensContext;
  AtspiMenus menus_{
      source(), windows, [this](const ElementRef&) { return source().last; },
      MenuHands{.click =
                    [this](Point place) {
                      hands.push_back(fmt::format("{},{}", place.x, place.y));
                      if (fills) {
                        fills();
                      }
                      if (!opens.empty()) {
                        opens.front()->states |= bit(state::showing);
                        opens.erase(opens.begin());
                      }
                    },
                .clickSecondary = [this](Point place) { called(fmt::format("right {},{}", place.x, place.y)); },
                .typeMenuKey = [this] { called("Menu"); },
                .typeEscape = [this] { hands.emplace_back("Escape"); },
                .closeMenus =
                    [this] {
                      hands.emplace_back("close");
                      closeContextMenu();
                      windows.popups.clear();
                    },
                .pointer = [this] { return std::optional(pointer); }}};

 private:
  int contexts_ = 0;
};

TEST_F(AtspiMenusTest, closedMenusReadAsTheyWouldShow) {
  item("file", "new", "New      ", "n;<Alt>f:n;<Primary>n");
  item("file", "print", "Print", "Alt+P");
  item("file", "far", "Far left", "Alt+Left");
  add("file_menu", "line", role::separator, "");
  item("file", "off", "Undo", "", role::menuItem, 0);
  item("file", "wrap", "Wrap", "", role::checkMenuItem, kEnabled | bit(state::checked));
  item("file", "grid", "Grid", "", role::menuItem, kEnabled | bit(state::checkable));
  item("file", "red", "Red", "", role::radioMenuItem);
  item("file", "shown", "Shown", "", role::menuItem, kEnabled | bit(state::showing));
  menu("file", "recent", "Recent");
  item("recent", "letter", "letter.txt");
  menu("file", "empty", "Nothing yet");
  add("file_menu", "none", role::menu, "No templates");
  // A menu that is only in the tree while it is open, and a button's and a combo box's, which belong to no bar.
  add("bar", "title", role::menuItem, "Help");
  add("title", "label", role::label, "Help");
  add("frame", "choice", role::comboBox, "Size", kShown);
  menu("choice", "sizes", "Sizes");
  const std::vector<std::string> all = {
      "File>Quit Control+Q", "File>New Control+N", "File>Print",   "File>Far left Alt+Left", "File>Undo disabled",
      "File>Wrap [x]",       "File>Grid [ ]",      "File>Red ( )", "File>Shown open",        "File>Recent>letter.txt"};
  EXPECT_EQ(lines(), all) << "without a snapshot";
  prepare();
  EXPECT_EQ(lines(), all) << "with one that knows the menu bar";
}

TEST_F(AtspiMenusTest, theMenusOfButtonsAreReadWhereASnapshotSawThem) {
  add("frame", "tools", role::pushButton, "Tools", kShown);
  add("tools", "tools_menu", role::popupMenu, "");
  item("tools", "ruler", "Ruler");
  add("frame", "plain", role::pushButton, "Plain", kShown);
  EXPECT_THAT(lines(), ElementsAre("File>Quit Control+Q"));
  prepare();
  EXPECT_THAT(lines(), ElementsAre("File>Quit Control+Q", "Tools>Ruler"));
}

TEST_F(AtspiMenusTest, theSameWindowsMenusAreOnlyAskedWhetherTheyAreStillSo) {
  FakeElement& undo = item("file", "undo", "Undo typing", "Ctrl+Z", role::menuItem, 0);
  lines();
  const size_t read = app.timesAsked("Accessible.GetChildren file_menu");
  undo.states = kEnabled;
  EXPECT_THAT(lines(), ElementsAre("File>Quit Control+Q", "File>Undo typing Control+Z"));
  EXPECT_EQ(app.timesAsked("Accessible.GetChildren file_menu"), read);
  undo.name = "Undo paste";
  EXPECT_THAT(lines(), Contains("File>Undo paste Control+Z"));
  item("file", "redo", "Redo");
  EXPECT_THAT(lines(), Contains("File>Redo"));
}

TEST_F(AtspiMenusTest, aCommandIsCarriedOutByItsElementIfThatIsStillTheSame) {
  FakeElement& undo = item("file", "undo", "Undo", "Ctrl+Z");
  const std::vector<MenuCommand> told = commands();
  EXPECT_EQ(perform(told[1]), MenuOutcome::done);
  app.answerInstead([](sd_bus_message* message, const std::string&, const std::string& member) {
    return member == "DoAction" && sd_bus_reply_method_return(message, "b", 0) >= 0;
  });
  EXPECT_EQ(perform(told[0]), MenuOutcome::failed);
  undo.states = 0;
  EXPECT_EQ(perform(told[1]), MenuOutcome::disabled);
  // Its id is another's now, and it has another id.
  app.answerInstead({});
  undo.states = kEnabled;
  undo.name = "Delete everything";
  item("file", "undo2", "Undo", "Ctrl+Z");
  EXPECT_EQ(perform(told[1]), MenuOutcome::done);
  app.remove("quit");
  EXPECT_EQ(perform(told[0]), MenuOutcome::gone);
  EXPECT_THAT(app.done(), ElementsAre("0 undo", "0 quit", "0 undo2"));
  EXPECT_EQ(menus_.perform({{"x"}, {}, {}, false, true, false, nullptr}, later()), std::nullopt);
}

TEST_F(AtspiMenusTest, anApplicationThatShowsADialogHasCarriedItOutAndOneThatHangsHasNot) {
  const std::vector<MenuCommand> told = commands();
  app.answerInstead(
      [](sd_bus_message*, const std::string&, const std::string& member) { return member == "DoAction"; });
  EXPECT_EQ(perform(told[0]), MenuOutcome::done);
  app.peer().hang();
  EXPECT_EQ(perform(told[0], menus::Clock::now() + std::chrono::milliseconds(50)), MenuOutcome::failed);
  EXPECT_THAT(commandsOf(menus_, request(menus::Clock::now() + std::chrono::milliseconds(50))), IsEmpty());
}

TEST_F(AtspiMenusTest, whatHasNoActionIsChosenInItsMenusWhichAreClosedIfItCannotBe) {
  menu("file", "more", "More");
  const auto place = [this](const char* id, Rect rect, uint64_t states) {
    FakeElement& element = app.at(id);
    element.rect = rect;
    element.states = states;
    return &element;
  };
  place("file", {10, 20, 40, 20}, kShown);
  FakeElement* more = place("more", {10, 40, 80, 20}, kEnabled);
  add("more_menu", "zoom", role::menuItem, "Zoom");
  FakeElement* zoom = place("zoom", {100, 40, 60, 20}, kEnabled);
  const std::vector<MenuCommand> told = commands();
  ASSERT_EQ(told.size(), 2U);
  opens = {more, zoom};
  EXPECT_EQ(perform(told[1]), MenuOutcome::done);
  EXPECT_THAT(hands, ElementsAre("30,30", "50,50", "130,50"));

  hands.clear();
  more->states = zoom->states = kEnabled;
  opens = {more};
  EXPECT_EQ(perform(told[1], menus::Clock::now() + std::chrono::milliseconds(300)), MenuOutcome::failed);
  EXPECT_THAT(hands, ElementsAre("30,30", "50,50", "Escape")) << "the second click may have opened nothing";
}

TEST_F(AtspiMenusTest, whatIsOpenIsReadWithTheSubmenusThatOnlyItLeadsTo) {
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

TEST_F(AtspiMenusTest, aMenuThatNobodyListsIsFoundByItsNumber) {
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
TEST_F(AtspiMenusTest, theMenusOfBrowsersAreRead) {
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

TEST_F(AtspiMenusTest, whatIsGoneWithItsMenuIsChosenWhereThatOpensAgain) {
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

TEST_F(AtspiMenusTest, aSubmenuThatIsFilledWhenItOpensIsOpenedOnTheWay) {
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

/// What it says of a closed menu is as that was when it showed last.
class OldStatesTest : public AtspiMenusTest {
 protected:
  OldStatesTest() : AtspiMenusTest("gtk", "3.24.38") { app.at("root").name = "soffice"; }
};

TEST_F(OldStatesTest, areLookedAtInTheOpenMenuBeforeACommandCountsAsDisabled) {
  app.at("file").states = kShown;
  FakeElement& quit = app.at("quit");
  quit.states = 0;
  prepare();
  const std::vector<MenuCommand> told = commands();
  EXPECT_THAT(linesOf(told), ElementsAre("File>Quit Control+Q"));
  opens = {&quit};
  EXPECT_EQ(perform(told[0]), MenuOutcome::disabled);
  EXPECT_THAT(hands, ElementsAre("5,5", "Escape"));
  hands.clear();
  quit.states = bit(state::sensitive);
  EXPECT_EQ(perform(told[0]), MenuOutcome::done);
  EXPECT_THAT(hands, IsEmpty());
  EXPECT_THAT(app.done(), ElementsAre("0 quit"));
}

TEST_F(AtspiMenusTest, nonsenseEnds) {
  // Menus that hold each other, one that is too deep, elements that vanish.
  menu("file", "loop", "Loop");
  app.add("loop_menu", "again", element(role::menuItem, "Again")).children = {"file_menu", "loop_menu", "bar", "again"};
  std::string above = "file";
  for (int i = 0; i < 12; ++i) {
    const std::string id = "level" + std::to_string(i);
    menu(above, id, "Deeper");
    item(id, id + "_item", "item" + std::to_string(i));
    above = id;
  }
  item("file", "vanished", "Vanished");
  app.remove("vanished");
  item("file", "long", std::string(1'000'000, 'x'));
  item("file", "nameless", "  \n ");
  const std::vector<std::string> told = lines();
  EXPECT_THAT(told, Contains("File>" + std::string(menus::kLongestTitle, 'x')));
  EXPECT_THAT(told, Contains(::testing::EndsWith("item5")));
  EXPECT_THAT(told, Not(Contains(::testing::EndsWith("item6")))) << "eight titles deep at most";
  EXPECT_THAT(told, Not(Contains("File>Vanished")));
  EXPECT_THAT(told, Contains("File>Quit Control+Q"));
  for (size_t i = 0; i < Menus::kMostCommands + 50; ++i) {
    item("file", "i" + std::to_string(i), "item");
  }
  std::vector<size_t> parts;
  menus::MenuSink sink([&](const std::vector<MenuCommand>& more) { parts.push_back(more.size()); },
                       [] { return true; });
  menus_.read(request(), sink);
  parts.push_back(sink.rest().size());
  EXPECT_EQ(std::accumulate(parts.begin(), parts.end(), size_t{0}), Menus::kMostCommands);
  EXPECT_LT(std::ranges::max(parts), 1000U) << "a long menu comes part by part";
  EXPECT_LE(parts.front(), 50U) << "and the first part before the toolkit has had to make all of it";
}

}  // namespace
}  // namespace jumplark::atspi
