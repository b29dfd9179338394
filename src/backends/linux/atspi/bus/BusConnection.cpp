#include "backends/linux/atspi/bus/BusConnection.h"

#include <poll.h>
#include <spdlog/spdlog.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <future>
#include <system_error>

#include "backends/linux/atspi/bus/AtspiCalls.h"
#include "backends/linux/atspi/bus/BusAddress.h"
#include "backends/linux/atspi/bus/BusLink.h"
#include "backends/linux/atspi/bus/CallScheduler.h"
#include "platform/Texts.h"

namespace jumplark::atspi {
namespace {

constexpr auto kDefaultTimeout = std::chrono::milliseconds(500);
constexpr auto kConnectLimit = std::chrono::seconds(3);
/// After a failed attempt calls fail at once for this long, so that no row of them waits for the limit each.
constexpr auto kRetryPause = std::chrono::seconds(1);

/// Longer than an application takes from one answer to the next while it does nothing else.
constexpr auto kStayAwake = std::chrono::milliseconds(1);

}  // namespace

BusConnection::BusConnection(Options options)
    : options_(std::move(options)),
      timeout_(std::chrono::duration_cast<Clock::duration>(kDefaultTimeout).count()),
      wake_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  if (wake_ < 0) {
    throw std::system_error(errno, std::generic_category(), "eventfd");
  }
  scheduler_ = std::make_unique<CallScheduler>([this](const std::string& busName) { return linkOf(busName); },
                                               [this] { return messagingTimeout(); });
  thread_ = std::thread([this] { loop(); });
}

BusConnection::~BusConnection() {
  post([this] { stopping_ = true; });
  thread_.join();
  close(wake_);
}

void BusConnection::post(std::function<void()> task) {
  {
    const std::lock_guard lock(mutex_);
    posted_.push_back(std::move(task));
  }
  const uint64_t one = 1;
  if (write(wake_, &one, sizeof one) < 0 && errno != EAGAIN) {
    spdlog::error("The accessibility thread cannot be woken: {}", std::generic_category().message(errno));
  }
}

BusConnection::Reachability BusConnection::connect() {
  auto answer = std::make_shared<std::promise<Reachability>>();
  auto future = answer->get_future();
  post([this, answer] { answer->set_value(mainLink() ? Reachability{true, ""} : lastAttempt_); });
  if (future.wait_for(kConnectLimit + kRetryPause) != std::future_status::ready) {
    return {false, localized("The accessibility bus does not answer: log in again.")};
  }
  return future.get();
}

std::vector<Reply> BusConnection::run(std::vector<MethodCall> calls, TimePoint deadline) {
  return begin(std::move(calls), deadline)();
}

CallRunner::Wait BusConnection::begin(std::vector<MethodCall> calls, TimePoint deadline) {
  const auto batch = std::make_shared<CallBatch>(std::move(calls), deadline);
  post([this, batch] { scheduler_->add(batch); });
  return [this, batch] {
    std::unique_lock lock(mutex_);
    const auto meanwhile = meanwhile_;
    lock.unlock();
    return batch->wait(meanwhile.get());
  };
}

Token BusConnection::workWhileWaiting(std::function<void()> work) {
  const auto set = [this](std::shared_ptr<const WorkWhileWaiting> meanwhile) {
    const std::lock_guard lock(mutex_);
    meanwhile_ = std::move(meanwhile);
  };
  set(std::make_shared<const WorkWhileWaiting>(WorkWhileWaiting{std::this_thread::get_id(), std::move(work)}));
  return Token([set] { set(nullptr); });
}

void BusConnection::usePeer(const std::string& busName, const std::string& address) {
  post([this, busName, address] {
    // Two threads may have found the address; the first one's calls are under way already.
    if (const auto known = peers_.find(busName); known != peers_.end() && known->second->alive()) {
      return;
    }
    if (auto link = BusLink::open(address, BusLink::Kind::peer)) {
      peers_[busName] = std::move(link);
    }
  });
}

void BusConnection::forgive(const std::string& busName) {
  post([this, busName] { scheduler_->forgive(busName); });
}

void BusConnection::loop() {
  while (!stopping_) {
    runPosted();
    const bool more = processLinks();
    dropDeadLinks();
    const TimePoint next = scheduler_->expire(Clock::now());
    if (!more && !stopping_) {
      sleepUntil(next);
    }
  }
  scheduler_.reset();
  peers_.clear();
  main_.reset();
}

void BusConnection::runPosted() {
  uint64_t count = 0;
  while (read(wake_, &count, sizeof count) > 0) {
  }
  std::vector<std::function<void()>> tasks;
  {
    const std::lock_guard lock(mutex_);
    tasks.swap(posted_);
  }
  for (const auto& task : tasks) {
    task();
  }
}

bool BusConnection::processLinks() {
  bool more = main_ && main_->process();
  for (auto& [busName, link] : peers_) {
    more = link->process() || more;
  }
  return more;
}

void BusConnection::dropDeadLinks() {
  for (auto it = peers_.begin(); it != peers_.end();) {
    if (it->second->alive()) {
      ++it;
      continue;
    }
    const auto dead = std::move(it->second);
    it = peers_.erase(it);
    scheduler_->linkLost(dead.get());
  }
  if (main_ && !main_->alive()) {
    const auto dead = std::move(main_);
    spdlog::info("The accessibility bus has gone");
    scheduler_->abandonAll();
    peers_.clear();
  }
}

void BusConnection::sleepUntil(TimePoint next) {
  std::vector<pollfd> requests{{wake_, POLLIN, 0}};
  const auto add = [&](const BusLink& link) {
    requests.push_back(link.pollRequest());
    next = std::min(next, link.wakeUpAt());
  };
  if (main_) {
    add(*main_);
  }
  for (const auto& [busName, link] : peers_) {
    add(*link);
  }
  if (looksAgain(requests)) {
    return;
  }
  int milliseconds = -1;
  if (next != TimePoint::max()) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(next - Clock::now());
    milliseconds = static_cast<int>(std::clamp<int64_t>(left.count(), 0, 60'000));
  }
  poll(requests.data(), requests.size(), milliseconds);
}

bool BusConnection::looksAgain(std::vector<pollfd>& requests) const {
  static const bool severalProcessors = std::thread::hardware_concurrency() > 1;
  if (!severalProcessors || !scheduler_->awaitsOtherThan(main_.get())) {
    return false;
  }
  const TimePoint end = Clock::now() + kStayAwake;
  do {
    if (poll(requests.data(), requests.size(), 0) != 0) {
      return true;
    }
    std::this_thread::yield();
  } while (Clock::now() < end);
  return false;
}

BusLink* BusConnection::linkOf(const std::string& busName) {
  const auto peer = peers_.find(busName);
  return peer != peers_.end() && peer->second->alive() ? peer->second.get() : mainLink();
}

BusLink* BusConnection::mainLink() {
  if (main_ && main_->alive()) {
    return main_.get();
  }
  if (!main_ && Clock::now() >= retryAt_) {
    lastAttempt_ = open();
    if (!lastAttempt_.reachable) {
      spdlog::debug("{}", lastAttempt_.advice);
      retryAt_ = Clock::now() + kRetryPause;
    }
  }
  return main_.get();
}

BusConnection::Reachability BusConnection::open() {
  const TimePoint deadline = Clock::now() + kConnectLimit;
  const BusAddress found = findAccessibilityBus(options_.sessionAddress, deadline);
  if (found.address.empty()) {
    return {false, found.advice};
  }
  auto link = BusLink::open(found.address, BusLink::Kind::bus);
  // Some applications keep the cache that makes them quick only while a client listens to something.
  for (const char* event : {"Window:Activate", "Window:Deactivate"}) {
    if (!link || link->callAndWait(calls::registerEvent(event).call, deadline).error != AccessibilityError::success) {
      spdlog::debug("Interest in {} could not be registered", event);
    }
  }
  if (!link || !link->alive()) {
    return {false, localized("The accessibility bus refused the connection: log in again.")};
  }
  main_ = std::move(link);
  generation_.fetch_add(1, std::memory_order_acq_rel);
  return {true, ""};
}

}  // namespace jumplark::atspi
