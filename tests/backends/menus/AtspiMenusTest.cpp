#include "backends/linux/atspi/menus/AtspiMenus.h"

#include <systemd/sd-bus.h>

#include <algorithm>
#include <numeric>

#include "backends/linux/menus/MenuText.h"
#include "backends/menus/MenusFixture.h"

namespace jumplark::atspi {
namespace {

using menus::commandsOf;
using menus::later;
using menus::linesOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

class AtspiMenusTest : public MenusFixture {
 protected:
  using MenusFixture::MenusFixture;
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
