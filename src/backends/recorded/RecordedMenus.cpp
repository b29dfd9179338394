#include "backends/recorded/RecordedMenus.h"

#include <algorithm>
#include <utility>

#include "backends/threads/GuardedCallback.h"

namespace jumplark {

/// Tells a command from one at the same place that was told before.
struct RecordedMenus::Handle final : MenuCommandHandle {
  explicit Handle(int32_t process) : pid(process) {}
  int32_t pid;
};

RecordedMenus::RecordedMenus(const RecordedDesktop& desktop, Queues& queues)
    : queues_(queues), queue_(queues.makeSerialQueue("menus")) {
  for (const RecordedApplication& application : desktop.applications) {
    setCommands(application.pid, application.menus);
  }
}

Token RecordedMenus::read(int32_t pid, Found found) {
  auto reading = std::make_shared<GuardedCallback<std::vector<MenuCommand>, bool>>(std::move(found));
  queue_->post([this, pid, reading] {
    std::vector<MenuCommand> commands;
    {
      const std::scoped_lock lock(mutex_);
      const auto known = commands_.find(pid);
      commands = known == commands_.end() ? std::vector<MenuCommand>() : known->second;
    }
    commands.resize(std::min(commands.size(), kMostCommands));
    reading->call(queues_, std::move(commands), true);
  });
  return Token([reading] { reading->end(); });
}

MenuCommand* RecordedMenus::find(const Handle& handle) {
  std::vector<MenuCommand>& commands = commands_[handle.pid];
  const auto found = std::ranges::find(commands, &handle, [](const MenuCommand& c) { return c.handle.get(); });
  return found == commands.end() ? nullptr : &*found;
}

MenuOutcome RecordedMenus::perform(const MenuCommand& command) {
  const std::scoped_lock lock(mutex_);
  const auto* handle = dynamic_cast<const Handle*>(command.handle.get());
  MenuCommand* known = handle ? find(*handle) : nullptr;
  if (!known) {
    return MenuOutcome::gone;
  }
  if (!known->isEnabled) {
    return MenuOutcome::disabled;
  }
  if (outcome_ == MenuOutcome::done) {
    performed_.push_back(known->path);
    known->isOn = known->mark == MenuCommand::Mark::radio || (known->mark == MenuCommand::Mark::check && !known->isOn);
  }
  return outcome_;
}

void RecordedMenus::setCommands(int32_t pid, std::vector<MenuCommand> commands) {
  for (MenuCommand& command : commands) {
    command.handle = std::make_shared<Handle>(pid);
  }
  const std::scoped_lock lock(mutex_);
  commands_[pid] = std::move(commands);
}

void RecordedMenus::setOutcome(MenuOutcome outcome) {
  const std::scoped_lock lock(mutex_);
  outcome_ = outcome;
}

std::vector<std::vector<std::string>> RecordedMenus::performed() const {
  const std::scoped_lock lock(mutex_);
  return performed_;
}

}  // namespace jumplark
