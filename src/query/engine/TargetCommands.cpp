#include "query/engine/TargetCommands.h"

#include <utility>

#include "platform/Menus.h"
#include "platform/Platform.h"
#include "query/engine/MainThreadCalls.h"

namespace jumplark {

TargetCommands::TargetCommands(MainThreadCalls& mainThread, std::function<void(bool)> changed)
    : mainThread_(mainThread), changed_(std::move(changed)) {}

TargetCommands::~TargetCommands() {
  stop();
}

void TargetCommands::keepOnly(int32_t pid) {
  if (pid != pid_) {
    pid_ = pid;
    index_.clear();
  }
}

void TargetCommands::read(int32_t pid) {
  Menus* const menus = Platform::current().menus;
  endReading();
  keepOnly(pid);
  if (menus == nullptr) {
    return;
  }
  replaces_ = index_.size() > 0;
  next_.clear();
  reading_ = ++readings_;
  const auto isUnwanted = isUnwanted_ = std::make_shared<std::atomic<bool>>(false);
  token_ = menus->read(pid, [this, isUnwanted, number = reading_](std::vector<MenuCommand> commands, bool isLast) {
    const Batch batch = CommandIndex::prepare(std::move(commands), [&] { return isUnwanted->load(); });
    if (batch) {
      mainThread_.post([this, batch, isLast, number] {
        if (number == reading_) {
          arrive(batch, isLast);
        }
      });
    }
  });
}

void TargetCommands::stop() {
  endReading();
  if (index_.hasOpen()) {
    index_.clear();
  }
}

void TargetCommands::endReading() {
  reading_ = 0;
  if (isUnwanted_) {
    isUnwanted_->store(true);  // so that ending the call that may run takes a moment only
  }
  token_.reset();
}

void TargetCommands::arrive(const Batch& batch, bool isLast) {
  reading_ = isLast ? 0 : reading_;
  CommandIndex& index = replaces_ ? next_ : index_;
  index.add(batch);
  const bool isOther = replaces_ && (isLast || next_.hasOpen());
  if (isOther) {
    index_ = std::exchange(next_, {});
    replaces_ = false;
  }
  changed_(isOther);
}

}  // namespace jumplark
