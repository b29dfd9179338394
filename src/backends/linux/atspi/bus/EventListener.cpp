#include "backends/linux/atspi/bus/EventListener.h"

#include <fmt/format.h>
#include <poll.h>
#include <spdlog/spdlog.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <exception>
#include <future>
#include <string_view>
#include <utility>

#include "backends/linux/atspi/bus/AtspiCalls.h"
#include "backends/linux/atspi/bus/BusAddress.h"
#include "backends/linux/atspi/bus/SdBus.h"

namespace jumplark::atspi {
namespace {

constexpr auto kConnectLimit = std::chrono::seconds(3);
constexpr auto kAnswerLimit = std::chrono::seconds(5);
constexpr uint64_t kCallLimit = 1'000'000;  // microseconds
constexpr std::string_view kEventPrefix = "org.a11y.atspi.Event.";

/// siiv...: detail, two numbers, and for added and removed children a reference.
bool decode(sd_bus_message* message, BusEvent& event) {
  const char* detail = nullptr;
  int32_t detail2 = 0;
  if (sd_bus_message_read(message, "sii", &detail, &event.detail1, &detail2) < 0) {
    return false;
  }
  event.detail = detail;
  char type = 0;
  const char* contents = nullptr;
  if (event.member != "ChildrenChanged" || sd_bus_message_peek_type(message, &type, &contents) <= 0 ||
      type != SD_BUS_TYPE_VARIANT || std::string_view(contents) != "(so)") {
    return true;
  }
  const char* busName = nullptr;
  const char* path = nullptr;
  if (sd_bus_message_read(message, "v", "(so)", &busName, &path) > 0 && event.sender == busName) {
    event.otherPath = path;
  }
  return true;
}

int onSignal(sd_bus_message* message, void* data, sd_bus_error* /*error*/) {
  const auto textOf = [](const char* text) { return std::string(text != nullptr ? text : ""); };
  try {
    BusEvent event;
    event.sender = textOf(sd_bus_message_get_sender(message));
    event.path = textOf(sd_bus_message_get_path(message));
    event.member = textOf(sd_bus_message_get_member(message));
    event.interface = textOf(sd_bus_message_get_interface(message));
    if (event.interface.starts_with(kEventPrefix) && decode(message, event)) {
      event.interface.erase(0, kEventPrefix.size());
      (*static_cast<const std::function<void(const BusEvent&)>*>(data))(event);
    }
  } catch (const std::exception& error) {
    spdlog::error("Handling an event failed: {}", error.what());
  }
  return 0;
}

}  // namespace

struct EventListener::Bus {
  /// One match at the bus and how often it is wanted; those of one member of one application are one.
  struct Match {
    SlotPointer slot;
    int count = 0;
  };
  bool callRegistry(const char* method, const std::string& event) const {
    sd_bus_message* raw = nullptr;
    if (sd_bus_message_new_method_call(bus.get(), &raw, calls::kRegistryName, "/org/a11y/atspi/registry",
                                       "org.a11y.atspi.Registry", method) < 0) {
      return false;
    }
    const MessagePointer message(raw);
    const int r = std::string_view(method) == "RegisterEvent" ? sd_bus_message_append(raw, "sass", event.c_str(), 0, "")
                                                              : sd_bus_message_append(raw, "s", event.c_str());
    return r >= 0 && sd_bus_call(bus.get(), raw, kCallLimit, nullptr, nullptr) >= 0;
  }

  SessionBusConnection bus;
  std::map<std::string, Match> matches;  ///< after the bus, so that they end first
};

EventListener::EventListener(std::string sessionAddress, std::function<void(const BusEvent&)> onEvent)
    : sessionAddress_(std::move(sessionAddress)),
      onEvent_(std::move(onEvent)),
      wakeFd_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      thread_([this] { run(); }) {}

EventListener::~EventListener() {
  stopping_ = true;
  post([] {});
  thread_.join();
  close(wakeFd_);
}

bool EventListener::want(const std::string& sender, const std::vector<EventKind>& kinds) {
  const auto done = std::make_shared<std::promise<bool>>();
  auto answer = done->get_future();
  post([this, sender, kinds, done] {
    done->set_value(connect() && std::ranges::all_of(kinds, [&](const EventKind& kind) { return add(sender, kind); }));
  });
  return answer.wait_for(kAnswerLimit) == std::future_status::ready && answer.get();
}

void EventListener::unwant(const std::string& sender, const std::vector<EventKind>& kinds) {
  post([this, sender, kinds] {
    for (const EventKind& kind : kinds) {
      remove(sender, kind);
    }
  });
}

void EventListener::post(std::function<void()> task) {
  {
    const std::scoped_lock lock(mutex_);
    posted_.push_back(std::move(task));
  }
  const uint64_t one = 1;
  [[maybe_unused]] const ssize_t written = write(wakeFd_, &one, sizeof one);
}

void EventListener::run() {
  while (!stopping_) {
    runPosted();
    const int r = bus_ ? sd_bus_process(bus_->bus.get(), nullptr) : 0;
    if (r < 0) {
      spdlog::info("The accessibility bus has gone; nothing is watched any more");
      bus_.reset();
      registered_.clear();
    } else if (r == 0 && !stopping_) {
      sleep();
    }
  }
  for (const auto& [event, count] : registered_) {
    bus_->callRegistry("DeregisterEvent", event);
  }
  bus_.reset();
}

void EventListener::runPosted() {
  uint64_t count = 0;
  [[maybe_unused]] const ssize_t drained = read(wakeFd_, &count, sizeof count);
  std::vector<std::function<void()>> tasks;
  {
    const std::scoped_lock lock(mutex_);
    tasks.swap(posted_);
  }
  for (const auto& task : tasks) {
    task();
  }
}

void EventListener::sleep() {
  pollfd requests[] = {{wakeFd_, POLLIN, 0}, {-1, 0, 0}};
  if (bus_) {
    const int events = sd_bus_get_events(bus_->bus.get());
    requests[1] = {sd_bus_get_fd(bus_->bus.get()), static_cast<int16_t>(std::max(events, 0)), 0};
  }
  // Calls are waited for on the spot, so the connection has no time-outs of its own.
  poll(requests, 2, -1);
}

bool EventListener::connect() {
  if (bus_) {
    return true;
  }
  const BusAddress found = findAccessibilityBus(sessionAddress_, Clock::now() + kConnectLimit);
  sd_bus* raw = nullptr;
  if (found.address.empty() || sd_bus_new(&raw) < 0) {
    return false;
  }
  auto bus = std::make_unique<Bus>();
  bus->bus.reset(raw);
  if (sd_bus_set_address(raw, found.address.c_str()) < 0 || sd_bus_set_bus_client(raw, 1) < 0 ||
      sd_bus_start(raw) < 0) {
    return false;
  }
  bus_ = std::move(bus);
  return true;
}

bool EventListener::add(const std::string& sender, const EventKind& kind) {
  Bus::Match& match = bus_->matches[fmt::format("{} {}.{}", sender, kind.interface, kind.member)];
  if (!match.slot) {
    const std::string rule = fmt::format("type='signal',sender='{}',interface='{}{}',member='{}'", sender, kEventPrefix,
                                         kind.interface, kind.member);
    sd_bus_slot* slot = nullptr;
    void* const data = const_cast<std::function<void(const BusEvent&)>*>(&onEvent_);  // the library's type
    if (sd_bus_add_match(bus_->bus.get(), &slot, rule.c_str(), onSignal, data) < 0) {
      return false;
    }
    match.slot.reset(slot);
  }
  ++match.count;
  const std::string event = kind.registration();
  return ++registered_[event] > 1 || bus_->callRegistry("RegisterEvent", event);
}

void EventListener::remove(const std::string& sender, const EventKind& kind) {
  if (!bus_) {
    return;
  }
  const auto match = bus_->matches.find(fmt::format("{} {}.{}", sender, kind.interface, kind.member));
  if (match != bus_->matches.end() && --match->second.count <= 0) {
    bus_->matches.erase(match);
  }
  const auto event = registered_.find(kind.registration());
  if (event != registered_.end() && --event->second <= 0) {
    bus_->callRegistry("DeregisterEvent", event->first);
    registered_.erase(event);
  }
}

}  // namespace jumplark::atspi
