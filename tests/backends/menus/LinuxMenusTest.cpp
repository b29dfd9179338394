#include "backends/linux/menus/LinuxMenus.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include "backends/atspi/support/FakeWindows.h"
#include "backends/linux/menus/MenuText.h"
#include "backends/menus/ToldCommands.h"
#include "backends/recorded/VirtualQueues.h"

namespace jumplark::menus {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr int32_t kPid = 4'000'001;
constexpr auto kLong = std::chrono::seconds(20);
using Keyboard = OpenCommands::Keyboard;

struct FakeSource final : MenuSource {
  void read(const MenuRequest& request, MenuSink& sink) override {
    asked.push_back(request.window.id.low);
    for (const std::string& title : titles) {
      sink.add({{title}, {}, mark, false, true, false, nullptr});
      sink.flush();
    }
  }
  std::optional<MenuOutcome> perform(const MenuCommand& command, TimePoint) override {
    const bool isOwn = std::ranges::find(titles, command.path[0]) != titles.end();
    return isOwn ? std::optional(outcome) : std::nullopt;
  }
  std::vector<std::string> titles;
  std::vector<uint64_t> asked;
  MenuOutcome outcome = MenuOutcome::done;
  MenuCommand::Mark mark = MenuCommand::Mark::none;
};

class LinuxMenusTest : public ::testing::Test {
 protected:
  LinuxMenusTest() { windows.add(7, kPid, {0, 0, 100, 100}); }
  Menus::Found noting() {
    return [this](const std::vector<MenuCommand>& commands, bool isLast) {
      for (const std::string& line : linesOf(commands)) {
        told.push_back(line);
      }
      ends += isLast ? 1 : 0;
    };
  }
  std::vector<std::string> read(int32_t pid = kPid) {
    told.clear();
    ends = 0;
    const Token reading = menus.read(pid, noting());
    EXPECT_TRUE(queues.advanceUntil([&] { return ends == 1; }, kLong));
    return told;
  }

  VirtualQueues queues;
  atspi::FakeWindows windows;
  FakeSource first;
  FakeSource second;
  std::vector<MenuCommand> open;
  std::vector<WindowId> openIn;
  std::vector<OpenCommands::Keyboard> looks;
  OpenCommands openCommands{queues, [this](TimePoint, OpenCommands::Keyboard keyboard) {
                              looks.push_back(keyboard);
                              return OpenCommands::Told{kPid, open, openIn};
                            }};
  LinuxMenus menus{queues, windows, openCommands, [this] { ++closings; }, second, {&first, &second}};
  int closings = 0;
  std::vector<std::string> told;
  int ends = 0;
};

TEST_F(LinuxMenusTest, aWindowsMenusComeFromTheFirstSourceThatTellsAny) {
  second.titles = {"a", "b"};
  EXPECT_THAT(read(), ElementsAre("a", "b"));
  first.titles = {"c"};
  EXPECT_THAT(read(), ElementsAre("a", "b")) << "from the one that told them before";
  EXPECT_EQ(first.asked.size(), 1U);
  windows.addInFront(8, kPid, {0, 0, 50, 50});
  EXPECT_THAT(read(), ElementsAre("c")) << "another window";
  EXPECT_THAT(first.asked, ElementsAre(7, 8));
}

TEST_F(LinuxMenusTest, thereAreNoneWithoutAWindowThatHasTheKeyboardAndOfThisProgram) {
  first.titles = {"a"};
  windows.windows[0].hidden = true;
  EXPECT_THAT(read(), IsEmpty());
  windows.windows[0].hidden = false;
  windows.windows[0].type = WindowType::dock;
  EXPECT_THAT(read(), IsEmpty());
  windows.add(9, getpid(), {0, 0, 10, 10});
  EXPECT_THAT(read(getpid()), IsEmpty());
  windows.windows[0].type = WindowType::dialog;
  EXPECT_THAT(read(), ElementsAre("a"));
}

TEST_F(LinuxMenusTest, whoLetsGoHearsNothingMore) {
  first.titles = {"a", "b"};
  Token reading;
  reading = menus.read(kPid, [&](const std::vector<MenuCommand>& commands, bool) {
    told.push_back(oneLine(commands.front()));
    reading.reset();
  });
  { const Token dropped = menus.read(kPid, noting()); }
  queues.runPending();
  EXPECT_THAT(told, ElementsAre("a"));
}

TEST_F(LinuxMenusTest, whatWasOpenComesFirstAndOnceUntilItIsForgotten) {
  for (const char* title : {"x", "b", "x"}) {
    open.push_back({{title}, "K", {}, false, true, true, nullptr});
  }
  EXPECT_TRUE(openCommands.read(kLong, Keyboard::taken)) << "it has no window of its own";
  first.titles = {"a", "b"};
  EXPECT_TRUE(openCommands.areThere(kLong, Keyboard::taken));
  open.clear();
  EXPECT_FALSE(openCommands.areThere(kLong, Keyboard::taken));
  EXPECT_THAT(read(), ElementsAre("x K open", "b K open", "x K open", "a"));
  menus.forgetOpen();
  EXPECT_THAT(read(), ElementsAre("a", "b"));
}

TEST_F(LinuxMenusTest, whatStaysOpenIsNotTold) {
  open.push_back({{"x"}, "", {}, false, true, true, nullptr});
  openIn = {9};
  WindowFacts popup;
  popup.id = 9;
  windows.popups = {popup};
  EXPECT_FALSE(openCommands.read(kLong, Keyboard::free));
  EXPECT_THAT(read(), IsEmpty());
  windows.popups.clear();
  EXPECT_THAT(read(), ElementsAre("x open"));
}

TEST_F(LinuxMenusTest, aMenuThatMayCloseAtOnceIsReadWhenTheUserIsAboutToCall) {
  const MenuCommand command{{"x"}, "", {}, false, true, true, nullptr};
  for (const bool wasOpen : {true, false}) {
    looks.clear();
    open.assign(wasOpen ? 1 : 0, command);
    openCommands.expect(kLong);
    queues.runPending();
    open.assign(wasOpen ? 0 : 1, command);
    openCommands.read(kLong, Keyboard::taken);
    EXPECT_THAT(read(), ElementsAre("x open"));
    EXPECT_EQ(looks.size(), wasOpen ? 1U : 2U) << "what has the keyboard may be inside a window";
  }
}

TEST_F(LinuxMenusTest, whatOneSourceKnowsBetterIsToldByTheOther) {
  first.titles = {"a", "b", "c"};
  second.titles = {"b", "c", "c"};
  second.mark = MenuCommand::Mark::check;
  EXPECT_THAT(read(), ElementsAre("a", "b [ ]", "c")) << "not of two that are called alike";
}

TEST_F(LinuxMenusTest, aMenuLiesOverWhatIsBelowIt) {
  WindowFacts& popup = windows.addInFront(9, kPid, {0, 0, 50, 50});
  popup.isPopup = true;
  EXPECT_TRUE(menus.isOpenAt({10, 10}));
  EXPECT_FALSE(menus.isOpenAt({80, 80})) << "a window";
  EXPECT_FALSE(menus.isOpenAt({180, 80}));
  popup.type = WindowType::toolTip;
  EXPECT_FALSE(menus.isOpenAt({10, 10}));
  menus.closeOpen();
  EXPECT_EQ(closings, 0);
  popup.type = WindowType::popup;
  windows.popups = {popup};
  menus.closeOpen();
  EXPECT_EQ(closings, 1);
}

TEST_F(LinuxMenusTest, aCommandIsCarriedOutByWhoToldIt) {
  first.titles = {"a"};
  second.titles = {"b"};
  second.outcome = MenuOutcome::disabled;
  const auto perform = [&](const char* title) { return menus.perform({{title}, {}, {}, false, true, false, nullptr}); };
  EXPECT_EQ(perform("a"), MenuOutcome::done);
  EXPECT_EQ(perform("b"), MenuOutcome::disabled);
  EXPECT_EQ(perform("c"), MenuOutcome::gone);
}

std::string repeated(const std::string& text, int times) {
  std::string all;
  for (int i = 0; i < times; ++i) {
    all += text;
  }
  return all;
}

TEST(MenuText, titlesAreOneLineWithoutMarksOfMnemonics) {
  const std::pair<std::string, std::string> cases[] = {
      {"Save      ", "Save"},
      {" Save\n\tall\x01\x7F now", "Save all now"},
      {"Zoom\u0085In\u00A0", "Zoom In"},
      {"_Open", "Open"},
      {"Save__All", "Save_All"},
      {"New _Window_", "New Window_"},
      {"Открыть (_O)…", "Открыть …"},
      {"(_ab)", "(ab)"},
      {"", ""},
      {" \n ", ""},
      {repeated("€", 1'000), repeated("€", kLongestTitle)},
      {std::string(1'000'000, ' ') + "x", "x"},
  };
  for (const auto& [told, title] : cases) {
    EXPECT_EQ(titleWithoutMnemonic(told), title) << told.substr(0, 40);
  }
  EXPECT_EQ(menuTitle("_Open  file"), "_Open file");
}

TEST(MenuText, keysReadAsTheUsersShortcutsDo) {
  const std::pair<const char*, const char*> brackets[] = {{"<Primary><Shift>n", "Control+Shift+N"},
                                                          {"<Shift><Alt>F8", "Alt+Shift+F8"},
                                                          {"<Control>comma", "Control+,"},
                                                          {"<Super>KP_Enter", "Super+Return"},
                                                          {"Delete", "Delete"},
                                                          {"<Primary>nosuchkey", ""},
                                                          {"<Nonsense>n", ""},
                                                          {"<Primary", ""},
                                                          {"<Primary>", ""},
                                                          {"", ""}};
  for (const auto& [told, keys] : brackets) {
    EXPECT_EQ(keysFromBrackets(told), keys) << told;
  }
  const std::pair<std::string, std::string> plus[] = {{"Ctrl+Shift+Z", "Control+Shift+Z"},
                                                      {"Ctrl++", "Control++"},
                                                      {"Ctrl+,", "Control+,"},
                                                      {"Ctrl+K, Ctrl+S", "Control+K, Control+S"},
                                                      {"PgUp", "Page Up"},
                                                      {"Meta+Del", "Super+Delete"},
                                                      {"Strg+Z", "Strg+Z"},
                                                      {"F1", "F1"},
                                                      {"", ""}};
  for (const auto& [told, keys] : plus) {
    EXPECT_EQ(keysFromPlus(told), keys) << told;
  }
  EXPECT_LT(keysFromPlus(repeated("a, ", 300'000)).size(), 200U);
}

}  // namespace
}  // namespace jumplark::menus
