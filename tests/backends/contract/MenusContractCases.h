#pragma once

#include <gmock/gmock.h>

#include "platform/Menus.h"
#include "platform/Platform.h"
#include "platform/Queues.h"

/// What menus promise on every desktop that shows an application with a menu bar. Include once in a program.
namespace jumplark::contract {

/// A desktop with the application, whose menus are closed.
struct MenusDesktop {
  using Path = std::vector<std::string>;
  Platform platform;
  int32_t targetPid;
  Path markable;  ///< a command with a mark that is off, and that choosing it turns on
  Path disabled;  ///< a command that cannot be chosen
  std::shared_ptr<void> owner;
};
/// Another one each time; the program defines it.
MenusDesktop makeMenusDesktop();

class MenusContract : public ::testing::TestWithParam<const char*> {
 protected:
  std::vector<MenuCommand> read(int32_t pid) {
    std::vector<MenuCommand> all;
    int ends = 0;
    const auto done = desktop_.platform.queues->makeCompletion();
    Token reading = desktop_.platform.menus->read(pid, [&](std::vector<MenuCommand> commands, bool isLast) {
      EXPECT_EQ(ends, 0) << "nothing comes after the last";
      std::ranges::move(commands, std::back_inserter(all));
      ends += isLast ? 1 : 0;
      if (isLast) {
        done->signal();
      }
    });
    EXPECT_TRUE(done->wait(std::chrono::minutes(1)));
    reading.reset();
    return all;
  }
  /// The command at a path; one without a path when there is none.
  MenuCommand commandAt(const MenusDesktop::Path& path) {
    std::vector<MenuCommand> all = read(desktop_.targetPid);
    const auto found = std::ranges::find(all, path, &MenuCommand::path);
    return found == all.end() ? MenuCommand() : *found;
  }

  MenusDesktop desktop_ = makeMenusDesktop();
};

TEST_P(MenusContract, commandsOfClosedMenusAreToldAndCarriedOut) {
  const MenuCommand command = commandAt(desktop_.markable);
  ASSERT_EQ(command.path, desktop_.markable);
  EXPECT_TRUE(!command.isOn && command.isEnabled && !command.isOpen);
  EXPECT_EQ(desktop_.platform.menus->perform(command), MenuOutcome::done);
  const auto patience = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (!commandAt(desktop_.markable).isOn && std::chrono::steady_clock::now() < patience) {
    desktop_.platform.queues->sleep(std::chrono::milliseconds(10));
  }
  EXPECT_TRUE(commandAt(desktop_.markable).isOn);
}

TEST_P(MenusContract, whatCannotBeChosenSaysSoAndWhatNobodyToldIsNotThere) {
  const MenuCommand command = commandAt(desktop_.disabled);
  ASSERT_EQ(command.path, desktop_.disabled);
  EXPECT_FALSE(command.isEnabled);
  EXPECT_EQ(desktop_.platform.menus->perform(command), MenuOutcome::disabled);
  MenuCommand unknown = command;
  unknown.handle = nullptr;
  EXPECT_EQ(desktop_.platform.menus->perform(unknown), MenuOutcome::gone);
  EXPECT_THAT(read(4'000'000), ::testing::IsEmpty());
}

}  // namespace jumplark::contract
