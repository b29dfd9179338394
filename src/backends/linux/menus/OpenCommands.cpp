#include "backends/linux/menus/OpenCommands.h"

#include <spdlog/spdlog.h>

#include <utility>

namespace jumplark::menus {
namespace {

/// Readers keep their deadline but for what the window system takes.
constexpr auto kLongestReading = std::chrono::seconds(1);

}  // namespace

OpenCommands::OpenCommands(Queues& queues, Reader reader)
    : queues_(queues),
      reader_(std::move(reader)),
      queue_(queues.makeSerialQueue("com.brindlefox.jumplark.open-menus")) {}

void OpenCommands::read(Clock::duration limit) {
  const TimePoint started = Clock::now();
  const auto reading = std::make_shared<Reading>();
  reading->done = queues_.makeCompletion();
  {
    const std::lock_guard lock(mutex_);
    latest_ = reading;
  }
  queue_->post([this, reading, started, deadline = started + limit] {
    Told told = reader_(deadline);
    spdlog::debug("Read {} commands of open menus in {:.1f} ms", told.commands.size(),
                  std::chrono::duration<double, std::milli>(Clock::now() - started).count());
    {
      const std::lock_guard lock(mutex_);
      reading->told = std::move(told);
    }
    reading->done->signal();
  });
  reading->done->wait(limit);
}

std::vector<MenuCommand> OpenCommands::of(int32_t pid) {
  std::shared_ptr<Reading> reading;
  {
    const std::lock_guard lock(mutex_);
    reading = latest_;
  }
  if (!reading || !reading->done->wait(kLongestReading)) {
    return {};
  }
  const std::lock_guard lock(mutex_);
  return reading->told.pid == pid ? reading->told.commands : std::vector<MenuCommand>();
}

void OpenCommands::forget() {
  const std::lock_guard lock(mutex_);
  latest_.reset();
}

}  // namespace jumplark::menus
