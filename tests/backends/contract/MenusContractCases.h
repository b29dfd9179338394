#pragma once

#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <iterator>
#include <memory>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "platform/Menus.h"
#include "platform/Platform.h"
#include "platform/Queues.h"

/// What menus promise on every desktop that shows an application with a menu bar. Include once in a program.
namespace jumplark::contract {

/// A desktop with the application, whose menus are closed.
class MenusDesktop {
 public:
  virtual ~MenusDesktop() = default;

  virtual Platform platform() = 0;
  virtual int32_t targetPid() = 0;
  using Path = std::vector<std::string>;
  /// A command with a mark that is off, and that choosing it turns on.
  virtual Path markable() = 0;
  /// A command that cannot be chosen.
  virtual Path disabled() = 0;
  /// A process id that no application has.
  virtual int32_t absentPid() { return 4'000'000; }
};

struct MenusDesktopKind {
  const char* name;
  std::unique_ptr<MenusDesktop> (*make)();
};
inline void PrintTo(const MenusDesktopKind& kind, std::ostream* out) {
  *out << kind.name;
}

class MenusContract : public ::testing::TestWithParam<MenusDesktopKind> {
 protected:
  void SetUp() override {
    desktop_ = GetParam().make();
    platform_ = desktop_->platform();
    ASSERT_NE(platform_.menus, nullptr);
  }

  std::vector<MenuCommand> read(int32_t pid) {
    std::vector<MenuCommand> all;
    int ends = 0;
    const auto done = platform_.queues->makeCompletion();
    Token reading = platform_.menus->read(pid, [&](std::vector<MenuCommand> commands, bool isLast) {
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
    std::vector<MenuCommand> all = read(desktop_->targetPid());
    const auto found = std::ranges::find(all, path, &MenuCommand::path);
    return found == all.end() ? MenuCommand() : std::move(*found);
  }

  std::unique_ptr<MenusDesktop> desktop_;
  Platform platform_;
};

TEST_P(MenusContract, commandsOfClosedMenusAreToldAndCarriedOut) {
  const MenuCommand command = commandAt(desktop_->markable());
  ASSERT_EQ(command.path, desktop_->markable());
  EXPECT_TRUE(!command.isOn && command.isEnabled && !command.isOpen);
  EXPECT_EQ(platform_.menus->perform(command), MenuOutcome::done);
  const auto patience = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (!commandAt(desktop_->markable()).isOn && std::chrono::steady_clock::now() < patience) {
    platform_.queues->sleep(std::chrono::milliseconds(10));
  }
  EXPECT_TRUE(commandAt(desktop_->markable()).isOn);
}

TEST_P(MenusContract, whatCannotBeChosenSaysSoAndWhatNobodyToldIsNotThere) {
  const MenuCommand command = commandAt(desktop_->disabled());
  ASSERT_EQ(command.path, desktop_->disabled());
  EXPECT_FALSE(command.isEnabled);
  EXPECT_EQ(platform_.menus->perform(command), MenuOutcome::disabled);
  MenuCommand unknown = command;
  unknown.handle = nullptr;
  EXPECT_EQ(platform_.menus->perform(unknown), MenuOutcome::gone);
  EXPECT_THAT(read(desktop_->absentPid()), ::testing::IsEmpty());
}

}  // namespace jumplark::contract
