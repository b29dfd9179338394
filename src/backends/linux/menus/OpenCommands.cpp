#include "backends/linux/menus/OpenCommands.h"

#include <spdlog/spdlog.h>

#include <algorithm>
#include <utility>

namespace jumplark::menus {
namespace {

/// Within this time what was read until a deadline has come to whoever waits for it.
constexpr auto kHandedOver = std::chrono::milliseconds(25);
/// Readers keep their deadline but for what the window system takes.
constexpr auto kLongestReading = std::chrono::seconds(1);
/// Who holds the keys of a shortcut for longer may have moved on to another menu.
constexpr auto kStaysTrue = std::chrono::seconds(2);
/// Nothing opens while a hand takes the keys one after the other.
constexpr auto kStaysEmpty = std::chrono::milliseconds(500);

}  // namespace

OpenCommands::OpenCommands(Queues& queues, Reader reader)
    : queues_(queues),
      reader_(std::move(reader)),
      queue_(queues.makeSerialQueue("com.brindlefox.jumplark.open-menus")) {}

std::shared_ptr<OpenCommands::Reading> OpenCommands::start(TimePoint deadline, Keyboard keyboard) {
  auto reading = std::make_shared<Reading>();
  reading->started = Clock::now();
  reading->done = queues_.makeCompletion();
  queue_->post([this, reading, deadline, keyboard] {
    Told told = reader_(deadline - kHandedOver, keyboard);
    spdlog::debug("Read {} commands of open menus in {:.1f} ms", told.commands.size(),
                  std::chrono::duration<double, std::milli>(Clock::now() - reading->started).count());
    {
      const std::lock_guard lock(mutex_);
      reading->told = std::move(told);
    }
    reading->done->signal();
  });
  return reading;
}

void OpenCommands::expect(Clock::duration limit) {
  auto reading = start(Clock::now() + limit, Keyboard::free);
  const std::lock_guard lock(mutex_);
  expected_ = std::move(reading);
}

std::shared_ptr<OpenCommands::Reading> OpenCommands::takeExpected() {
  const std::lock_guard lock(mutex_);
  auto reading = std::exchange(expected_, nullptr);
  return reading && Clock::now() - reading->started < kStaysTrue ? reading : nullptr;
}

bool OpenCommands::hasCommands(const Reading& reading) {
  const std::lock_guard lock(mutex_);
  return !reading.told.commands.empty();
}

bool OpenCommands::read(Clock::duration limit, Keyboard keyboard) {
  const TimePoint deadline = Clock::now() + limit;
  auto reading = takeExpected();
  const bool isOver = reading && reading->done->wait(limit);
  const bool isEnough = reading && (hasCommands(*reading) || !isOver ||
                                    (keyboard == Keyboard::free && Clock::now() - reading->started < kStaysEmpty));
  if (!isEnough) {
    reading = start(deadline, keyboard);
  }
  {
    const std::lock_guard lock(mutex_);
    latest_ = reading;
  }
  const bool isRead = reading->done->wait(std::max(deadline - Clock::now(), Clock::duration::zero()));
  const std::lock_guard lock(mutex_);
  return isRead && !reading->told.commands.empty() && reading->told.popups.empty();
}

bool OpenCommands::hasRead() {
  const std::lock_guard lock(mutex_);
  return latest_ && !latest_->told.commands.empty();
}

bool OpenCommands::areThere(Clock::duration limit, Keyboard keyboard) {
  const auto reading = start(Clock::now() + limit, keyboard);
  return reading->done->wait(limit) && hasCommands(*reading);
}

OpenCommands::Told OpenCommands::of(int32_t pid) {
  std::shared_ptr<Reading> reading;
  {
    const std::lock_guard lock(mutex_);
    reading = latest_;
  }
  if (!reading || !reading->done->wait(kLongestReading)) {
    return {};
  }
  const std::lock_guard lock(mutex_);
  return reading->told.pid == pid ? reading->told : Told();
}

void OpenCommands::forget() {
  const std::lock_guard lock(mutex_);
  latest_.reset();
}

}  // namespace jumplark::menus
