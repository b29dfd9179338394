#include "backends/linux/menus/LinuxMenus.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <string>

#include "backends/atspi/support/FakeWindows.h"
#include "backends/menus/ToldCommands.h"
#include "backends/recorded/VirtualQueues.h"

namespace jumplark::menus {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr int32_t kPid = 4'000'001;

struct FakeSource final : MenuSource {
  void read(const MenuRequest& request, MenuSink& sink) override {
    asked.push_back(request.window.id.low);
    for (const std::string& title : titles) {
      sink.add({{title}, {}, {}, false, true, false, nullptr});
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
    queues.runPending();
    EXPECT_EQ(ends, 1);
    return told;
  }

  VirtualQueues queues;
  atspi::FakeWindows windows;
  FakeSource first;
  FakeSource second;
  LinuxMenus menus{queues, windows, {&first, &second}};
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

TEST_F(LinuxMenusTest, aCommandIsCarriedOutByWhoToldIt) {
  first.titles = {"a"};
  second.titles = {"b"};
  second.outcome = MenuOutcome::disabled;
  const auto perform = [&](const char* title) { return menus.perform({{title}, {}, {}, false, true, false, nullptr}); };
  EXPECT_EQ(perform("a"), MenuOutcome::done);
  EXPECT_EQ(perform("b"), MenuOutcome::disabled);
  EXPECT_EQ(perform("c"), MenuOutcome::gone);
}

}  // namespace
}  // namespace jumplark::menus
